"""Sheets as OpenDocument programs write them are imported: odf_test.py MOX FOLDER, with odfpy."""

import sqlite3
import sys

from odf import dc, number, office, style, table, text
from odf.opendocument import OpenDocumentSpreadsheet

from command import Command, expect

command = Command(*sys.argv[1:])
folder, run = command.folder, command.run

book = OpenDocumentSpreadsheet()
hidden = style.Style(name="ta2", family="table")
hidden.addElement(style.TableProperties(display="false"))
book.automaticstyles.addElement(hidden)
days = number.DateStyle(name="N36")
for part in (number.Day(style="long"), number.Text(text="."), number.Month(style="long"), number.Year(style="long")):
    days.addElement(part)
book.automaticstyles.addElement(days)
book.automaticstyles.addElement(style.Style(name="ce1", family="table-cell", datastylename="N36"))


def cell(shown="", **attributes):
    made = table.TableCell(**attributes)
    if shown:
        made.addElement(text.P(text=shown))
    return made


def row(*cells, **attributes):
    made = table.TableRow(**attributes)
    for each in cells:
        made.addElement(each if not isinstance(each, str) else cell(each, valuetype="string"))
    # the rest of the row, as the programs write it
    made.addElement(table.TableCell(numbercolumnsrepeated=16384 - 8))
    return made


def sheet(name, rows, **attributes):
    made = table.Table(name=name, **attributes)
    made.addElement(table.TableColumn(numbercolumnsrepeated=16384))
    for each in rows:
        made.addElement(each)
    made.addElement(row(numberrowsrepeated=1048576 - 100))
    book.spreadsheet.addElement(made)


def date(iso, shown, **attributes):
    return cell(shown, valuetype="date", datevalue=iso, stylename="ce1", **attributes)


def amount(value, shown, **attributes):
    return cell(shown, valuetype="float", value=value, **attributes)


sheet("Skriveno", [row("nešto", "sasvim drugo")], stylename="ta2")

remarked = cell(valuetype="string")
remark = office.Annotation()
remark.addElement(dc.Creator(text="Ana"))
remark.addElement(text.P(text="ne zaboravi"))
remarked.addElement(remark)
name = text.P(text="Šarić")
name.addElement(text.S(c=2))
name.addElement(text.Span(text="Žnidar"))
remarked.addElement(name)

header = table.TableHeaderRows()
header.addElement(row("Datum uplate", "Vrsta plaćanja", "Broj ugovora", "Ime", "Prezime", "Šifra grupe", "Iznos"))
group = table.TableRowGroup()
group.addElement(row(date("2024-03-01", "01.03.2024"), "gotovina", amount("7", "007"), "Ana", remarked, "G1",
                     amount("1234.5", "1.234,50", formula="of:=[.A1]*2")))
group.addElement(row(date("2024-03-02", "02.03.2024"), table.TableCell(), amount("12345678901", "12345678901"), "Ivo", "Zec",
                     cell("G2", valuetype="string", numberrowsspanned=2), cell("50,00 €", valuetype="currency", currency="EUR", value="50")))
group.addElement(row(date("2024-03-03T00:00:00", "03.03.2024"), table.TableCell(), "A&<9>", "Mia", "Zec",
                     table.CoveredTableCell(), amount("0.1", "0,10"), numberrowsrepeated=2))
sheet("Uplate", [header, group])
sheet("Ostalo", [row("x", "y")])
book.save(str(folder / "uplate.ods"))

run("import", "APOUPLATE", folder / "uplate.ods", "--yes")
rows = sqlite3.connect(command.database).execute(
    "SELECT date(datum), vp, broj_ugo, ime, prezime, sifra_grp, iznos FROM apo_uplate ORDER BY id").fetchall()
third = ("2024-03-03", None, "A&<9>", "Mia", "Zec", "G2", 0.1)
expect(rows, [("2024-03-01", "gotovina", "007", "Ana", "Šarić  Žnidar", "G1", 1234.5),
              ("2024-03-02", None, "12345678901", "Ivo", "Zec", "G2", 50), third, third])

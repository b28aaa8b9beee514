"""Workbooks of another program are imported, and ours are read by it: openpyxl_test.py MOX FOLDER."""

import datetime
import sys

import openpyxl

from command import Command, expect

command = Command(*sys.argv[1:])
folder, run = command.folder, command.run
run("import", "MJESTA", "examples/import/mjesta.tsv", "--yes")

# Cells of every kind, in another order, on the second sheet of a workbook that starts in 1904.
book = openpyxl.Workbook()
book.epoch = openpyxl.utils.datetime.CALENDAR_MAC_1904
sheet = book.create_sheet("Gosti")
sheet.append(["Prezime", "Ime *", "Datum rođenja", "Broj isprave", "Boja"])
sheet.append(["Šarić", "Ana", datetime.date(1984, 2, 29), "007", "x"])
sheet.append(["Zec", "Ivo", datetime.datetime(1990, 12, 31), 12345, None])
sheet.append([None] * 5)
sheet.append(["Horvat", "Mia", "1.3.2001.", 0.5, None])
book.save(folder / "gosti.xlsx")
run("import", "GOSTIHOTEL", folder / "gosti.xlsx", "--sheet", "gosti", "--yes")
run("import", "GOSTIHOTEL", folder / "gosti.xlsx", "--sheet", "Gosti", "--template", "--xlsx", folder / "g2.xlsx")
heading, *rows = openpyxl.load_workbook(folder / "g2.xlsx").worksheets[0].values
columns = dict(zip(heading, zip(*rows)))
expect(columns["Datum rođenja"], tuple(datetime.datetime(*day) for day in [(1984, 2, 29), (1990, 12, 31), (2001, 3, 1)]))
expect(columns["Broj isprave"], ("007", "12345", "0,5"))

# Faulty rows come back with their numbers and reasons, and are faulty again until they are mended.
book = openpyxl.Workbook()
book.active.append(["Konto", "Opis"])
book.active.append([None, None])
book.active.append(["1000", "Blagajna"])
book.active.append(["=A3", "Banka"])
book.active.append([12345678901234567, "Kupci"])
book.save(folder / "konta.xlsx")
rounded = 12345678901234570
calculated, entered = "Konto: is not calculated: save the sheet anew", "Konto: was rounded to 15 digits: enter as text"
too_long = "; is longer than 8 characters"
run("import", "KONTNIPLAN", folder / "konta.xlsx", "--yes", "--faults", folder / "greske.xlsx", status=1)
book = openpyxl.load_workbook(folder / "greske.xlsx")
expect(list(book.active.values), [("Konto *", "Opis *", "Redak", "Greška"), ("#N/A", "Banka", 3, calculated),
                                  (rounded, "Kupci", 4, entered + too_long)])
expect([cell.fill.fgColor.rgb for cell in book.active[2]][:2], ["FFFFC7CE", "00000000"])  # the faulty cell alone
run("import", "KONTNIPLAN", folder / "greske.xlsx", "--yes", "--faults", folder / "opet.xlsx", status=1)
expect([row[2] for row in openpyxl.load_workbook(folder / "opet.xlsx").active.values], ["Redak", 1, 2])
book.active["A2"], book.active["A3"] = "1010", "01230"
book.save(folder / "greske.xlsx")
run("import", "KONTNIPLAN", folder / "greske.xlsx", "--yes")

# What is no value of its column comes back as it was entered.
for kind, headings, cells in [
    ("PARTNERPTT", ["Naziv partnera", "Naziv mjesta", "PTT mjesta", "Kreditni limit", "Aktivan"], ["Prvi", "Zagreb", "10000", "puno", "možda"]),
    ("GOSTIHOTEL", ["Ime", "Prezime", "Datum rođenja"], ["Ivo", "Zec", "31.2.2001."]),
]:
    book = openpyxl.Workbook()
    book.active.append(headings)
    book.active.append(cells)
    book.save(folder / "nije.xlsx")
    run("import", kind, folder / "nije.xlsx", "--yes", "--faults", folder / "nije_tako.xlsx", status=1)
    shown, values = openpyxl.load_workbook(folder / "nije_tako.xlsx").worksheets[0].values
    by_heading = {heading.removesuffix(" *"): value for heading, value in zip(shown, values)}
    expect([by_heading[heading] for heading in headings], cells)

# A template offers what the database has, and truth values.
run("import", "PARTNERPTT", "--template", "--xlsx", folder / "partneri.xlsx")
book = openpyxl.load_workbook(folder / "partneri.xlsx")
sheet = book["PARTNERPTT"]
headings = [cell.value for cell in sheet[1]]
expect((headings[0], headings[1], sheet.freeze_panes), ("Naziv partnera *", "OIB partnera", "A2"))
lists = {str(v.sqref).split(":")[0]: v.formula1 for v in sheet.data_validations.dataValidation}
letter = openpyxl.utils.get_column_letter(headings.index("Aktivan") + 1)
expect(lists[f"{letter}2"], '"TRUE,FALSE"')
towns, cells = lists[openpyxl.utils.get_column_letter(headings.index("Naziv mjesta *") + 1) + "2"].split("!")
expect((towns, book[towns].sheet_state), ("Popisi", "hidden"))
offered = [cell.value for (cell,) in book[towns][cells.replace("$", "")]]
assert "Zagreb" in offered and offered == sorted(set(offered)), offered

# A workbook that cannot be read is nobody's template.
(folder / "pola.xlsx").write_bytes((folder / "partneri.xlsx").read_bytes()[:1000])
run("import", "PARTNERPTT", "--template", "--xlsx", folder / "pola.xlsx", status=1)

# And what the company's settings require.
run("company", "set", "TipPozivaNaBrojPutnika=OIB")
run("import", "PUTNICIGRUPA", "--template", "--xlsx", folder / "putnici.xlsx")
headings = [cell.value for cell in openpyxl.load_workbook(folder / "putnici.xlsx").active[1]]
assert "OIB *" in headings, headings

#include <gmock/gmock.h>

#include "sheets/number_format.h"
#include "sheets/open_sheet.h"
#include "sheets/xml_scanner.h"
#include "tests/foundation/case_file.h"
#include "tests/sheets/shown_rows.h"
#include "tests/sheets/zip_files.h"

namespace mox {
namespace {

// Reads the bytes as a file, without the name of the file in what comes of it.
std::string Read(const std::string& bytes, const std::string& sheet = "") {
  const std::string label = "f.xlsx";
  std::string shown = TextOrError([&] { return ShownRows(*OpenSheet({label, bytes}, {.sheet = sheet})); });
  for (std::size_t at = shown.find(label); at != std::string::npos; at = shown.find(label))
    shown.erase(at, label.size());
  return shown;
}

// --- workbooks ---

const std::string kRelationship = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";

std::string Relationship(const std::string& id, const std::string& type, const std::string& target) {
  return "<Relationship Id='" + id + "' Type='" + kRelationship + type + "' Target='" + target + "'/>";
}

// A workbook of one sheet with an absolute and a relative target, texts that its sheets share, and the styles
// 0 general, 1 to 6 as below.
Parts Workbook(const std::string& data, const std::string& behind = "", const std::string& properties = "") {
  return {
      {"[Content_Types].xml", "<Types/>"},
      {"_rels/.rels",
       "<Relationships>" + Relationship("r", "officeDocument", "/xl/workbook.xml") + "</Relationships>"},
      {"xl/_rels/workbook.xml.rels", "<Relationships>" +
                                         Relationship("a", "worksheet", "/xl/worksheets/sheet1.xml") +
                                         Relationship("b", "worksheet", "sheets/../worksheets/sheet2.xml") +
                                         Relationship("c", "sharedStrings", "sharedStrings.xml") +
                                         Relationship("d", "styles", "styles.xml") + "</Relationships>"},
      {"xl/workbook.xml", "<x:workbook xmlns:x='y'><x:workbookPr " + properties +
                              "/><x:sheets><x:sheet name='Prvi' r:id='a'/>"
                              "<x:sheet name='Skriven' state='hidden' r:id='b'/></x:sheets></x:workbook>"},
      {"xl/styles.xml",
       "<styleSheet><numFmts><numFmt numFmtId='164' formatCode='dd.mm.yyyy;@'/>"
       "<numFmt numFmtId='165' formatCode='00000'/></numFmts><cellXfs><xf numFmtId='0'/><xf numFmtId='14'/>"
       "<xf numFmtId='164'/><xf numFmtId='22'/><xf numFmtId='165'/><xf numFmtId='10'/><xf numFmtId='21'/>"
       "</cellXfs></styleSheet>"},
      {"xl/sharedStrings.xml",
       "<sst><si><t>prvi</t></si><si><r><t xml:space='preserve'>Š </t></r><r><rPr><b/></rPr><t>&amp; "
       "ž</t></r>"
       "<rPh><t>no</t></rPh></si><si><t>a_x000D_\nb_x005F_x_x00zz_</t></si><si/></sst>"},
      {"xl/worksheets/sheet1.xml", "<?xml version='1.0' encoding='UTF-8'?><worksheet><sheetData>" + data +
                                       "</sheetData>" + behind + "</worksheet>"},
      {"xl/worksheets/sheet2.xml",
       "<x:worksheet xmlns:x='y'><x:sheetData><x:row><x:c t='inlineStr'><x:is><x:t>"
       "skriveno</x:t></x:is></x:c></x:row></x:sheetData></x:worksheet>"},
  };
}

std::string ReadData(const Words& row) {
  return Read(Zip(Workbook(row.at(0), row.size() > 1 ? row[1] : "")));
}

std::string ReadCell(const std::string& cell, const std::string& properties = "") {
  const std::string shown = Read(Zip(Workbook("<row>" + cell + "</row>", "", properties)));
  return shown.starts_with("1 ") ? shown.substr(2) : shown;
}

// --- documents ---

std::string Content(const std::string& tables) {
  return "<office:document-content><office:automatic-styles><style:style "
         "style:name='h'><style:table-properties "
         "table:display='false'/></style:style></office:automatic-styles><office:body><office:spreadsheet>" +
         tables + "</office:spreadsheet></office:body></office:document-content>";
}

std::string Table(const std::string& name, const std::string& rows) {
  return "<table:table table:name='" + name + "'><table:table-column/>" + rows + "</table:table>";
}

std::string ReadDocument(const std::string& rows, const std::string& sheet = "") {
  return Read(
      Zip({{"content.xml",
            Content("<table:table table:name='s' table:style-name='h'/>" + Table("Prvi", rows) +
                    Table("Drugi",
                          "<table:table-row>"
                          "<table:table-cell><text:p>2</text:p></table:table-cell></table:table-row>"))}}),
      sheet.empty() ? "prvi" : sheet);
}

std::string ShownFormat(const std::string& code) {
  const NumberFormat format = ReadNumberFormat(code);
  const char* const shows[] = {"number", "percent", "date", "moment", "time"};
  return shows[static_cast<std::size_t>(format.shows)] +
         (format.least_digits > 0 ? " " + std::to_string(format.least_digits) : "");
}

std::string ScanXml(const std::string& text) {
  MemorySource source(text);
  XmlScanner xml(source, [](const std::string& what) { throw Error(what); });
  std::string shown;
  for (;;) {
    switch (xml.Next()) {
      case XmlScanner::Token::kStart:
        shown += "<" + std::string(xml.Name()) + (xml.Attribute("a").empty() ? "" : "=" + xml.Attribute("a"));
        break;
      case XmlScanner::Token::kEnd:
        shown += ">";
        break;
      case XmlScanner::Token::kText:
        xml.AppendTextTo(shown);
        break;
      case XmlScanner::Token::kDone:
        return shown;
    }
  }
}

TEST(Spreadsheets, Tables) {
  ExpectTables(
      "spreadsheets",
      {{"format", [](auto& row) { return ShownFormat(row.at(0)); }},
       {"xml", [](auto& row) { return ScanXml(row.at(0)); }},
       {"cell", [](auto& row) { return ReadCell(row.at(0)); }},
       {"cell since 1904", [](auto& row) { return ReadCell(row.at(0), "date1904='1'"); }},
       {"rows", ReadData},
       {"document row",
        [](auto& row) { return ReadDocument("<table:table-row>" + row.at(0) + "</table:table-row>"); }},
       {"document", [](auto& row) { return ReadDocument(row.at(0), row.size() > 1 ? row[1] : ""); }}},
      "sheets");
}

TEST(Spreadsheets, AreChosenByTheNameOfTheirSheet) {
  const std::string bytes = Zip(Workbook("<row><c><v>1</v></c></row>"));
  EXPECT_EQ(Read(bytes, "SKRIVEN"), "1 skriveno");
  EXPECT_EQ(Read(bytes, "Drugi"), "! : there is no sheet \"Drugi\"; there is \"Prvi\"");
  EXPECT_EQ(Read(Zip({{"content.xml", Content(Table("Ž&amp;", "") + Table("B", ""))}})),
            " / : the sheet \"Ž&\" is read, of \"Ž&\", \"B\"");
  EXPECT_EQ(TextOrError([] {
              return ShownRows(*OpenSheet({"f.csv", "a"}, {.sheet = "B"}));
            }),
            "! f.csv: a text has no sheets to choose from");
}

// Files that are no sheet, or no whole one, are refused with what the user can do.
TEST(Spreadsheets, ThatCannotBeReadSayWhy) {
  const std::string old = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
  const std::string again = "; open it with the spreadsheet and save it again";
  const std::string as = "; open it with the spreadsheet and save it as .xlsx, .ods or .csv";
  std::string encrypted = old;
  for (const char c : std::string("EncryptedPackage")) encrypted += {c, '\0'};
  EXPECT_EQ(Read(old + "Workbook"), "! : the older binary form .xls is not read" + as);
  EXPECT_EQ(Read(encrypted), "! : the file is protected by a password; save it without one");
  EXPECT_EQ(Read("<HTML><table>"), "! : this is a web page or XML under the name of a sheet" + as);
  EXPECT_EQ(Read(Zip({{"a.txt", "a"}})),
            "! : the file is no sheet but another zip file; unpack it, or save the sheet as .xlsx or .ods");
  EXPECT_EQ(Read(Zip(Workbook(""), {.password = "tajna"})),
            "! : the file is protected by a password; save it without one");
  EXPECT_EQ(Read(Zip({{"content.xml", "x"}, {"META-INF/manifest.xml", "<encryption-data/>"}})),
            "! : the file is protected by a password; save it without one");

  Parts binary = Workbook("");
  binary["_rels/.rels"] =
      "<Relationships>" + Relationship("r", "officeDocument", "xl/workbook.bin") + "</Relationships>";
  EXPECT_EQ(Read(Zip(binary)), "! : the binary form .xlsb is not read; save it as .xlsx or .ods");
  Parts without = Workbook("");
  without.erase("xl/worksheets/sheet1.xml");
  EXPECT_EQ(Read(Zip(without)),
            "! : the file is damaged (xl/worksheets/sheet1.xml: the part is missing)" + again);
  without["xl/worksheets/sheet1.xml"] = "<chartsheet/>";
  EXPECT_EQ(Read(Zip(without)),
            "! : the file is damaged (xl/worksheets/sheet1.xml: byte 13: it is no sheet)" + again);

  const std::string whole = Zip(Workbook("<row><c><v>1</v></c></row>"), {.compression = ZIP_CM_STORE});
  EXPECT_EQ(Read(whole.substr(0, whole.size() / 2)).substr(0, 39), "! : the file is damaged or incomplete (");
  std::string changed = whole;
  changed[changed.find("<v>1") + 3] = '2';
  EXPECT_EQ(Read(changed), "! : the file is damaged (xl/worksheets/sheet1.xml: CRC error)" + again);
}

// A file of some kilobytes that expands to gigabytes ends before it fills the memory.
TEST(Spreadsheets, ThatExpandToTooMuchAreRefused) {
  const std::string padding(100UL * 1024 * 1024, ' ');
  EXPECT_EQ(
      Read(Zip(Workbook(padding))),
      "! : xl/worksheets/sheet1.xml expands to more than 83 MB, which is too much for a file of its size; "
      "open it with the spreadsheet and save it again");
  const std::string row =
      "<table:table-row table:number-rows-repeated='2000000'><table:table-cell><text:p>a"
      "</text:p></table:table-cell></table:table-row>";
  EXPECT_THAT(ReadDocument(row), testing::HasSubstr("there are more rows than a sheet has"));
}

}  // namespace
}  // namespace mox

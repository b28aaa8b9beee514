#include <cairo.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <span>

#include "mox/foundation/locale_text.h"
#include "mox/foundation/rounding.h"
#include "paper/a4_layout.h"
#include "paper/esc_pos.h"
#include "paper/page_tables.h"
#include "paper/pdf.h"
#include "paper/slip.h"
#include "paper/text_painter.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"
#include "tests/paper/paper_reader.h"
#include "tests/paper/random_documents.h"

namespace mox {
namespace {

constexpr const char* kZki = "0a1b2c3d4e5f60718293a4b5c6d7e8f9";

class LayoutTest : public RandomDocuments {
 protected:
  LaidDocument LaidA4(const DocumentPage& page) { return LayOutA4(page, paper_, painter_, CurrentLocale()); }
  std::string PdfOf(const LaidDocument& laid) {
    PdfFile file(paper_.Text("stranica", "font"), *MakeDate(2026, 3, 2));
    file.Add(laid);
    return file.Finish();
  }
  // An invoice with both codes on it.
  DocumentPage CodedPage(std::int64_t lines = 2) {
    const std::int64_t id = Store(DocumentKindByName("otpremnica-racun"), lines);
    server_.database().Execute(
        "INSERT INTO dok_fiskalno (dok_id, broj_racuna, zki, vrijeme) VALUES (:id, '17/PP1/1', :zki, "
        "'2026-03-02T09:05:00')",
        {id, std::string(kZki)});
    return MakePage(id, paper_);
  }
  // No text leaves its box, and none the sheet.
  void ExpectInside(const LaidDocument& laid, const std::string& what) {
    constexpr double kNothing = 0.02;
    for (const LaidSheet& sheet : laid.sheets) {
      for (const LaidText& text : sheet.texts) {
        const auto size = painter_.Measure(text.text, text.style, text.wraps ? text.width : 0);
        ASSERT_LE(size.width, text.width + kNothing) << what << ": " << text.text;
        ASSERT_GE(text.x, 0) << what;
        ASSERT_LE(text.x + text.width, laid.width) << what << ": " << text.text;
        ASSERT_LE(text.y + size.height, laid.height) << what << ": " << text.text;
      }
    }
  }

  TextPainter painter_{"DejaVu Sans"};
};

std::string WithoutBlanks(const std::string& text) {
  std::string left;
  for (const char c : text) {
    if (static_cast<unsigned char>(c) > ' ') left += c;
  }
  return left;
}

// The cells of the row that begins with a label, on a sheet.
std::vector<std::string> RowOf(const LaidSheet& sheet, const std::string& label) {
  std::vector<std::string> cells;
  const auto found = std::find_if(sheet.texts.begin(), sheet.texts.end(),
                                  [&](const LaidText& text) { return text.text == label; });
  for (auto text = found; text != sheet.texts.end(); ++text) {
    if (text != found && text->y == found->y) cells.push_back(text->text);
  }
  return cells;
}

std::vector<std::string> TextsOf(const LaidSheet& sheet) {
  std::vector<std::string> texts;
  for (const LaidText& text : sheet.texts) texts.push_back(text.text);
  return texts;
}

// All texts of a document, in their order and without blanks.
std::string Whole(const LaidDocument& laid) {
  std::string whole;
  for (const LaidSheet& sheet : laid.sheets) {
    for (const std::string& text : TextsOf(sheet)) whole += WithoutBlanks(text);
  }
  return whole;
}

TEST_F(LayoutTest, LosesNoLineAndLeavesNoColumn) {
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const std::int64_t lines : {1, 23, kind.name == "gotovinski-racun" ? 5000 : 130}) {
      const DocumentPage page = MakePage(Store(kind, lines), paper_);
      const LaidDocument laid = LaidA4(page);
      ExpectInside(laid, std::string(kind.name));
      std::multiset<std::string> names;  // up to the number of the line
      for (const LaidSheet& sheet : laid.sheets) {
        for (const LaidText& text : sheet.texts) names.insert(text.text.substr(0, text.text.find("-čćđšž")));
      }
      for (std::int64_t line = 1; line <= lines; ++line) {
        const std::string name = "Roba-" + std::to_string(line);
        ASSERT_EQ(names.count(name), page.tables.size()) << kind.name << " line " << line;
      }
      if (lines > 100) {
        ASSERT_GT(laid.sheets.size(), 1U) << kind.name;
      }
      // What one sheet carries over the next one begins with.
      for (std::size_t sheet = 0; sheet + 1 < laid.sheets.size(); ++sheet) {
        const auto carried = RowOf(laid.sheets[sheet], "Za prijenos");
        if (carried.empty()) continue;
        ASSERT_EQ(carried, RowOf(laid.sheets[sheet + 1], "Prijenos")) << kind.name;
      }
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(LayoutTest, CarriesTheSumOfTheLinesAbove) {
  const DocumentPage page = MakePage(Store(DocumentKindByName("racun-usluga"), 200), paper_);
  const LaidDocument laid = LaidA4(page);
  ASSERT_GE(laid.sheets.size(), 3U);
  ASSERT_LE(laid.sheets.size(), 20U);
  const PageTable& table = page.tables.front();
  std::vector<Currency> sums(table.sums.size());
  std::size_t row = 0;
  for (std::size_t sheet = 0; sheet + 1 < laid.sheets.size(); ++sheet) {
    const auto carried = RowOf(laid.sheets[sheet], "Za prijenos");
    if (carried.empty()) break;
    for (const LaidText& text : laid.sheets[sheet].texts) {
      EXPECT_TRUE(text.style.bold || text.text.empty() || text.text != carried.back()) << text.text;
    }
    const auto on_sheet = [&](const std::string& name) {
      const auto& texts = laid.sheets[sheet].texts;
      return std::any_of(texts.begin(), texts.end(), [&](const LaidText& text) { return text.text == name; });
    };
    for (; row < table.rows.size() && on_sheet(table.rows[row].cells[2]); ++row) {
      for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += table.rows[row].amounts[i];
    }
    std::vector<std::string> shown = table.SumCells(sums, CurrentLocale());
    std::erase(shown, "");
    EXPECT_EQ(carried, shown) << sheet;
  }
}

// Every text in its order, letters of all kinds, and the same bytes again.
TEST_F(LayoutTest, MakesPdfsThatAreReadBack) {
  const ScratchFolder folder;
  for (const char* name :
       {"gotovinski-racun", "primka-kalkulacija", "pocetno-stanje", "mal-dnevni-izv-blag"}) {
    const LaidDocument laid = LaidA4(MakePage(Store(DocumentKindByName(name), 90), paper_));
    const std::string pdf = PdfOf(laid);
    EXPECT_EQ(pdf, PdfOf(laid)) << name;
    const std::string file = folder / "a.pdf";
    std::ofstream(file, std::ios::binary) << pdf;
    EXPECT_EQ(WithoutBlanks(OutputOf("pdftotext -raw '" + file + "' -")), Whole(laid)) << name;
    const std::string info = OutputOf("pdfinfo '" + file + "'");
    EXPECT_NE(info.find(laid.title), std::string::npos) << info;
    EXPECT_NE(info.find("Pages:           " + std::to_string(laid.sheets.size()) + "\n"), std::string::npos)
        << info;
    const std::string fonts = OutputOf("pdffonts '" + file + "' | awk 'NR > 2 {print $(NF-4)}' | sort -u");
    EXPECT_EQ(fonts, "yes\n") << name;
    EXPECT_NE(pdf.find("/Lang (hr-HR)"), std::string::npos);
    EXPECT_NE(info.find("Tagged:          yes"), std::string::npos) << info;
    // Read aloud, the lines are rows of a table, whichever sheet they are on.
    std::set<int> rows;
    for (const LaidSheet& sheet : laid.sheets) {
      for (const LaidText& text : sheet.texts) rows.insert(text.row);
    }
    const std::string structure = OutputOf("pdfinfo -struct '" + file + "' 2>/dev/null");
    EXPECT_EQ(CountOf(structure, "  TR\n"), rows.size() - 1) << name;
    EXPECT_EQ(CountOf(structure, "H1 (block)\n"), 1U) << name;
  }
}

// By two readers that have nothing in common with what draws them.
TEST_F(LayoutTest, DrawsCodesThatReadersUnderstand) {
  const ScratchFolder folder;
  for (const std::int64_t lines : {2, 1, 3, 5, 17}) {
    const DocumentPage page = CodedPage(lines);
    ASSERT_NE(page.payment_code, "");
    const std::string file = folder / "a.pdf";
    const LaidDocument laid = LaidA4(page);
    std::ofstream(file, std::ios::binary) << PdfOf(laid);
    const std::string last = std::to_string(laid.sheets.size());  // where the codes are
    OutputOf("pdftoppm -r 200 -gray -singlefile -f " + last + " '" + file + "' '" + (folder / "a") + "'");
    const GrayPicture picture = ReadPgm(folder / "a.pgm");
    EXPECT_THAT(ReadCodes(picture), testing::UnorderedElementsAre(page.verification_code, page.payment_code));
    EXPECT_EQ(OutputOf("zbarimg -q --raw '" + (folder / "a.pgm") + "'"), page.verification_code + "\n");
    EXPECT_EQ(page.payment_code.substr(0, 29), "HRVHUB30\nEUR\n" + page.payment_code.substr(13, 15) + "\n");
  }
}

TEST_F(LayoutTest, PrintsSlipsThatAreReadBack) {
  DocumentPage page = CodedPage();
  std::string note;  // taller than what is drawn at a time
  for (int i = 0; i < 700; ++i) note += "bilješka ";
  for (const SlipPaper width : {SlipPaper::k80mm, SlipPaper::k58mm}) {
    if (width == SlipPaper::k58mm) page.notes.push_back(note);
    const LaidDocument laid = LayOutSlip(page, paper_, painter_, width);
    ExpectInside(laid, "slip");
    const PrintedSlip slip =
        PrintOf(EscPos(laid, painter_, {.cut = true, .open_drawer = width == SlipPaper::k80mm}));
    EXPECT_EQ(slip.cuts, 1);
    EXPECT_EQ(slip.pulses, width == SlipPaper::k80mm ? 1 : 0);
    ASSERT_EQ(slip.picture.width, static_cast<int>(width));
    ASSERT_EQ(slip.picture.height, static_cast<int>(laid.height));
    // Drawn at once it is the same picture as in bands.
    cairo_surface_t* const surface =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, slip.picture.width, slip.picture.height);
    cairo_t* const cairo = cairo_create(surface);
    cairo_set_source_rgb(cairo, 1, 1, 1);
    cairo_paint(cairo);
    DrawSheet(cairo, laid.sheets.front(), painter_);
    cairo_surface_flush(surface);
    const auto* const drawn = reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface));
    std::size_t black = 0;
    for (std::size_t i = 0; i < slip.picture.pixels.size(); ++i) {
      ASSERT_EQ(slip.picture.pixels[i] == 0, (drawn[i] & 255U) < 128U) << "dot " << i;
      black += slip.picture.pixels[i] == 0 ? 1 : 0;
    }
    EXPECT_GT(black, slip.picture.pixels.size() / 50);
    cairo_destroy(cairo);
    cairo_surface_destroy(surface);
    // As a PDF it says the same, in its size.
    const ScratchFolder folder;
    const std::string file = folder / "a.pdf";
    std::ofstream(file, std::ios::binary) << PdfOf(laid);
    EXPECT_EQ(WithoutBlanks(OutputOf("pdftotext -raw '" + file + "' -")), Whole(laid));
    EXPECT_THAT(OutputOf("pdfinfo '" + file + "'"),
                testing::HasSubstr(width == SlipPaper::k80mm ? "size:       204.2" : "size:       136.1"));
    const std::vector<std::string> codes = ReadCodes(slip.picture);
    EXPECT_THAT(codes, testing::Contains(page.verification_code));
    if (width == SlipPaper::k80mm) {
      EXPECT_THAT(codes, testing::Contains(page.payment_code));
      EXPECT_THAT(laid.left_out, testing::IsEmpty());
    } else {
      EXPECT_THAT(
          laid.left_out,
          testing::ElementsAre("the payment code is not on the slip, whose paper is too narrow for it"));
    }
  }
}

Currency ShownAmount(std::string text) {
  std::erase(text, '.');
  return ParseLocaleCurrency(text, CurrentLocale()).value();
}

// What a line of a slip says is calculated by whoever reads it: "1,5 kom x 12,50 -10+5% (25%)".
Currency Calculated(const std::string& line) {
  const auto number_at = [&line](std::size_t at) {
    std::string text = line.substr(at, line.find_first_not_of("-0123456789.,", at) - at);
    std::erase(text, '.');
    return ParseLocaleNumber(text, CurrentLocale()).value();
  };
  const std::size_t price = line.find(" x ") + 3;
  double amount = number_at(0) * number_at(price);
  for (std::size_t at = line.find(" -", price); at != std::string::npos; at = line.find('+', at + 1)) {
    amount *= 1 - std::abs(number_at(at + 1)) / 100;
  }
  return R2(Amount::OfUnits(amount));
}

// A slip says of a line that is paid what the customer pays for one, and what that comes to; a fee stands by
// itself, and the discount is what the prices have lost to it. Of other lines it says the price and the
// amount that the page has. What is to be paid stands on one line.
TEST_F(LayoutTest, SlipsSayWhatIsPaid) {
  const struct {
    const char* kind;
    const char* price = nullptr;
    const char* amount = nullptr;
  } rows[] = {{"gotovinski-racun"},
              {"mal-gotovinski-racun"},
              {"racun-usluga"},
              {"otpremnica-racun"},
              {"gotovinski-racun-usluga"},
              {"gotovinski-racun-servis"},
              {"storno-gotovinski-racun"},
              {"povratnica-kupca"},
              {"primka-kalkulacija", "fc", "nfci"},
              {"meduskladisnica-ulaz", "nc", "nci"},
              {"pocetno-stanje", "nc", "nci"},
              {"razduzenje-otpis", "nc", "nci"},
              {"izmjena-cijena", "vpc", "vpci"}};
  for (const auto& row : rows) {
    const std::int64_t id = Store(DocumentKindByName(row.kind), 6);
    const DocumentPage page = MakePage(id, paper_);
    const LaidDocument laid = LayOutSlip(page, paper_, painter_, SlipPaper::k80mm);
    const std::vector<std::string> texts = TextsOf(laid.sheets.front());
    const auto stored = [&](const char* field) {
      const RecordSet lines = server_.database().Query(
          "s", ParseColumns("iznos:currency"),
          "SELECT " + std::string(field) + " FROM dok_stavke WHERE dok_id = :id AND rb = 1", {id});
      return AmountText(lines.AsCurrency(0), CurrentLocale());
    };
    Currency sum;
    Currency discounts;
    Currency shown_discounts;
    for (auto text = texts.begin(); text != texts.end(); ++text) {
      if (*text == "Povratna naknada") sum += ShownAmount(*(text + 1));
      if (text->starts_with("Odobreni popust")) shown_discounts = ShownAmount(*(text + 1));
      if (!text->starts_with("Roba-")) continue;
      ASSERT_LT(text + 2, texts.end()) << row.kind;
      if (row.price == nullptr) {
        const Currency amount = ShownAmount(*(text + 2));
        sum += amount;
        const Currency apart = Calculated(*(text + 1)) - amount;
        EXPECT_LE(std::abs(apart.scaled()), 100) << row.kind << ": " << *(text + 1) << " = " << *(text + 2);
        const std::size_t discount = (text + 1)->find(" -", (text + 1)->find(" x "));
        if (discount != std::string::npos) discounts += Calculated((text + 1)->substr(0, discount)) - amount;
      } else if (text->starts_with("Roba-1-")) {
        EXPECT_NE((text + 1)->find(" x " + stored(row.price)), std::string::npos) << row.kind << *(text + 1);
        EXPECT_EQ(*(text + 2), stored(row.amount)) << row.kind;
      }
    }
    EXPECT_TRUE(row.price != nullptr || sum == page.total) << row.kind;
    EXPECT_TRUE(row.price != nullptr || discounts == shown_discounts)
        << row.kind << " " << discounts.ToString() << " " << shown_discounts.ToString();
    for (const PageSum& of_page : page.sums) {
      const auto label = std::find(texts.begin(), texts.end(), of_page.label + " " + page.currency);
      ASSERT_LT(label + 1, texts.end()) << row.kind << ": " << of_page.label;
      EXPECT_EQ(*(label + 1), of_page.amount) << row.kind;
      const LaidText* const laid_label =
          &laid.sheets.front().texts[static_cast<std::size_t>(label - texts.begin())];
      EXPECT_EQ(laid_label[0].y, laid_label[1].y) << row.kind << ": " << *label;
    }
  }
}

// KIND FIELD=NUMBER...: a line with a fee at 25 %, and how the slip says it, its discount and the fee beside
TEST_F(LayoutTest, SlipsSayWhereTheFeeIs) {
  const auto said = [this](const Words& row) {
    Document document(DocumentKindByName(row.at(0)));
    document.SetHeader("datum", *MakeDate(2026, 3, 2));
    RecordSet& goods = *document.Goods();
    goods.Append();
    for (const std::string& word : std::span(row).subspan(1)) {
      const std::size_t equals = word.find('=');
      goods.FieldByName(word.substr(0, equals)).SetText(word.substr(equals + 1));
    }
    goods.FieldByName("tbr_stp").SetFloat(25);
    goods.FieldByName("pov_nak").SetFloat(0.07);
    goods.Post();
    EXPECT_TRUE(document.Store()) << server_.WriteRefusal();
    const DocumentPage page = MakePage(server_.LastWrite().stored.value().AsInteger(0), paper_);
    const LaidDocument laid = LayOutSlip(page, paper_, painter_, SlipPaper::k80mm);
    const std::vector<std::string> texts = TextsOf(laid.sheets.front());
    std::string lines;
    for (auto text = texts.begin(); text != texts.end(); ++text) {
      if (text->find(" x ") != std::string::npos) lines += *text;
      if (*text == "Odobreni popust EUR") lines += ", popust " + *(text + 1);
      if (*text == "Povratna naknada") lines += ", naknada " + *(text + 1);
    }
    return lines;
  };
  ExpectTables("slips", {{"fees", said}}, "paper");
}

TEST_F(LayoutTest, TellsWhatCannotBeDrawn) {
  EXPECT_THROW(TextPainter("Nema takvog fonta"), Error);
  EXPECT_THROW(painter_.Measure("\xF3\xB0\x80\x80", {9, false}), Error);  // of no font
  const DocumentPage page = MakePage(Store(DocumentKindByName("predracun"), 1), paper_);
  std::string columns = "[stupci]\nroba =";
  for (const PageColumn& column : PageColumns()) {
    columns += " " + std::string(column.name);
    if (!column.IsSummed() && column.value != PageValue::kPrice) continue;
    const std::string name(column.name);
    server_.database().Execute("UPDATE dok_stavke SET " + name + " = COALESCE(" + name + ", 123456789.12)");
  }
  const PaperTemplate wide(columns + "\n", "p.txt");
  const DocumentPage wide_page = MakePage(page.id, wide);
  EXPECT_THROW(LayOutA4(wide_page, wide, painter_, CurrentLocale()), Error);
  std::string footer = "[podnozje]\ntekst =";
  for (int i = 0; i < 2000; ++i) footer += " podnožje";
  const PaperTemplate tall(footer + "\n", "p.txt");
  EXPECT_THROW(LayOutA4(MakePage(page.id, tall), tall, painter_, CurrentLocale()), Error);
}

TEST_F(LayoutTest, GoesOnWithALongNoteOnTheNextSheet) {
  std::string words;
  for (int i = 0; i < 4000; ++i) words += " uvjet" + std::to_string(i);
  const PaperTemplate terms("[napomene]\npredracun =" + words + "\n", "p.txt");
  const DocumentPage page = MakePage(Store(DocumentKindByName("predracun"), 1), terms);
  const LaidDocument laid = LayOutA4(page, terms, painter_, CurrentLocale());
  EXPECT_GT(laid.sheets.size(), 3U);
  std::string found;
  for (const LaidSheet& sheet : laid.sheets) {
    for (const LaidText& text : sheet.texts) {
      if (text.text.find("uvjet") == std::string::npos) continue;
      found += (found.empty() ? " " : "") + text.text;
      EXPECT_LT(text.y + painter_.Measure(text.text, text.style, text.width).height, 842.0);
    }
  }
  EXPECT_EQ(found, words);
}

}  // namespace
}  // namespace mox

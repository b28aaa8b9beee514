#include "paper/page.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "mox/documents/document_figures.h"
#include "mox/foundation/locale_text.h"
#include "mox/host/locale.h"
#include "mox/host/memory_settings.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "paper/a4_layout.h"
#include "paper/article_pictures.h"
#include "paper/page_check.h"
#include "paper/page_tables.h"
#include "paper/text_page.h"
#include "paper/text_painter.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"
#include "tests/paper/paper_reader.h"
#include "tests/paper/random_documents.h"

namespace mox {
namespace {

using PageTest = RandomDocuments;

// Each number that a page shows, with a way to change it.
std::vector<std::string*> NumbersOf(DocumentPage& page) {
  std::vector<std::string*> numbers;
  for (PageTable& table : page.tables) {
    for (PageTable::Row& row : table.rows) {
      for (std::size_t i = 0; i < row.cells.size(); ++i) {
        if (table.columns[i].column->IsSummed()) numbers.push_back(&row.cells[i]);
      }
    }
  }
  for (PageTaxRow& row : page.taxes) numbers.insert(numbers.end(), {&row.base, &row.tax, &row.total});
  for (PageSum& sum : page.sums) {
    if (page.total) numbers.push_back(&sum.amount);
  }
  return numbers;
}

TEST_F(PageTest, SaysWhatTheDocumentSaysInEveryKind) {
  const LocaleSettings& locale = CurrentLocale();
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const std::int64_t lines : {1, 4, 30}) {
      const std::int64_t id = Store(kind, lines);
      DocumentPage page = MakePage(id, paper_);
      const std::string text = TextPage(page, locale);
      for (const PageTable& table : page.tables) {
        ASSERT_EQ(table.rows.size(), static_cast<std::size_t>(lines)) << kind.name;
      }
      for (std::int64_t line = 1; line <= lines; ++line) {
        ASSERT_EQ(CountOf(text, "Roba-" + std::to_string(line) + "-"), page.tables.size())
            << kind.name << text;
      }
      const RecordSet stored = server_.database().Query("dok", ParseColumns("ukupno:currency"),
                                                        "SELECT ukupno FROM dok WHERE id = :id", {id});
      ASSERT_EQ(page.total.has_value(), !stored.IsNull(0)) << kind.name;
      if (page.total) {
        ASSERT_EQ(*page.total, stored.AsCurrency(0)) << kind.name;
        ASSERT_NE(text.find(AmountText(stored.AsCurrency(0), locale)), std::string::npos) << kind.name;
      }
      for (const std::string word : {"12345678903", "Čašćenje i žđer d.o.o.", "02.03.2026"}) {
        ASSERT_NE(text.find(word), std::string::npos) << kind.name << ": " << word;
      }
      // Whichever number were another one, it would be told.
      for (std::string* const number : lines > 4 ? std::vector<std::string*>() : NumbersOf(page)) {
        const std::string before = *number;
        *number = AmountText(*ParseLocaleCurrency(before.empty() ? "0" : "1", locale), locale);
        if (*number == before || (before.empty() && *number == "0,00")) *number = "7,77";
        EXPECT_THROW(CheckPage(page, locale), Error) << kind.name << " " << before;
        *number = before;
      }
      CheckPage(page, locale);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(PageTest, CancelsWithReferenceToTheOriginal) {
  const std::int64_t id = Store(DocumentKindByName("otpremnica-racun"), 3);
  const DocumentPage before = MakePage(id, paper_);
  EXPECT_EQ(before.sums.back().label, "Ukupno za platiti");
  EXPECT_FALSE(before.payment.empty());
  ASSERT_TRUE(StoreStorno(id));
  const std::int64_t storno = server_.LastWrite().stored.value().AsInteger(0);
  // Printed again, it asks for no payment and says by what it was cancelled.
  const DocumentPage after = MakePage(id, paper_);
  EXPECT_EQ(after.facts.front().label, "STORNIRANO");
  EXPECT_TRUE(after.facts.front().text.starts_with("Storno otpremnice–računa 1/"))
      << after.facts.front().text;
  EXPECT_EQ(after.sums.back().label, "Ukupno");
  EXPECT_TRUE(after.payment.empty() && after.payment_code.empty());
  const DocumentPage page = MakePage(storno, paper_);
  EXPECT_TRUE((*page.total + *MakePage(id, paper_).total).IsZero());
  EXPECT_EQ(page.notes.front(), "Stornira se: Otpremnica–račun 1/2026 od 02.03.2026");
  EXPECT_TRUE(page.payment.empty());
}

std::string Said(const DocumentPage& page) {
  std::string all = TextPage(page, CurrentLocale());
  for (const std::string& warning : page.warnings) all += "\n" + warning;
  return all;
}
bool Says(const DocumentPage& page, const std::string& text) {
  return Said(page).find(text) != std::string::npos;
}

TEST_F(PageTest, SaysWhatWasStored) {
  const auto said = [this](const Words& row) {
    const std::int64_t id = Store(DocumentKindByName(row.at(0)), 3);
    server_.database().Execute(row.at(1), {id});
    std::string text;
    const std::string refused = ErrorOf([&] { text = Said(MakePage(id, paper_)); });
    std::string found;
    for (std::size_t i = 2; i < row.size(); ++i) {
      found += (text + refused).find(row[i]) == std::string::npos ? 'n' : 'y';
    }
    return found;
  };
  ExpectTables("pages", {{"said", said}}, "paper");
}

// What the page says of a document in another currency the books say too, to the cent, in every kind; a
// supplier who charges no tax has it stored.
TEST_F(PageTest, ConvertsAsTheBooksDo) {
  Database& database = server_.database();
  int codes = 0;
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const double rate : {1.0659, 0.88, 140.66, 7.5345}) {
      const std::int64_t id = Store(kind, 7);
      const bool is_in_kunas = rate == 7.5345;
      const bool is_uncharged = IsUncharged(kind, {.supplier_document = "RU"});
      database.Execute(
          "UPDATE dok SET tecaj = :tecaj, valuta_id = (SELECT id FROM valuta WHERE oznaka = :valuta) "
          "WHERE id = :id",
          {rate, std::string(is_in_kunas ? "HRK" : "USD"), id});
      if (is_uncharged) {
        database.Execute(
            "UPDATE dok SET vrsta_dok_dob = 'RU', ukupno = (SELECT SUM(osnovica) FROM dok_porezi WHERE "
            "dok_id = "
            ":id) WHERE id = :id",
            {id});
      }
      const DocumentPage page = MakePage(id, paper_);
      if (!page.total) continue;
      const auto listed = CreateDBDataSet("Dokumenti", "adsList", {});
      std::optional<Currency> total;
      for (const RecordRow& row : listed->Rows()) {
        if (row.AsInteger(row.IndexOf("id")) == id) total = row.AsCurrency(row.IndexOf("ukupno"));
      }
      EXPECT_TRUE(Says(page, "ukupno " + AmountText(total.value(), CurrentLocale()) + " EUR."))
          << kind.name << " " << rate << TextPage(page, CurrentLocale());
      // What is owed in kunas is paid in euros, just as many.
      if (!is_in_kunas || page.payment_code.empty()) continue;
      const std::string cents = std::to_string(total->scaled() / 100);
      EXPECT_NE(page.payment_code.find("\nEUR\n" + std::string(15 - cents.size(), '0') + cents + "\n"),
                std::string::npos)
          << kind.name << page.payment_code;
      ++codes;
    }
  }
  EXPECT_GT(codes, 0);
}

// By the rates of its lines, whatever their tax comes to.
TEST_F(PageTest, SaysWhyLinesCarryNoTax) {
  const PaperTemplate paper("[napomene]\nbez_poreza = Oslobođeno\n", "p.txt");
  const struct {
    std::vector<std::pair<double, double>> lines;  // quantity and rate
    bool is_free;
  } rows[] = {{{{1, 25}}, false}, {{{1, 0}, {1, 25}}, true}, {{{1, 13}, {-1, 13}}, false}, {{{1, 0}}, true}};
  for (const auto& row : rows) {
    Document document(DocumentKindByName("racun-usluga"));
    document.SetHeader("datum", *MakeDate(2026, 3, 2));
    for (const auto& [quantity, rate] : row.lines) {
      EnterLine(*document.Services(), {{"kolicina", quantity}, {"pc", 10}, {"tbr_stp", rate}});
    }
    ASSERT_TRUE(document.Store()) << server_.WriteRefusal();
    const std::int64_t id = server_.LastWrite().stored.value().AsInteger(0);
    EXPECT_EQ(Says(MakePage(id, paper), "Oslobođeno"), row.is_free) << id;
    EXPECT_EQ(Says(MakePage(id, paper_), "no note says by which law"), row.is_free) << id;
  }
}

// A picture stands where the line names its article, by its key or by its code; a damaged one is told.
TEST_F(PageTest, ShowsThePicturesOfArticles) {
  Database& database = server_.database();
  const std::int64_t id = Store(DocumentKindByName("otpremnica-racun"), 4);
  Picture red{300, 100, std::vector<std::uint8_t>(std::size_t{300} * 100 * 4, 255)};
  const std::string stored = PreparedPicture(EncodePng(red), {.crop_width = 2, .crop_height = 1, .most = 80});
  EXPECT_EQ(ReadPictureHeader(stored).kind, PictureKind::kJpeg);
  EXPECT_EQ(ReadPictureHeader(stored).width, 80);
  EXPECT_EQ(ReadPictureHeader(stored).height, 40);
  for (const int line : {1, 2, 3}) {
    const std::string code = "š" + std::to_string(line);
    database.Execute("INSERT INTO art (sifra, naziv) VALUES (:sifra, 'Roba')", {code});
    RecordSet record = ArticlePictureRecord(code, line == 3 ? "GIF89a\x02\x01\x02\x01" : stored);
    ASSERT_TRUE(ExecuteTransaction("ArtiklSlikaUpis", {&record})) << server_.WriteRefusal();
  }
  database.Execute(
      "UPDATE dok_stavke SET sifra = 'x', art_id = (SELECT id FROM art WHERE sifra = 'š2') "
      "WHERE dok_id = :id AND rb = 2",
      {id});
  const PaperTemplate paper("[stupci]\nroba = rb slika naziv ukupno\n", "p.txt");
  const DocumentPage page = MakePage(id, paper);
  const auto& rows = page.tables.front().rows;
  EXPECT_TRUE(rows[0].picture != nullptr && rows[1].picture != nullptr);
  EXPECT_TRUE(rows[2].picture == nullptr && rows[3].picture == nullptr);
  EXPECT_THAT(page.warnings, testing::Contains(testing::HasSubstr("no picture of the article š3")));
  EXPECT_EQ(TextPage(page, CurrentLocale()).find("Slika"), std::string::npos);
  TextPainter painter("DejaVu Sans");
  const LaidDocument laid = LayOutA4(page, paper, painter, CurrentLocale());
  ASSERT_EQ(laid.sheets.front().pictures.size(), 2U);
  EXPECT_DOUBLE_EQ(laid.sheets.front().pictures.front().width,
                   laid.sheets.front().pictures.front().height * 2);
  EXPECT_EQ(MakePage(id, paper_).tables.front().rows[0].picture, nullptr);
}

TEST_F(PageTest, ShowsWhatTheTaxAdministrationKnows) {
  const std::int64_t id = Store(DocumentKindByName("gotovinski-racun"), 1);
  server_.database().Execute(
      "INSERT INTO dok_fiskalno (dok_id, broj_racuna, zki, jir, vrijeme) VALUES "
      "(:id, '17/PP1/1', '0a1b2c3d4e5f60718293a4b5c6d7e8f9', '3b2c4d5e-1111-4222-8333-944455566677', "
      "'2026-03-02T09:05:00')",
      {id});
  const DocumentPage page = MakePage(id, paper_);
  EXPECT_EQ(page.number, "17/PP1/1");
  EXPECT_EQ(page.verification_code,
            "https://porezna.gov.hr/rn?zki=0a1b2c3d4e5f60718293a4b5c6d7e8f9"
            "&datv=20260302_0905&izn=" +
                CurrencyToText(*page.total, CurrentLocale()));
  const std::string text = TextPage(page, CurrentLocale());
  for (const char* word : {"09:05:00", "ZKI:", "JIR:", "3b2c4d5e-1111-4222-8333-944455566677", "1/2026"}) {
    EXPECT_NE(text.find(word), std::string::npos) << word;
  }
  // What was reported is in the currency of the country.
  server_.database().Execute(
      "UPDATE dok SET tecaj = 2, valuta_id = (SELECT id FROM valuta WHERE oznaka = 'USD') WHERE id = :id",
      {id});
  const DocumentPage foreign = MakePage(id, paper_);
  EXPECT_EQ(foreign.currency, "USD");
  EXPECT_NE(foreign.verification_code, page.verification_code);
  EXPECT_TRUE(std::any_of(foreign.notes.begin(), foreign.notes.end(), [&](std::string note) {
    std::erase(note, '.');
    const std::string& code = foreign.verification_code;
    return note.find("ukupno " + code.substr(code.rfind('=') + 1) + " EUR") != std::string::npos;
  })) << foreign.verification_code;
  server_.database().Execute("UPDATE dok SET tecaj = NULL WHERE id = :id", {id});
  EXPECT_EQ(MakePage(id, paper_).verification_code, "") << "nobody knows what was reported";
  server_.database().Execute("UPDATE dok SET valuta_id = NULL WHERE id = :id", {id});

  // Who prints reads other numbers; the tax administration does not.
  MemorySettings settings;
  StandardLocale english({.decimal_separator = ".", .thousands_separator = ","});
  const ScopedApp app({.ini = &settings, .comunication = &server_, .locale = &english});
  EXPECT_EQ(MakePage(id, paper_).verification_code, page.verification_code);
}

// Taxes may have more decimals; what is to be paid is money, on the page, in words and in the code.
TEST_F(PageTest, RoundsWhatIsToBePaidToHundredths) {
  server_.SetParameter("PdviCalcDigit=4");
  for (const char* kind : {"otpremnica-racun", "gotovinski-racun", "racun-usluga"}) {
    for (int document = 0; document < 5; ++document) {
      const DocumentPage page = MakePage(Store(DocumentKindByName(kind), 3), paper_);
      EXPECT_EQ(page.total->scaled() % 100, 0) << kind;
      const std::string& amount = page.sums.back().amount;
      EXPECT_EQ(amount.size() - amount.find(','), 3U) << kind << ": " << amount;
      EXPECT_EQ(page.payment_code.empty(), page.payment.empty()) << kind;
    }
  }
}

TEST(PaperTemplateTest, TellsFaultsWithTheirLine) {
  ExpectTables(
      "templates",
      {{"faulty", [](auto& row) { return PaperTemplate(row.at(0), "p.txt"), std::string("no fault"); }}},
      "paper");
  const ScratchFolder folder;
  const std::string pipe = folder / "logo";  // that nobody serves
  ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(ErrorOf([&] { PaperTemplate("[stranica]\nlogo = " + pipe + "\n", "p.txt"); }),
            "p.txt:2: logo: " + pipe + ": is a pipe or a device and not a file");
  const PaperTemplate paper("[naslovi]\r\npredracun = Ponuda\r\n[posta]\ntekst = a\\nb {broj}\n", "p.txt");
  EXPECT_EQ(paper.TitleOf(DocumentKindByName("predracun")), "Ponuda");
  EXPECT_EQ(Filled(paper.Text("posta", "tekst"), {{"broj", "{datum}"}, {"datum", "x"}}), "a\nb {datum}");
}

}  // namespace
}  // namespace mox

#include "mox/documents/article_lines.h"

#include <gtest/gtest.h>

#include "mox/documents/document.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"

// Lines of goods against a server that has two articles and three warehouses.

namespace mox {
namespace {

std::string TextOf(const std::vector<LineFault>& faults) {
  std::string text;
  for (const LineFault& fault : faults) {
    text += std::to_string(fault.line) + " " + fault.field + " " + fault.message + "\n";
  }
  return text;
}

constexpr const char* kArticles[] = {"1|A1|Sok|kom|25|10|12,5|7", "2|B 2|Voda|l|13|~|~|~"};
constexpr const char* kLineFields =
    "art_id:integer,sifra,naziv,jm,kolicina:float,tbr_stp:float,pc:currency,rbp1:float";

class ArticleLinesTest : public testing::Test {
 protected:
  ArticleLinesTest() {
    using Answer = std::unique_ptr<TAstaParamList>;
    host_.services["ArtiklZaStavku"] = [](const TAstaParamList& request) -> Answer {
      TAstaParamList asked = TAstaParamList::FromTokenizedString(request.AsTokenizedString(false));
      const auto* const key = asked.FindParam("art_id");
      const std::string wanted = key != nullptr ? key->AsString() : asked.ParamByName("sifra").AsString();
      RecordSet found =
          SetOf("id:integer,sifra,naziv,jm,tbr_stp:float,vpc:currency,mpc:currency,nc:currency", "");
      for (const std::string article : kArticles) {
        if (Split(article, '|')[key != nullptr ? 0 : 1] == wanted) AppendTo(found, article);
      }
      return AnswerOf("adsArtikl", std::move(found));
    };
    host_.services["StanjeSkladista"] = [](const TAstaParamList& request) -> Answer {
      TAstaParamList asked = TAstaParamList::FromTokenizedString(request.AsTokenizedString(false));
      const bool known = asked.ParamByName("art_id").AsString() == "1";
      return AnswerOf("adsStanje", SetOf("sifra,kolicina:float", known ? "A1|4,5" : ""));
    };
  }

  // What the server was asked, without the names of its inputs' forms.
  std::size_t Reads() const {
    return static_cast<std::size_t>(
        std::count_if(host_.log.begin(), host_.log.end(),
                      [](const std::string& entry) { return entry.starts_with("read"); }));
  }

  RecordingHost host_;
  ScopedApp app_{host_.Parts()};
};

TEST_F(ArticleLinesTest, TellWhatLinesOfEachKindMayLeaveOut) {
  for (const auto& [kind, fields] : {std::pair("gotovinski-racun", "tbr_stp pc "),
                                     {"mal-gotovinski-racun", "tbr_stp mpc "},
                                     {"predracun", "tbr_stp pc vpc "},
                                     {"razduzenje-otpis", "vpc nc "},
                                     {"pocetno-stanje", "vpc "},
                                     {"izmjena-cijena", "vpc "},
                                     {"povratnica-kupca", "tbr_stp pc vpc "},
                                     {"racun-usluga", ""}}) {
    std::string text;
    for (const std::string_view field : FieldsOfArticles(DocumentKindByName(kind))) {
      text += std::string(field) + " ";
    }
    EXPECT_EQ(text, fields) << kind;
  }
}

TEST_F(ArticleLinesTest, TakeWhatLinesLeaveOutAndTellWhatIsMissing) {
  const DocumentKind& kind = DocumentKindByName("gotovinski-racun");
  const struct {
    const char* line;
    const char* taken;
    const char* unknown;  // without the number of the line
    const char* missing;  // "~" stands for what is said of an unknown article
  } rows[] = {
      {"~|A1|~|~|2", "1|A1|Sok|kom|2|25|10,00|~", "", ""},
      {"1|~|~|~|2", "1|A1|Sok|kom|2|25|10,00|~", "", ""},
      {"1|~|Moj| |2|13|0|5", "1|A1|Moj|kom|2|13|0,00|5", "", ""},
      {"1|B 2|~|kg|2", "1|B 2|Sok|kg|2|25|10,00|~", "", ""},  // the key counts
      {"~| B 2 |~|~|2", "2| B 2 |Voda|l|2|13|~|~", "", "pc is empty, and no article says it\n"},
      {"~|ZZ|~|~|2|5", "~|ZZ|~|~|2|5|~|~", "sifra no article has the code \"ZZ\"\n", "pc is empty, and ~"},
      {"9|A1|~|~|2|~|3", "9|A1|~|~|2|~|3,00|~", "art_id there is no article 9\n", "tbr_stp is empty, and ~"},
      {"~| |~|~|2|25", "~| |~|~|2|25|~|~", "", ""},
      {"~|~|~|~|2", "~|~|~|~|2|~|~|~", "", ""},
      {"~|A1|~|~|3", "1|A1|Sok|kom|3|25|10,00|~", "", ""},  // asked once
  };
  RecordSet goods = SetOf(kLineFields, "");
  std::string taken;
  std::string unknown;
  std::string missing;
  std::string wholly_missing;
  std::size_t number = 0;
  for (const auto& row : rows) {
    AppendTo(goods, row.line);
    taken += (taken.empty() ? "" : ";") + std::string(row.taken);
    const std::string line = std::to_string(++number) + " ";
    std::string fault = row.unknown;
    if (!fault.empty()) unknown += line + fault;
    std::string lacks = row.missing;
    if (lacks.ends_with('~')) lacks.replace(lacks.size() - 1, 1, fault.substr(fault.find(' ') + 1));
    if (!lacks.empty()) missing += line + lacks;
  }
  goods.GoToRow(3);
  const std::vector<LineFault> faults = TakeFromArticles(kind, goods, 7);
  EXPECT_EQ(TextOf(goods), taken);
  EXPECT_EQ(TextOf(faults), unknown);
  EXPECT_EQ(goods.CurrentRow(), 3U);
  EXPECT_EQ(Reads(), 5U);
  for (const std::string& entry : host_.log) {
    EXPECT_TRUE(!entry.starts_with("read") || entry.find("skl_id=7") != std::string::npos) << entry;
  }
  EXPECT_EQ(TextOf(FindMissingOfArticles(kind, goods, {}, faults)), missing);
  // where the file had no such column, every line has to have it
  const std::string all = TextOf(FindMissingOfArticles(kind, goods, {"pc"}, faults));
  EXPECT_NE(all.find("8 pc is empty, and no article says it\n9 pc is empty"), std::string::npos) << all;
  EXPECT_EQ(all.find("9 tbr_stp"), std::string::npos) << all;
  RecordSet without_rate = SetOf("sifra,pc:currency", "A1");
  EXPECT_THROW(TakeFromArticles(kind, without_rate, std::nullopt), FieldNotFound);
}

TEST_F(ArticleLinesTest, BecomeLinesOfAnotherArticle) {
  const DocumentKind& kind = DocumentKindByName("gotovinski-racun");
  RecordSet goods = SetOf(kLineFields, "1|A1|Moj|kg|2|5|3|10");
  goods.Edit();
  EXPECT_FALSE(BecomeLineOf(kind, goods, "ZZ", std::nullopt));
  EXPECT_EQ(TextOf(goods), "1|A1|Moj|kg|2|5|3,00|10");
  EXPECT_TRUE(BecomeLineOf(kind, goods, "B 2", std::nullopt));
  EXPECT_EQ(TextOf(goods), "2|B 2|Voda|l|2|13|~|10");
  EXPECT_TRUE(BecomeLineOf(kind, goods, "A1", std::nullopt));
  EXPECT_EQ(TextOf(goods), "1|A1|Sok|kom|2|25|10,00|10");
  EXPECT_EQ(goods.State(), DataSetState::kEdit);
}

TEST_F(ArticleLinesTest, FindTheOnlyWarehouseInUse) {
  EXPECT_EQ(OnlyWarehouse(), std::nullopt);
  for (const auto& [warehouses, only] :
       {std::pair("", 0), {"3|true", 3}, {"3|false;4|true", 4}, {"3|true;4|true", 0}, {"3|false", 0}}) {
    host_.services["GetSkladista"] = [records = std::string(warehouses)](const TAstaParamList&) {
      return AnswerOf("adsSkl", SetOf("id:integer,aktivan:boolean", records));
    };
    EXPECT_EQ(OnlyWarehouse().value_or(0), only) << warehouses;
  }
}

TEST_F(ArticleLinesTest, SumWhatIsTakenFromStock) {
  const struct {
    const char* kind;
    const char* goods;  // art_id, kolicina
    const char* taken;  // art_id, sifra, kolicina, stanje
  } rows[] = {
      {"gotovinski-racun", "1|2;2|1;1|3", "1|A1|-5|4,5;2|~|-1|0"},
      {"gotovinski-racun", "1|0,1;1|0,2", "1|A1|-0,3|4,5"},        // exact
      {"gotovinski-racun", "1|0,3;1|-0,1;1|-0,2;~|5;2|0", ""},     // comes to nothing, and names nothing
      {"gotovinski-racun", "1|-2;2|0,000001", "2|~|-0,000001|0"},  // the former comes back
      {"povratnica-kupca", "1|2;2|-1", "2|~|-1|0"},
      {"predracun", "1|2", ""},
  };
  for (const auto& row : rows) {
    host_.log.clear();
    const RecordSet goods = SetOf("art_id:integer,kolicina:float", row.goods);
    EXPECT_EQ(TextOf(StockTaken(DocumentKindByName(row.kind), goods, 7)), row.taken) << row.goods;
    EXPECT_EQ(Reads(), std::string(row.taken).empty() ? 0 : Split(row.taken, ';').size());
  }
  const DocumentKind& sale = DocumentKindByName("gotovinski-racun");
  EXPECT_TRUE(StockTaken(sale, SetOf("kolicina:float", "2"), 7).IsEmpty());
  EXPECT_TRUE(StockTaken(sale, SetOf("art_id:integer", "1"), 7).IsEmpty());
}

}  // namespace
}  // namespace mox

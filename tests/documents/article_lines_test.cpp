#include "mox/documents/article_lines.h"

#include <gtest/gtest.h>

#include "mox/documents/document.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

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

TEST_F(ArticleLinesTest, FollowTheirTables) {
  const auto left_out = [](const Words& row) {
    std::string text;
    for (const std::string_view field : FieldsOfArticles(DocumentKindByName(row.at(0)))) {
      text += (text.empty() ? "" : " ") + std::string(field);
    }
    return text;
  };
  const auto only_warehouse = [this](const Words& row) {
    host_.services["GetSkladista"] = [&row](const TAstaParamList&) {
      return AnswerOf("adsSkl", SetOf("id:integer,aktivan:boolean", row.at(0)));
    };
    const auto only = OnlyWarehouse();
    return only ? Text(*only) : "none";
  };
  const auto taken = [this](const Words& row) {
    host_.log.clear();
    const RecordSet goods = SetOf(row.at(1), row.at(2));
    const std::string text = TextOf(StockTaken(DocumentKindByName(row.at(0)), goods, 7));
    EXPECT_EQ(Reads(), text.empty() ? 0 : Split(text, ';').size());
    return text;
  };
  EXPECT_EQ(OnlyWarehouse(), std::nullopt);
  ExpectTables("article_lines",
               {{"left out", left_out}, {"only warehouse", only_warehouse}, {"stock taken", taken}},
               "documents");
}

}  // namespace
}  // namespace mox

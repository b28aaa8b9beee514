#include "mox/server/param_list.h"

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

// A small text with everything that the form has; docs/FORMATS.md shows it too.
const std::string kRequest = ReadWholeFile(SourceDir() + "/tests/server/cases/request.moxpl");

// What is refused says where; what is taken can be written and read again, and asked for all that it may
// hold.
bool Take(const std::string& text) {
  try {
    TAstaParamList list = TAstaParamList::FromTokenizedString(text);
    EXPECT_EQ(TAstaParamList::FromTokenizedString(list.AsTokenizedString(false)).Count(), list.Count());
    EXPECT_EQ(list.AsTokenizedString(true).find('\n'), std::string::npos);
    for (std::size_t i = 0; i < list.Count(); ++i) {
      ErrorOf([&] { list[i].AsParamList(); });
      ErrorOf([&] { list[i].AsDataSet(); });
      ErrorOf([&] { list[i].AsDateTime(); });
    }
    return true;
  } catch (const FormatError& error) {
    EXPECT_LE(error.offset(), text.size());
    return false;
  }
}

TEST(ParamList, IsTheDocumentedForm) {
  TAstaParamList list{{"val_ozn", "EUR"}, {"datum", *MakeDate(2024, 3, 1)}, {"naziv", "Čaša\nza vino"}};
  list.FastAdd("rb", -1);
  list.FastAdd("kolicina", 2.5);
  list.FastAdd("pc", Value(Currency::Parse("9.99")));
  list.FastAdd("akcija", true);
  list.FastAdd("izmjena", Value(*ParseIsoDateTime("2024-03-01T09:05")));
  list.FastAdd("par_id", Value(), FieldKind::kInteger);
  list.FastAdd("uvjet", TAstaParamList{{"skl_id", std::int64_t{1}}});
  list.FastAdd("stavke", OneRecord("stavke", "rb:integer", {std::int64_t{7}}));
  EXPECT_EQ(list.AsTokenizedString(false), kRequest);
  const std::string line =
      "val_ozn=EUR datum=2024-03-01 naziv=\"Čaša\\nza vino\" rb=-1 kolicina=2.5 pc=9.99 akcija=true "
      "izmjena=2024-03-01T09:05:00 par_id=~ uvjet=<list skl_id=1> stavke=<1 record>";
  EXPECT_EQ(list.AsTokenizedString(true), line);

  TAstaParamList read = TAstaParamList::FromTokenizedString(kRequest);
  EXPECT_EQ(read.AsTokenizedString(false), kRequest);
  EXPECT_EQ(read.AsTokenizedString(true), line);
  EXPECT_EQ(read.ParamByName("UVJET").AsParamList().ParamByName("skl_id").AsInteger(), 1);
  EXPECT_EQ(read.ParamByName("stavke").AsDataSet().FieldByName("rb").AsInteger(), 7);
  EXPECT_EQ(read.AsTokenizedString(false), kRequest) << "the same after its parts were read";
  EXPECT_EQ(read.FindParam("tecaj"), nullptr);
  EXPECT_ERROR(read.ParamByName("tecaj"), "! there is no parameter \"tecaj\"");
  EXPECT_ERROR(read.ParamByName("stavke").AsVariant(),
               "!ConversionError parameter \"stavke\" holds no plain value");
  EXPECT_ERROR(read.ParamByName("rb").AsTextView(), "!ConversionError parameter \"rb\" holds no text");
  EXPECT_ERROR(read.ParamByName("rb").AsDataSet(), "!ConversionError parameter \"rb\" holds no record set");
  EXPECT_ERROR(read.ParamByName("stavke").AsParamList(),
               "!ConversionError parameter \"stavke\" holds no parameter list");
  TAstaParamList damaged{{"a", "x"}};
  EXPECT_ERROR(damaged[0].AsDataSet(), "! parameter \"a\": byte 0: head: \"moxrs 1\" is missing");
  EXPECT_ERROR(damaged[0].AsParamList(), "! parameter \"a\": byte 0: list: \"moxpl 1\" is missing");
}

TEST(ParamList, HoldsAnyTextUnderAnyName) {
  const std::string texts[] = {"",          "\n",     std::string(1, '\0'), "\xC4 \xFF",
                               "5:~ end\n", kRequest, "moxpl 1\nitems 1\n", std::string(1 << 20, '\n')};
  for (const std::string& text : texts) {
    const RecordSet set = OneRecord(text, "napomena", {text});
    TAstaParamList inner{{text, text}};
    TAstaParamList list{{text, text}, {"tekst", inner.AsTokenizedString(false)}, {"set", set.SaveToString()}};
    list.FastAdd("lista", std::move(inner));
    const std::string written = list.AsTokenizedString(false);
    TAstaParamList read = TAstaParamList::FromTokenizedString(written);
    EXPECT_EQ(read.AsTokenizedString(false), written);
    EXPECT_EQ(read.ParamByName(text).AsTextView(), text);
    for (const char* name : {"tekst", "lista"}) {
      EXPECT_EQ(read.ParamByName(name).AsParamList().ParamByName(text).AsTextView(), text);
    }
    EXPECT_EQ(read.ParamByName("set").AsDataSet().SaveToString(), set.SaveToString());
    const std::string_view view = TokenizedItems(written).at(0).value;
    EXPECT_TRUE(view == text && view.data() > written.data() && view.data() < &written.back()) << "no copy";
    EXPECT_LT(read.AsTokenizedString(true).size(), 2000U);
  }
}

TEST(ParamList, ShowsNoMoreThanALineCanHold) {
  TAstaParamList list;
  for (int i = 0; i < 30; ++i) list.FastAdd("p", i);
  std::string nested = list.AsTokenizedString(false);
  EXPECT_TRUE(list.AsTokenizedString(true).ends_with(" p=19 ... 10 more"));
  for (int depth = 0; depth < 5; ++depth) {
    nested = TAstaParamList{{"t", "x"}, {"u", nested}}.AsTokenizedString(false);
    TAstaParamList outer;
    outer.FastAdd("t", "x");
    outer.FastAdd("u", std::exchange(list, {}));
    list = std::move(outer);
  }
  const std::string shown = "t=x u=<list t=x u=<list t=x u=<list t=x u=<list ...>>>>";
  EXPECT_EQ(TAstaParamList::FromTokenizedString(nested).AsTokenizedString(true), shown);
  EXPECT_EQ(list.AsTokenizedString(true), shown);
  TAstaParamList with_empty;
  with_empty.FastAdd("p", TAstaParamList());
  EXPECT_EQ(with_empty.AsTokenizedString(true), "p=<list>");
  const std::string name(100, 'n');
  const TAstaParamList read =
      TAstaParamList::FromTokenizedString(TAstaParamList{{name, "~\x7F"}}.AsTokenizedString(false));
  EXPECT_EQ(read.AsTokenizedString(true), name.substr(0, 60) + "...=~\\x7F");
}

TEST(ParamList, SaysWhereItIsDamaged) {
  ASSERT_TRUE(Take(kRequest));
  ExpectTables("param_list",
               {{"damaged",
                 [](auto& row) {
                   std::string text = kRequest;
                   text.replace(text.find(row.at(0)), row.at(0).size(), row.at(1));
                   const std::size_t offset = row.at(2).empty() ? text.size() : text.rfind(row.at(2));
                   const std::string place = "! byte " + std::to_string(offset) + ": ";
                   const std::string message = TextOrError([&] {
                     TAstaParamList::FromTokenizedString(text);
                     return "";
                   });
                   EXPECT_TRUE(message.starts_with(place)) << message;
                   return message.substr(std::min(place.size(), message.size()));
                 }},
                {"kinds",
                 [](auto& row) {
                   TAstaParamList list;
                   FieldKind kind = FieldKind::kText;
                   EXPECT_TRUE(KindFromName(row.at(0), kind));
                   list.FastAdd("p", row.at(1), kind);
                   const std::string text = list.AsTokenizedString(false);
                   return text.substr(25, text.size() - 30);
                 }}},
               "server");
}

TEST(ParamList, SurvivesEveryDamage) {
  for (std::size_t size = 0; size < kRequest.size(); ++size)
    EXPECT_FALSE(Take(kRequest.substr(0, size))) << size;
  EXPECT_FALSE(Take(kRequest + "\n"));
  for (std::size_t at = 0; at < kRequest.size(); ++at) {
    std::string text = kRequest;
    for (const char byte : {'0', '9', '~', ' ', '\n', ':', '\0', '\xFF'}) {
      text[at] = byte;
      Take(text);
    }
    for (int bit = 0; bit < 8; ++bit) {
      text[at] = static_cast<char>(kRequest[at] ^ (1 << bit));
      Take(text);
    }
  }
}

}  // namespace
}  // namespace mox

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "mox/calculations/customs.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/host/company_parameters.h"
#include "mox/server/read_services.h"
#include "tests/calculations/line_table.h"
#include "tests/calculations/recap_members.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

// Runs the table of the functions that walk the lines of a document, one test a section.

namespace mox {
namespace {

std::vector<std::string> SplitBy(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts(1);
  for (std::size_t at = 0; at < text.size();) {
    const bool ends = text.compare(at, separator.size(), separator) == 0;
    if (ends) {
      parts.emplace_back();
    } else if (text[at] != ' ' || !parts.back().empty()) {
      parts.back() += text[at];
    }
    at += ends ? separator.size() : 1;
  }
  for (std::string& part : parts) part.erase(part.find_last_not_of(' ') + 1);
  return parts;
}

// No lines at all stand for an absent set.
RecordSet LinesOrNone(const std::string& text) { return text.empty() ? RecordSet() : Records(text); }

struct Walk {
  Walk(const std::string& row, const std::string& recap_before) : recap(LinesOrNone(recap_before)) {
    const std::size_t end = row.front() == '(' ? row.find(')') : 0;
    if (end != 0) arguments = SplitBy(row.substr(1, end - 1), ",");
    expected = SplitBy(end == 0 ? row : row.substr(end + 1), "->");
    std::vector<std::string> lines = SplitBy(expected.front(), "|");
    expected.erase(expected.begin());
    if (expected.front().empty()) expected.clear();
    goods = LinesOrNone(lines.front());
    if (lines.size() > 1) services = LinesOrNone(lines.back());
  }

  void Call(const std::string& name) {
    const auto argument = [&](std::size_t i) { return std::stoi(arguments.at(i)); };
    if (name == "PonistiCarinuPdv") return PonistiCarinuPdv(goods, argument(0) != 0, argument(1) != 0);
    if (name == "FillPDVDataKnjigaPopisa") return FillPDVDataKnjigaPopisa(goods, recap);
    if (name.starts_with("CalcDocDobavljaca")) return Sum(name);
    Fill(MemberOf(name), goods, services, recap, arguments.empty() ? 2 : argument(0));
  }

  // The recapitulation is the header; dependent costs count where a third argument says so.
  void Sum(const std::string& name) {
    CompanyParameterModule module;
    if (arguments.size() > 2) module.SetAssignment(arguments[2]);
    const ScopedApp app({.comunication = &module});
    const auto f = [this](std::size_t i) { return recap.FieldAt(i); };
    const bool bosnian = name == "CalcDocDobavljacaBIH";
    if (bosnian) {
      CalcDocDobavljacaBIH({f(0), f(1), f(2), f(3), f(4), f(5)}, goods, arguments.at(0));
    } else {
      CalcDocDobavljaca(
          {f(0), f(1), f(2), f(3), f(4), f(5), f(6), f(7), f(8), f(9), f(10), f(11), f(12), f(13)}, goods,
          arguments.at(0), std::stoi(arguments.at(1)));
    }
    EXPECT_EQ(recap.State(), DataSetState::kEdit);

    RecordSet of_rows = bosnian ? MakeDocDobavljacaBIH() : MakeDocDobavljaca();
    SumSupplierDocument(of_rows, goods.Table(), arguments.at(0), bosnian ? 9 : std::stoi(arguments.at(1)),
                        IsAdditionalFeatureAllowed(kCostsCountFeature));
    for (std::size_t i = 0; i < of_rows.FieldCount(); ++i) {
      EXPECT_EQ(of_rows.AsCurrency(i), recap.AsCurrency(i)) << of_rows.Definition(i).name;
    }
  }

  std::vector<std::string> arguments;
  std::vector<std::string> expected;
  RecordSet goods;
  RecordSet services;
  RecordSet recap;
};

// The records of the result, and then what was raised.
void ExpectWalk(const std::string& name, Walk walk) {
  const bool returns = name == "FillPDVData" || name == "FillPDVDataPPOM" || name == "FillPDVDataIznosBezPDV";
  RecordSet& goods = walk.goods;
  RecordSet& services = walk.services;
  if (returns && goods.RecordCount() > 1) goods.Next();
  if (returns && services.RecordCount() > 1) services.Next();
  const std::size_t position = goods.Position();
  const std::size_t position_of_services = services.Position();
  int heard = 0;
  const int listener = goods.AddListener([&](const RecordSet&, const RecordSetChange&) { ++heard; });

  TestHost host;
  const std::string error = ErrorOf([&] { walk.Call(name); });
  const bool fails = !error.empty();
  if (fails) host.dialogs.push_back(error);
  goods.RemoveListener(listener);
  EXPECT_FALSE(goods.ControlsDisabled() || services.ControlsDisabled() || walk.recap.ControlsDisabled());
  EXPECT_EQ(goods.State(), goods.FieldCount() == 0 ? DataSetState::kInactive : DataSetState::kBrowse);
  EXPECT_EQ(services.Position(), position_of_services);
  if (returns || fails) {
    EXPECT_EQ(goods.Position(), fails ? 1 : position);
    EXPECT_FALSE(goods.RecordCount() > 0 && goods.Eof());
  } else {
    EXPECT_EQ(goods.Eof(), !walk.expected.empty());
  }
  // the screen is told once, when the controls are enabled again
  if (!walk.expected.empty() && goods.RecordCount() != 0) {
    EXPECT_EQ(heard, 1);
  }

  std::vector<std::string> outcome = SplitBy(Show(name == "PonistiCarinuPdv" ? goods : walk.recap), ";");
  if (outcome.front().empty()) outcome.clear();
  for (const std::string& text : host.dialogs) outcome.push_back("! " + text);
  EXPECT_EQ(outcome, walk.expected);
}

class WalkCases : public testing::TestWithParam<Section> {};

TEST_P(WalkCases, Hold) {
  const std::string& title = GetParam().title;
  const std::size_t end = std::min(title.find(' '), title.size());
  for (const std::string& name : SplitBy(title.substr(0, end), ",")) {
    for (const std::string& row : RowsOf(GetParam().rows)) {
      SCOPED_TRACE(name + ": " + row);
      ExpectWalk(name, Walk(row, title.substr(end)));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, WalkCases, testing::ValuesIn(ReadSections({"walks"})), NameOfSection);

TEST(Recapitulations, AskForTheRateOfAnAmount) {
  RecordSet lines = Records("ukupno=1 tbr_stp=25");
  RecordSet recap = Records("osnovica porez stopa tekst ukupno");
  const auto amount = lines.FindField("ukupno");
  const auto rate = lines.FindField("tbr_stp");  // of the other amount
  const auto error = [](const auto& fill) { return TextOrError([&] { return fill(), std::string(); }); };
  EXPECT_EQ(error([&] { FillPDVData(amount, {}, {}, rate, recap, 2); }),
            "! an amount field is given without its RateField1");
  EXPECT_EQ(error([&] { FillPDVData({}, amount, rate, {}, recap, 2); }),
            "! an amount field is given without its RateField2");
}

TEST(Recapitulations, LookAtTheirFieldsBeforeTheyChangeAnything) {
  const struct {
    const char* fields;
    const char* error;
  } rows[] = {
      {"osnovica porez stopa BILOSTO ukupno", ""},
      {"OSNOVICA porez stopa tekst ukupno neoporezivo", ""},
      {"porez osnovica stopa tekst ukupno",
       "recap: field 1 of a recapitulation by rate is osnovica:currency, not porez:currency"},
      {"osnovica porez stopa kolicina ukupno",
       "recap: field 4 of a recapitulation by rate is a text, not kolicina:float"},
      {"osnovica porez stopa tekst",
       "recap: field 5 of a recapitulation by rate is ukupno:currency, and it is missing"},
  };
  RecordSet lines = Records("ukupno=1 tbr_stp=25");
  const auto amount = lines.FindField("ukupno");
  const auto rate = lines.FindField("tbr_stp");
  const std::function<void(RecordSet&)> members[] = {
      [&](RecordSet& recap) { FillPDVData(amount, {}, rate, {}, recap, 2); },
      [&](RecordSet& recap) { FillPDVDataPPOM(amount, {}, rate, {}, recap, 2); },
      [&](RecordSet& recap) { FillPDVDataIznosBezPDV(amount, {}, rate, {}, recap); },
      [&](RecordSet& recap) { FillPDVDataPovDob(*rate, *amount, recap, 2); }};
  for (const auto& row : rows) {
    for (const auto& member : members) {
      RecordSet recap = Records(row.fields);
      recap.SetName("recap");
      recap.AppendRecord({5.0});
      const std::string error = ErrorOf([&] { member(recap); });
      EXPECT_EQ(error, row.error);
      EXPECT_EQ(recap.AsFloat(0) == 5, !error.empty()) << row.fields;
    }
  }
}

TEST(Recapitulations, LeaveNoHalfWrittenRow) {
  // the text of the kind does not fit a number, and a sum the range of a currency
  RecordSet lines = Records("ukupno=1 nci=0 tbr_stp=25 KIND=OPO shown=OPO");
  RecordSet recap =
      EmptySet("",
               "osnovica:currency,porez:currency,ukupno:currency,neoporezivo:currency,stopa:float,vrsta,"
               "oznaka_stope:float");
  EXPECT_THROW(Fill(Member::kMargin, lines, lines, recap, 2), ConversionError);
  EXPECT_EQ(recap.State(), DataSetState::kBrowse);
  EXPECT_TRUE(recap.IsEmpty());

  RecordSet sold = Records("tbr_stp=25 ukupno=2 pdvi=1");
  RecordSet book = Records("stopa=25 roba_iznos=1 porezroba_iznos=922337203685477 pov_nak_izn=0");
  EXPECT_THROW(FillPDVDataKnjigaPopisa(sold, book), Overflow);
  EXPECT_EQ(book.State(), DataSetState::kBrowse);
  EXPECT_EQ(book[field::roba_iznos].ToString(), "1.00");
}

TEST(Customs, NeedTheRatesThatAreToBeCleared) {
  RecordSet lines = Records("tbr_stp=25; tbr_stp=5");
  EXPECT_THROW(PonistiCarinuPdv(lines, true, true), FieldNotFound);
  EXPECT_FALSE(lines.ControlsDisabled());
  EXPECT_EQ(lines.State(), DataSetState::kBrowse);
  EXPECT_EQ(lines[field::tbr_stp], 25);
}

}  // namespace
}  // namespace mox

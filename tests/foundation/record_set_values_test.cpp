#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "mox/foundation/rounding.h"
#include "record_set_kinds.h"
#include "record_set_script.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(RecordSetValues, CancelBringsBackAndPostKeepsEveryKind) {
  const auto samples = Samples();
  for (const Values& before : samples) {
    for (const Values& after : samples) {
      RecordSet set = AllKinds({samples[2], before, samples[3]});
      set.Prior();
      const std::string saved = set.SaveToString();
      for (const bool post : {false, true}) {
        set.Edit();
        for (const Values& values : {samples[0], samples[1], samples[2], samples[3], after}) {
          for (std::size_t i = 0; i < values.size(); ++i) set.SetVariant(i, values[i]);
        }
        EXPECT_EQ(ValuesOf(set), after);
        EXPECT_EQ(set.SaveToString(), saved) << "a pending edit is not part of it";
        post ? set.Post() : set.Cancel();
        EXPECT_EQ(ValuesOf(set), post ? after : before);
      }
      EXPECT_EQ(set.SaveToString(), AllKinds({samples[2], after, samples[3]}).SaveToString());
    }
  }
}

TEST(RecordSetValues, TextsAreCutToTheirSizeInCharacters) {
  RecordSet set;
  set.DefineField("oznaka", FieldKind::kText, 3);
  set.DefineField("slika", FieldKind::kBinary, 3);
  set.Open();
  for (const std::string text : {"čćž|", "čćž|šđ", "𝄞€a|€", "a\xFF\xFE|\xC4", "|"}) {
    set.AppendRecord({text.substr(0, text.find('|')) + text.substr(text.find('|') + 1), text});
    EXPECT_EQ(set.AsText(0), text.substr(0, text.find('|')));
    EXPECT_EQ(set.AsText(1), text) << "a binary is not cut";
  }
  set.Edit();
  set.SetFloat(0, -1234.5);
  EXPECT_EQ(set.AsText(0), "-12");
}

TEST(RecordSetValues, AreNullWithoutARecordAndUnreadableWhileClosed) {
  RecordSet set = Letters("");
  EXPECT_TRUE(set.IsNull(0));
  EXPECT_EQ(set.AsFloat(0), 0.0);
  EXPECT_ERROR(set.DefineField("novo", FieldKind::kText),
               "! slova: fields are defined before the record set is opened");
  set.AppendRecord({"a"});
  EXPECT_ERROR(set.SetNull(0), "! slovo: the record is not being edited or inserted");
  EXPECT_EQ(set.AsText(0), "a");
  set.Close();
  EXPECT_ERROR(static_cast<void>(set.AsText(0)), "! slovo: the record set slova is closed");
  EXPECT_ERROR(static_cast<void>(set[field::pc]), "! pc: the record set slova is closed");
}

TEST(RecordSetValues, FieldsAreFoundByName) {
  RecordSet set("stavke");
  EXPECT_ERROR(set.Open(), "! stavke: a record set without fields cannot be opened") << "without fields";
  set.DefineField("Pc", FieldKind::kCurrency);
  set.DefineField("Ročnost", FieldKind::kText);
  EXPECT_ERROR(set.DefineField("PC", FieldKind::kFloat), "! field \"PC\" is defined twice");
  EXPECT_ERROR(set.DefineField("", FieldKind::kFloat), "! a field needs a name");
  set.Open();
  set.Append();
  EXPECT_EQ(set.FieldByName("pC").Name(), "Pc");
  EXPECT_EQ(set.FindField("ROčNOST")->Index(), 1U);
  EXPECT_FALSE(set.FindField("rbp1"));
  EXPECT_EQ(set.Optional(field::rbp1), Real(0));
  EXPECT_ERROR(set.FieldAt(2), "! stavke: there is no field at position 2 of 2");
  EXPECT_ERROR(static_cast<void>(set.AsFloat(2)), "! stavke: there is no field at position 2 of 2");
  const auto not_found = testing::ThrowsMessage<FieldNotFound>("stavke: field \"rbp1\" not found");
  EXPECT_THAT([&] { set.FieldByName("rbp1"); }, not_found);
  EXPECT_THAT([&] { static_cast<void>(set[field::rbp1]); }, not_found);
  EXPECT_THAT([&] { set.Set(field::rbp1, 1); }, not_found);
}

// A formula does not mind in which kinds a set declares its fields.
TEST(RecordSetValues, VocabularyNamesOfUnusualKinds) {
  for (const FieldKind kind : {FieldKind::kCurrency, FieldKind::kFloat, FieldKind::kText}) {
    RecordSet lines;
    for (const char* name : {"TBR_STP", "pc", "vrsta_stavke"}) lines.DefineField(name, kind);
    lines.DefineField("kolicina", FieldKind::kInteger);
    lines.DefineField({.name = "pci", .kind = kind, .calculated = true});
    lines.DefineField({.name = "oznaka_stope", .kind = FieldKind::kFloat, .calculated = true});
    lines.SetOnCalcFields([](RecordSet& line) {
      line.Set(field::pci, R2(line[field::pc] * line[field::kolicina] * line[field::tbr_stp] / Real(100)));
      line.Set(field::oznaka_stope, "25,00");
    });
    lines.Open();
    lines.Append();
    lines.Set(field::tbr_stp, 25);
    lines.Set(field::kolicina, Real(3.9L));
    lines.Set(field::pc, Currency::Parse("33.3333"));
    lines.FieldByName("vrsta_stavke").SetInteger(2);
    lines.Post();
    EXPECT_EQ(lines[field::kolicina], Real(3)) << KindName(kind);
    EXPECT_EQ(lines[field::pc].ToString() + " " + lines[field::pci].ToString(), "33.3333 25.00");
    EXPECT_EQ(lines[field::vrsta_stavke], 2);
    EXPECT_EQ(lines[field::oznaka_stope], "25");
    EXPECT_TRUE(lines.Locate(field::tbr_stp, 25)) << KindName(kind);
    EXPECT_ERROR(lines.Set(field::pc, Currency()), "! pc: the record is not being edited or inserted");
  }
}

TEST(RecordSetValues, ManyFields) {
  for (const std::size_t count : {7U, 8U, 9U, 64U, 65U, 1100U, 4096U}) {
    RecordSet set;
    Values values;
    for (std::size_t i = 0; i < count; ++i) {
      set.DefineField("polje" + std::to_string(i), i % 3 == 0 ? FieldKind::kText : FieldKind::kInteger);
      values.push_back(i % 7 == 6 ? Value() : i % 3 == 0 ? Value("t") : std::int64_t(i));
    }
    if (count == 4096) {
      EXPECT_ERROR(set.DefineField("one_too_many", FieldKind::kText),
                   "! a record set has at most 4096 fields");
    }
    set.Open();
    for (const Values& record : {Values(), values, Values{"prvo"}}) set.AppendRecord(record);
    set.Prior();
    ASSERT_EQ(ValuesOf(set), values) << count;
    set.Edit();
    for (std::size_t i = 0; i < count; ++i) set.SetVariant(i, set.IsNull(i) ? Value(1.0) : Value());
    set.Cancel();
    ASSERT_EQ(ValuesOf(set), values) << count;
    EXPECT_EQ(set.FieldByName("POLJE" + std::to_string(count - 1)).Index(), count - 1);
    set.Prior();
    EXPECT_EQ(ValuesOf(set), Values(count));
  }
}

TEST(RecordSetValues, ManyRecords) {
  RecordSet set = EmptySet("", "redbr:integer,naziv");
  const auto name = [](std::int64_t number) { return "naziv " + std::to_string(number % 1000); };
  for (std::int64_t i = 0; i < 100'100; ++i) set.AppendRecord({i, name(i)});
  for (std::int64_t number = 1000; number < 100'100; number += 1001) {
    ASSERT_TRUE(set.Locate("redbr", {number}));
    set.Delete();
  }
  EXPECT_EQ(set.RecordCount(), 100'000U);
  std::int64_t expected = 0;
  for (set.First(); !set.Eof(); set.Next(), ++expected) {
    if (expected % 1001 == 1000) ++expected;
    ASSERT_EQ(set.AsInteger(0), expected);
    ASSERT_EQ(set.AsTextView(1), name(expected));
  }
  for (int i = 0; i < 200; ++i) set.AppendRecord({Value(), "novo"});
  EXPECT_EQ(set.Position(), 100'199U);
  EXPECT_TRUE(set.IsNull(0));
}

// Texts that were replaced do not pile up, however they were replaced.
TEST(RecordSetValues, ReplacedTextsGiveTheirMemoryBack) {
  RecordSet set;
  set.DefineField("naziv", FieldKind::kText);
  set.DefineField({.name = "opis", .kind = FieldKind::kText, .calculated = true});
  set.Open();
  for (int i = 0; i < 100; ++i) set.AppendRecord({"", "opis " + std::to_string(i)});
  const auto text = [](int number) { return std::to_string(number) + std::string(300, '.'); };
  const auto twenty_thousand_times = [&](auto step) {
    for (int i = 0; i < 20'000; ++i) {
      i % 100 == 0 ? set.First() : set.Next();
      step(i);
    }
    EXPECT_LT(set.MemoryBytes(), 3U << 20U);
  };
  twenty_thousand_times([&](int i) {
    set.Edit();
    set.SetText(0, "first this");
    set.SetText(0, text(i));
    set.Post();
    set.Edit();
    set.SetText(0, "not this");
    set.Cancel();
  });
  twenty_thousand_times([&](int i) {
    set.Edit();
    set.SetText(0, text(i));
    set.Cancel();
  });
  for (int i = 0; i < 100; ++i) {
    i == 0 ? set.First() : set.Next();
    EXPECT_EQ(set.AsText(0) + set.AsText(1), text(19'900 + i) + "opis " + std::to_string(i));
  }
  twenty_thousand_times([&](int i) {
    set.Delete();
    set.AppendRecord({text(i)});
  });
  int fired = 0;
  set.SetOnCalcFields([&](RecordSet& current) { current.SetText(1, text(++fired)); });
  twenty_thousand_times([&](int) {
    set.Edit();
    set.Refresh();
  });
  EXPECT_EQ(set.AsText(0) + set.AsText(1), text(19'999) + text(40'000));
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/value_conversion.h"
#include "record_set_kinds.h"

namespace mox {
namespace {

TEST(RecordSetValues, CancelBringsBackAndPostKeepsEveryKind) {
  const auto samples = Samples();
  for (const Values& before : samples) {
    for (const Values& after : samples) {
      RecordSet set = AllKinds({samples[2], before, samples[3]});
      set.Prior();
      const std::string saved = set.SaveToString();
      const auto write_all_and = [&](const Values& last) {
        set.Edit();
        for (const Values& values : samples) {
          for (std::size_t i = 0; i < values.size(); ++i) set.SetVariant(i, values[i]);
        }
        for (std::size_t i = 0; i < last.size(); ++i) set.SetVariant(i, last[i]);
        EXPECT_EQ(ValuesOf(set), last);
      };
      write_all_and(after);
      EXPECT_EQ(set.SaveToString(), saved) << "a pending edit is not part of it";
      set.Cancel();
      EXPECT_EQ(ValuesOf(set), before);
      EXPECT_EQ(set.SaveToString(), saved);
      write_all_and(after);
      set.Post();
      EXPECT_EQ(set.SaveToString(), AllKinds({samples[2], after, samples[3]}).SaveToString());
      write_all_and(before);
      set.Post();
      EXPECT_EQ(set.SaveToString(), saved);
    }
  }
}

// Writing converts into the kind of the field and reading out of it; a value that does not fit leaves the
// field as it was and is reported under its name.
TEST(RecordSetValues, AreConvertedBetweenAllKinds) {
  Values written = {"12,5", "01.03.2024.", "true", "abc", "  ", "3", 12.75, -0.5, 1e300};
  for (const Values& sample : Samples()) written.insert(written.end(), sample.begin(), sample.end());
  RecordSet set = AllKinds({{}});
  const Values before = Samples()[2];
  for (const Value& value : written) {
    for (std::size_t i = 0; i < kFieldKindCount; ++i) {
      const auto kind = static_cast<FieldKind>(i);
      const bool holds_text = kind == FieldKind::kText || kind == FieldKind::kBinary;
      const auto* text = std::get_if<std::string>(&value);
      const bool blank = text != nullptr && text->find_first_not_of(" \t\r\n") == std::string::npos;
      set.Edit();
      set.SetVariant(i, before[i]);
      try {
        const bool null = value.index() == 0 || (blank && !holds_text);
        const std::string as_text = ToText(value);
        const std::uint64_t bits = holds_text || null ? 0 : PackNumber(kind, value);
        ASSERT_NO_THROW(set.SetVariant(i, value)) << as_text;
        EXPECT_EQ(set.IsNull(i), null) << as_text;
        if (holds_text) {
          EXPECT_EQ(set.AsTextView(i), as_text);
        } else if (!null) {
          EXPECT_EQ(PackNumber(kind, set.AsVariant(i)), bits) << as_text;
        }
      } catch (const Error&) {
        try {
          set.SetVariant(i, value);
          ADD_FAILURE() << ToText(value) << " as " << KindName(kind);
        } catch (const Error& error) {
          EXPECT_TRUE(std::string_view(error.what()).starts_with(KindName(kind))) << error.what();
          EXPECT_EQ(set.AsVariant(i), before[i]);
        }
      }
      set.Cancel();
    }
  }
  set.Edit();
  set.SetText(0, "12,5");
  EXPECT_EQ(set.AsFloat(0), 12.5);
  EXPECT_EQ(set.AsCurrency(0).ToString(), "12.50");
  EXPECT_EQ(set.AsInteger(0), 12);
  EXPECT_TRUE(set.AsBoolean(0));
  set.SetText(0, "01.03.2024.");
  EXPECT_EQ(FormatIsoDate(set.AsDate(0)), "2024-03-01");
  EXPECT_EQ(FormatIsoDateTime(set.AsDateTime(0)), "2024-03-01T00:00:00");
  try {
    static_cast<void>(set.AsFloat(0));
    ADD_FAILURE();
  } catch (const ConversionError& error) {
    EXPECT_STREQ(error.what(), "text: \"01.03.2024.\" is not a number");
  }
  EXPECT_THROW(set.SetFloat(3, std::numeric_limits<double>::infinity()), Overflow);
  EXPECT_THROW(set.SetDate(5, Date{std::numeric_limits<std::int32_t>::max()}), Overflow);
  EXPECT_THROW(set.SetDateTime(6, DateTime{std::numeric_limits<std::int64_t>::min()}), Overflow);
}

TEST(RecordSetValues, TextsAreCutToTheirSizeInCharacters) {
  RecordSet set;
  set.DefineField("oznaka", FieldKind::kText, 3);
  set.DefineField("slika", FieldKind::kBinary, 3);
  set.Open();
  const struct {
    const char* text;
    const char* cut;
  } rows[] = {{"čćžš", "čćž"}, {"čćž", "čćž"}, {"𝄞€a€", "𝄞€a"}, {"a\xFF\xFE\xC4", "a\xFF\xFE"}, {"", ""}};
  for (const auto& row : rows) {
    set.AppendRecord({row.text, row.text});
    EXPECT_EQ(set.AsText(0), row.cut);
    EXPECT_EQ(set.AsText(1), row.text) << "a binary is not cut";
  }
  set.Edit();
  set.SetFloat(0, -1234.5);
  EXPECT_EQ(set.AsText(0), "-12");
}

TEST(RecordSetValues, StatesAllowWhatTheyAllow) {
  using Operation = void (*)(RecordSet&);
  const auto row = [](Operation operation, const char* closed, const char* empty, const char* browsing) {
    RecordSet sets[] = {AllKinds(), AllKinds(), AllKinds({Samples()[2]})};
    sets[0].Close();
    const char* const messages[] = {closed, empty, browsing};
    for (int i = 0; i < 3; ++i) {
      const std::string before = sets[i].SaveToString();
      const DataSetState state = sets[i].State();
      try {
        operation(sets[i]);
        EXPECT_EQ(messages[i], nullptr);
      } catch (const StateError& error) {
        EXPECT_STREQ(error.what(), messages[i]);
        EXPECT_EQ(sets[i].SaveToString(), before);
        EXPECT_EQ(sets[i].State(), state);
      }
    }
  };
  const char* const moving = "sve: cannot move, the record set is closed";
  row([](RecordSet& set) { set.First(); }, moving, nullptr, nullptr);
  row([](RecordSet& set) { set.Next(); }, moving, nullptr, nullptr);
  row([](RecordSet& set) { set.Append(); }, moving, nullptr, nullptr);
  row([](RecordSet& set) { set.Locate("text", {""}); }, moving, nullptr, nullptr);
  row([](RecordSet& set) { set.SetFiltered(true); }, moving, nullptr, nullptr);
  row([](RecordSet& set) { set.Clear(); }, "sve: cannot clear, the record set is closed", nullptr, nullptr);
  row([](RecordSet& set) { set.Cancel(); }, nullptr, nullptr, nullptr);
  row([](RecordSet& set) { set.Edit(); }, "sve: cannot edit, the record set is closed",
      "sve: there is no record to edit", nullptr);
  row([](RecordSet& set) { set.Delete(); }, "sve: cannot delete, the record set is closed",
      "sve: there is no record to delete", nullptr);
  row([](RecordSet& set) { set.Post(); }, "sve: cannot post, the record set is closed",
      "sve: cannot post, no record is being edited or inserted",
      "sve: cannot post, no record is being edited or inserted");
  const char* const closed = "text: the record set sve is closed";
  const char* const browsing = "text: the record is not being edited or inserted";
  row([](RecordSet& set) { set.SetText(0, "x"); }, closed, browsing, browsing);
  row([](RecordSet& set) { set.SetNull(0); }, closed, browsing, browsing);
  row([](RecordSet& set) { set.SetVariant(0, 1.5); }, closed, browsing, browsing);
  row([](RecordSet& set) { static_cast<void>(set.AsText(0)); }, closed, nullptr, nullptr);
  row([](RecordSet& set) { set.DefineField("novo", FieldKind::kText); }, nullptr,
      "sve: fields are defined before the record set is opened",
      "sve: fields are defined before the record set is opened");

  const RecordSet empty = AllKinds();
  EXPECT_EQ(ValuesOf(empty), Values(kFieldKindCount)) << "where there is no record all is null";
  EXPECT_EQ(empty.AsFloat(3), 0.0);
}

TEST(RecordSetValues, FieldsAreFoundByName) {
  RecordSet set("stavke");
  EXPECT_THROW(set.Open(), Error) << "without fields";
  set.DefineField("Pc", FieldKind::kCurrency);
  set.DefineField("Ročnost", FieldKind::kText);
  EXPECT_THROW(set.DefineField("PC", FieldKind::kFloat), Error);
  EXPECT_THROW(set.DefineField("", FieldKind::kFloat), Error);
  set.Open();
  set.AppendRecord({12.5, "x"});
  EXPECT_EQ(set.FieldByName("pC").Name(), "Pc");
  EXPECT_EQ(set.FindField("ROčNOST")->Index(), 1U);
  EXPECT_FALSE(set.FindField("rbp1"));
  EXPECT_EQ(set[field::pc].ToString(), "12.50");
  EXPECT_EQ(set.Optional(field::rbp1), Real(0));
  EXPECT_EQ(set.Optional(field::nc), Currency());
  EXPECT_THROW(set.FieldAt(2), Error);
  EXPECT_THROW(static_cast<void>(set.AsFloat(2)), Error);
  set.Edit();
  using Operation = void (*)(RecordSet&);
  const Operation operations[] = {[](RecordSet& lines) { lines.FieldByName("rbp1"); },
                                  [](RecordSet& lines) { static_cast<void>(lines[field::rbp1]); },
                                  [](RecordSet& lines) { lines.Set(field::rbp1, 1); }};
  for (const Operation operation : operations) {
    try {
      operation(set);
      ADD_FAILURE();
    } catch (const FieldNotFound& error) {
      EXPECT_EQ(error.field(), "rbp1");
      EXPECT_STREQ(error.what(), "stavke: field \"rbp1\" not found");
    }
  }
}

// A formula does not mind in which kinds a set declares its fields.
TEST(RecordSetValues, VocabularyNamesOfUnusualKinds) {
  for (const FieldKind kind : {FieldKind::kCurrency, FieldKind::kFloat, FieldKind::kText}) {
    RecordSet lines;
    lines.DefineField("TBR_STP", kind);
    lines.DefineField("pc", kind);
    lines.DefineField("kolicina", FieldKind::kInteger);
    lines.DefineField("vrsta_stavke", FieldKind::kFloat);
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
    EXPECT_EQ(lines[field::tbr_stp], Real(25)) << KindName(kind);
    EXPECT_EQ(lines[field::kolicina], Real(3));
    EXPECT_EQ(lines[field::pc].ToString(), "33.3333");
    EXPECT_EQ(lines[field::pci].ToString(), "25.00");
    EXPECT_EQ(lines[field::vrsta_stavke], 2);
    EXPECT_EQ(lines[field::oznaka_stope], "25");
    EXPECT_TRUE(lines.Locate(field::kolicina, 3));
    EXPECT_TRUE(lines.Locate(field::tbr_stp, 25)) << KindName(kind);
    EXPECT_THROW(lines.Set(field::pc, Currency()), StateError);
  }
}

TEST(RecordSetValues, ManyFields) {
  for (const std::size_t count : {7U, 8U, 9U, 64U, 65U, 1100U, 4096U}) {
    RecordSet set;
    Values values;
    for (std::size_t i = 0; i < count; ++i) {
      set.DefineField("polje" + std::to_string(i), i % 3 == 0 ? FieldKind::kText : FieldKind::kInteger);
      values.push_back(i % 7 == 6 ? Value() : i % 3 == 0 ? Value("t" + std::to_string(i)) : std::int64_t(i));
    }
    set.Open();
    set.AppendRecord({});
    set.AppendRecord(values);
    set.AppendRecord({"prvo"});
    set.Prior();
    ASSERT_EQ(ValuesOf(set), values) << count;
    set.Edit();
    for (std::size_t i = 0; i < count; ++i)
      set.SetVariant(i, values[count - 1 - i].index() == 0 ? 1.0 : Value());
    set.Cancel();
    ASSERT_EQ(ValuesOf(set), values) << count;
    EXPECT_EQ(set.FieldByName("POLJE" + std::to_string(count - 1)).Index(), count - 1);
    set.Prior();
    EXPECT_EQ(ValuesOf(set), Values(count));
  }
  RecordSet too_many;
  for (int i = 0; i <= 4096; ++i) too_many.DefineField("polje" + std::to_string(i), FieldKind::kText);
  EXPECT_THROW(too_many.Open(), Error);
}

TEST(RecordSetValues, ManyRecords) {
  RecordSet set;
  set.DefineField("redbr", FieldKind::kInteger);
  set.DefineField("naziv", FieldKind::kText);
  set.Open();
  constexpr std::int64_t kRecords = 100'100;
  const auto name = [](std::int64_t number) { return "naziv " + std::to_string(number % 1000); };
  for (std::int64_t i = 0; i < kRecords; ++i) set.AppendRecord({i, name(i)});
  const auto walk = [&](std::int64_t step) {
    std::int64_t expected = step > 0 ? 0 : kRecords - 1;
    std::size_t count = 0;
    for (step > 0 ? set.First() : set.Last(); step > 0 ? !set.Eof() : !set.Bof();
         step > 0 ? set.Next() : set.Prior(), ++count, expected += step) {
      while (step > 0 && expected % 1001 == 1000) ++expected;  // deleted below
      while (step < 0 && expected % 1001 == 1000) --expected;
      ASSERT_EQ(set.AsInteger(0), expected);
      ASSERT_EQ(set.AsTextView(1), name(expected));
    }
    EXPECT_EQ(count, set.RecordCount());
  };
  for (std::int64_t number = 1000; number < kRecords; number += 1001) {
    ASSERT_TRUE(set.Locate("redbr", {number}));
    set.Delete();
  }
  EXPECT_EQ(set.RecordCount(), 100'000U);
  walk(1);
  walk(-1);
  for (int i = 0; i < 200; ++i) set.AppendRecord({std::int64_t{i}, "novo"});
  EXPECT_EQ(set.RecordCount(), 100'200U);
  EXPECT_EQ(set.Position(), 100'199U);
  EXPECT_EQ(set.AsInteger(0), 199);
}

// Texts that were replaced do not pile up, however they were replaced.
TEST(RecordSetValues, ReplacedTextsGiveTheirMemoryBack) {
  RecordSet set;
  set.DefineField("naziv", FieldKind::kText);
  set.DefineField({.name = "opis", .kind = FieldKind::kText, .calculated = true});
  set.Open();
  constexpr int kRecords = 100;
  for (int i = 0; i < kRecords; ++i) set.AppendRecord({"", "opis " + std::to_string(i)});
  int written = 0;
  const auto text = [&] { return std::to_string(++written) + std::string(300, '.'); };
  const auto expect_little_memory = [&](const char* way) {
    EXPECT_LT(set.MemoryBytes(), 3U << 20U) << way;
    EXPECT_EQ(set.RecordCount(), static_cast<std::size_t>(kRecords));
  };
  for (int round = 0; round < 200; ++round) {
    for (set.First(); !set.Eof(); set.Next()) {
      set.Edit();
      set.SetText(0, "first this");
      set.SetText(0, text());
      round % 10 == 5 ? set.Cancel() : set.Post();
    }
  }
  expect_little_memory("by edits");
  for (int i = 0; i < kRecords; ++i) {
    ASSERT_TRUE(set.Locate("opis", {"opis " + std::to_string(i)}));
    EXPECT_EQ(set.AsText(0), std::to_string(199 * kRecords + i + 1) + std::string(300, '.'));
  }
  for (int i = 0; i < 20'000; ++i) {
    set.First();
    set.Delete();
    set.AppendRecord({text()});
  }
  expect_little_memory("by records that come and go");
  set.SetOnCalcFields([&](RecordSet& current) { current.SetText(1, text()); });
  for (int round = 0; round < 200; ++round) {
    for (set.First(); !set.Eof(); set.Next()) {
    }
  }
  expect_little_memory("by the calculate-fields event");
  EXPECT_EQ(set.AsText(1), std::to_string(written) + std::string(300, '.'));
}

}  // namespace
}  // namespace mox

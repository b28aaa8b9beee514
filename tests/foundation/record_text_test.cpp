#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "case_file.h"
#include "mox/foundation/files.h"
#include "record_set_kinds.h"
#include "record_set_script.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// A small text with everything that the form has.
const std::string kLines = ReadWholeFile(SourceDir() + "/tests/foundation/cases/lines.moxrs");

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

// A set in the middle of an edit behind a filter, and all that can be seen of it.
RecordSet OpenSet() {
  RecordSet set = Letters("a1 b a2");
  RunScript(set, "f N e =ax");
  return set;
}

std::string Seen(const RecordSet& set) {
  return set.SaveToString() + std::to_string(set.Position()) + set.AsText(0) + set.Filter() +
         std::to_string(static_cast<int>(set.State())) + std::to_string(set.RecordCount()) +
         (set.IsModified() ? "m" : "") + (set.Bof() ? "b" : "") + (set.Eof() ? "e" : "");
}

// Loads into an open set. What is refused says where and leaves the set alone; what is taken is whole.
bool Load(const std::string& text) {
  static RecordSet receiver = OpenSet();
  static const std::string before = Seen(receiver);
  try {
    receiver.LoadFromString(text);
  } catch (const FormatError& error) {
    EXPECT_LE(error.offset(), text.size());
    EXPECT_EQ(Seen(receiver), before) << text;
    return false;
  }
  const std::string taken = receiver.SaveToString();
  RecordSet again;
  again.LoadFromString(taken);
  EXPECT_EQ(again.SaveToString(), taken);
  receiver = OpenSet();
  return true;
}

TEST(RecordText, IsTheDocumentedForm) {
  RecordSet set;
  set.LoadFromString(kLines);
  EXPECT_EQ(set.SaveToString(), kLines);
  EXPECT_EQ(set.Name(), "stavke");
  const FieldDef& name = set.Definition(0);
  EXPECT_EQ(name.display_name, "Naziv\nrobe:");
  EXPECT_TRUE(name.size == 3 && name.required && name.calculated);
  EXPECT_FALSE(set.Definition(1).required || set.Definition(1).calculated);
  EXPECT_EQ(set.AsText(0) + " " + set.FieldByName("pc").DisplayText(), "čaš 12,50");
  set.Next();
  EXPECT_FALSE(set.IsNull(0)) << "an empty text is not null";
  set.Next();
  for (std::size_t i = 0; i < set.FieldCount(); ++i) EXPECT_TRUE(set.IsNull(i));
}

TEST(RecordText, KeepsEveryKindAndText) {
  RecordSet set("\n: čć");
  set.DefineField({.name = "tekst\n~ 5:", .display_name = "\" '", .display_format = "\n"});
  for (std::size_t i = 1; i < kFieldKindCount; ++i) {
    set.DefineField("polje " + std::to_string(i), static_cast<FieldKind>(i), 2);  // of texts only
  }
  set.Open();
  for (const Values& sample : Samples()) set.AppendRecord(sample);
  RecordSet loaded;
  loaded.LoadFromString(set.SaveToString());
  EXPECT_EQ(loaded.SaveToString(), set.SaveToString());
  EXPECT_EQ(loaded.Name(), "\n: čć");
  EXPECT_EQ(loaded.FieldByName("TEKST\n~ 5:").DisplayName(), "\" '");
  for (const Values& sample : Samples()) {
    EXPECT_EQ(ValuesOf(loaded), sample);
    loaded.Next();
  }
  EXPECT_TRUE(loaded.Eof());
  for (const std::string& empty : {AllKinds().SaveToString(), RecordSet("bez polja").SaveToString()}) {
    loaded.LoadFromString(empty);
    EXPECT_EQ(loaded.SaveToString(), empty);
    EXPECT_TRUE(loaded.IsEmpty() && loaded.Eof() && loaded.Bof());
  }
}

TEST(RecordText, SaysWhereItIsDamaged) {
  ASSERT_TRUE(Load(kLines));
  EXPECT_FALSE(Load("moxrs 1\nname 0:\nfields 0\nrecords 1\n\nend\n")) << "records without fields";
  ExpectTables("record_text", {{"damaged", [](auto& row) {
                                  const std::string text = Replaced(kLines, row.at(0), row.at(1));
                                  EXPECT_FALSE(Load(text));
                                  const std::size_t offset =
                                      row.at(2).empty() ? text.size() : text.rfind(row.at(2));
                                  const std::string place = "! byte " + std::to_string(offset) + ": ";
                                  const std::string message = TextOrError([&] {
                                    RecordSet().LoadFromString(text);
                                    return "";
                                  });
                                  EXPECT_TRUE(message.starts_with(place)) << message;
                                  return message.substr(std::min(place.size(), message.size()));
                                }}});
}

// Whatever the damage, nothing crashes, and the receiving set is either replaced or as it was.
TEST(RecordText, SurvivesEveryDamage) {
  for (std::size_t size = 0; size < kLines.size(); ++size) EXPECT_FALSE(Load(kLines.substr(0, size))) << size;
  std::mt19937 random(1);
  for (std::size_t at = 0; at < kLines.size(); ++at) {
    std::string text = kLines;
    for (int bit = 0; bit < 8; ++bit) {
      text[at] = static_cast<char>(kLines[at] ^ (1 << bit));
      Load(text);
    }
    for (const char byte : {'0', '9', '~', ' ', '\n', ':', '\0', static_cast<char>(random())}) {
      text[at] = byte;
      Load(text);
    }
    Load(kLines.substr(0, at) + kLines.substr(at + 1));
    Load(kLines.substr(0, at) + kLines[at] + kLines.substr(at));
    const std::size_t from = random() % kLines.size();
    Load(kLines.substr(0, at) + kLines.substr(from));
  }
}

TEST(RecordFiles, HoldTheTextFormAndTheBytesOfAField) {
  const ScratchFolder scratch;
  const fs::path& folder = scratch.path();
  fs::create_directories(folder / "mapa");
  const std::string path = (folder / "čaše.moxrs").string();
  RecordSet set = AllKinds({Samples()[3], Samples()[2]});
  set.SaveToFile(path);
  set.SaveToFile(path);
  RecordSet receiver = OpenSet();
  receiver.LoadFromFile(path);
  EXPECT_EQ(receiver.SaveToString(), set.SaveToString());

  receiver = OpenSet();
  const std::string before = Seen(receiver);
  std::ofstream(path, std::ios::app) << "x";
  EXPECT_THAT(
      [&] { receiver.LoadFromFile(path); },
      testing::ThrowsMessage<FormatError>(path + ": byte " + std::to_string(set.SaveToString().size()) +
                                          ": after the last record: something follows the end"));
  EXPECT_THROW(receiver.LoadFromFile((folder / "nema").string()), Error);
  EXPECT_THROW(receiver.LoadFromFile((folder / "mapa").string()), Error);
  EXPECT_EQ(Seen(receiver), before);
  EXPECT_THROW(set.SaveToFile((folder / "nema" / "a.moxrs").string()), Error);
  EXPECT_THROW(set.SaveToFile((folder / "mapa").string()), Error);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
      << "nothing left over";

  set.FieldByName("binary").SaveToFile(path);
  EXPECT_EQ(fs::file_size(path), set.AsTextView(7).size());
  set.First();
  EXPECT_THROW(set.FieldByName("binary").LoadFromFile(path), StateError);
  set.Edit();
  set.FieldByName("binary").LoadFromFile(path);
  EXPECT_EQ(set.AsVariant(7), Samples()[2][7]);
}

}  // namespace
}  // namespace mox

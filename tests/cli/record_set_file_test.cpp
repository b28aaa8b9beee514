#include "cli/record_set_file.h"

#include <gmock/gmock.h>

#include <sstream>

#include "mox/foundation/record_set.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

RecordSetFile Read(const std::string& bytes) { return ReadRecordSet({"f.csv", bytes}); }

std::string Written(RecordSet& records) {
  std::string out;
  WriteRecordSet(records, out);
  return out;
}

TEST(RecordSetFile, IsReadAndWrittenAgain) {
  const auto written = [](const Words& row) {
    RecordSetFile first = Read(row.at(0));
    const std::string output = Written(first.records);
    RecordSetFile second = Read(output);
    EXPECT_EQ(Written(second.records), output);
    return output;
  };
  ExpectTables("record_set_file", {{"written", written}, {"faulty", written}}, "cli");
}

TEST(RecordSetFile, HasNoMoreFieldsThanASet) {
  const auto columns = [](int count) {
    std::string header = "a0";
    for (int i = 1; i < count; ++i) header += ",a" + std::to_string(i);
    return header + "\n";
  };
  EXPECT_EQ(ErrorOf([&] { Read(columns(4096) + "1\n"); }), "f.csv:2: the line has 1 cell, the header 4096");
  EXPECT_EQ(ErrorOf([&] { Read(columns(4097) + "1\n"); }), "f.csv:1: there are too many fields");
}

TEST(RecordSetFile, ComesFromAFileOrStandardInput) {
  std::istringstream in("a\n1\n");
  EXPECT_EQ(ReadFileText("-", in).bytes, "a\n1\n");
  const ScratchFolder folder;
  for (const std::string& path : {folder.path().string(), folder / "no_such_file.csv"}) {
    EXPECT_THAT(ErrorOf([&] { ReadFileText(path, in); }), testing::StartsWith(path + ": cannot be read: "));
  }
}

TEST(RecordSetFile, KnowsTheLineOfEachRecord) {
  const RecordSetFile file = Read("a,b\r\n\"1\r\n\r\n\",2\r\n3,4\r\n");
  EXPECT_EQ(file.Where(0), "f.csv:2");
  EXPECT_EQ(file.Where(1), "f.csv:5");
}

}  // namespace
}  // namespace mox

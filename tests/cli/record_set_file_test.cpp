#include "cli/record_set_file.h"

#include <gtest/gtest.h>

#include <sstream>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"
#include "tests/fakes/scratch_folder.h"

namespace mox {
namespace {

using namespace std::string_literals;

RecordSetFile Read(const std::string& bytes) { return ReadRecordSet({"f.csv", bytes}); }

std::string Written(RecordSet& records) {
  std::string out;
  WriteRecordSet(records, out);
  return out;
}

TEST(RecordSetFile, IsReadAndWrittenAgain) {
  const struct {
    std::string input;
    std::string output;
  } rows[] = {
      // what a name without a kind holds
      {"pc,kolicina,vrsta_stavke,vrsta,Sifra\n1.5,2,3,OPB,7\n",
       "pc:currency,kolicina:float,vrsta_stavke:integer,vrsta:text,Sifra:text\n1.50,2,3,OPB,7\n"},
      {"PC,kolicina:text\n1,2\n", "PC:currency,kolicina:text\n1.00,2\n"},
      {"a:Integer,b:x:float,c:text\n-7,1e3,:\n", "a:integer,b:x:float,c:text\n-7,1000,:\n"},
      // every kind, and null against the empty text
      {"t:text,i:integer,b:boolean,f:float,c:currency,d:date,m:datetime\n"
       "x,-9223372036854775808,true,0.1,0.1234000,2024-02-29,2024-03-01T09:05:00\n"
       "\"\",,,,,,\n"
       ",+5,false,-1e300,-.5,0001-01-01,2024-03-01\n",
       "t:text,i:integer,b:boolean,f:float,c:currency,d:date,m:datetime\n"
       "x,-9223372036854775808,true,0.1,0.1234,2024-02-29,2024-03-01T09:05:00\n"
       "\"\",,,,,,\n"
       ",5,false,-1e+300,-0.50,0001-01-01,2024-03-01T00:00:00\n"},
      // the ends of the currency range, and four decimals written otherwise
      {"c:currency\n922337203685477.5807\n-922337203685477.5808\n12345678e-4\n1.2E2\n0e-9\n",
       "c:currency\n922337203685477.5807\n-922337203685477.5808\n1234.5678\n120.00\n0.00\n"},
      // quotes
      {"\"a:text\",\"b,\"\"c\"\"\"\n\"x \"\"y\"\"\nz\",\"1,5\"\n",
       "a:text,\"b,\"\"c\"\":text\"\n\"x \"\"y\"\"\nz\",\"1,5\"\n"},
      {"a,pc\n x ,\"3\"\n\"\"\"\",4\n", "a:text,pc:currency\n x ,3.00\n\"\"\"\",4.00\n"},
      {"a,b\n\"x\r\ny\",\"\r\"\n", "a:text,b:text\n\"x\r\ny\",\"\r\"\n"},
      {"a,b\n\"z\0\"\" \",Ć€\n"s, "a:text,b:text\n\"z\0\"\" \",Ć€\n"s},
      // line ends
      {"\xEF\xBB\xBF"
       "a,b\r\n1,2\r\n3,4",
       "a:text,b:text\n1,2\n3,4\n"},
      {"a,b\n1,2\n\n\r\n\n", "a:text,b:text\n1,2\n"},
      {"a,b", "a:text,b:text\n"},
      // one column: a blank line is a record
      {"a\n\nx\n\n", "a:text\n\nx\n\n"},
  };
  for (const auto& row : rows) {
    RecordSetFile first = Read(row.input);
    EXPECT_EQ(Written(first.records), row.output) << row.input;
    RecordSetFile second = Read(row.output);
    EXPECT_EQ(Written(second.records), row.output);
  }
}

TEST(RecordSetFile, SaysWhereItIsFaulty) {
  const auto columns = [](int count) {
    std::string header = "a0";
    for (int i = 1; i < count; ++i) header += ",a" + std::to_string(i);
    return header + "\n";
  };
  const struct {
    std::string input;
    const char* error;
  } rows[] = {
      {"kolicina,pc\n1,2\n3,abc\n", "f.csv:3: pc: \"abc\" is not a number"},
      {"a,kolicina\n\"1\n2\n3\",4\nx,1,5\n", "f.csv:5: the line has 3 cells, the header 2"},
      {"a,kolicina\n\"1\n2\n3\",4,5\n", "f.csv:2: the line has 3 cells, the header 2"},
      {"a,kolicina\n\"1\n2\n3\",1.2.3\n", "f.csv:2: kolicina: \"1.2.3\" is not a number"},
      {"a,b\n1\n", "f.csv:2: the line has 1 cell, the header 2"},
      {"a,b\n\n1,2\n", "f.csv:2: the line has 1 cell, the header 2"},
      {"a,b\n1,2\n\n \n", "f.csv:3: the line has 1 cell, the header 2"},
      {"pc\n1,5\n", "f.csv:2: the line has 2 cells, the header 1"},
      // values of each kind
      {"pc\n\"\"\n", "f.csv:2: pc: \"\" is not a number"},
      {"pc\n 1\n", "f.csv:2: pc: \" 1\" is not a number"},
      {"pc\n1.000,00\n", "f.csv:2: the line has 2 cells, the header 1"},
      {"pc\n922337203685477.58075\n",
       "f.csv:2: pc: \"922337203685477.58075\" is outside the range of a currency"},
      {"pc\n0.00005\n", "f.csv:2: pc: \"0.00005\" has more than four decimals; pc:float keeps them"},
      {"pc:currency\n12e-5\n", "f.csv:2: pc: \"12e-5\" has more than four decimals; pc:float keeps them"},
      {"pc\n-1e30\n", "f.csv:2: pc: \"-1e30\" is outside the range of a currency"},
      {"kolicina\ninf\n", "f.csv:2: kolicina: \"inf\" is not a number"},
      {"kolicina\n1e400\n", "f.csv:2: kolicina: \"1e400\" is outside the range of a floating-point number"},
      {"i:integer\n1.0\n", "f.csv:2: i: \"1.0\" is not an integer"},
      {"i:integer\n9223372036854775808\n",
       "f.csv:2: i: \"9223372036854775808\" is outside the range of an integer"},
      {"b:boolean\n1\n", "f.csv:2: b: \"1\" is not true or false"},
      {"d:date\n2023-02-29\n", "f.csv:2: d: \"2023-02-29\" is not a date"},
      {"m:datetime\n2024-03-01 09:05\n", "f.csv:2: m: \"2024-03-01 09:05\" is not a date and time"},
      // the header
      {"", "f.csv: the file is empty"},
      {"\xEF\xBB\xBF", "f.csv: the file is empty"},
      {"a,,b\n", "f.csv:1: cell 2: the field has no name"},
      {"a,:text\n", "f.csv:1: cell 2: the field has no name"},
      {"pc,kolicina,PC:text\n", "f.csv:1: field \"PC\" is there twice"},
      {"pc:money\n", "f.csv:1: field \"pc\" has the unknown kind \"money\""},
      {"slika:binary\n", "f.csv:1: field \"slika\" has the unknown kind \"binary\""},
      {"pc:\n", "f.csv:1: field \"pc\" has the unknown kind \"\""},
      {"a\"b\n", "f.csv:1: cell 1: a quote inside an unquoted cell"},
      {columns(4096) + "1\n", "f.csv:2: the line has 1 cell, the header 4096"},
      {columns(4097) + "1\n", "f.csv:1: there are too many fields"},
      // quotes, line ends, characters
      {"a,b\n1,\"2\n3,4\n", "f.csv:2: b: the quote is not closed"},
      {"a,b\n1,2\"3\"\n", "f.csv:2: b: a quote inside an unquoted cell"},
      {"a,b\n\"1\" ,2\n", "f.csv:2: a: text after the closing quote"},
      {"a,b\n1\r2,3\n", "f.csv:2: a: a carriage return that ends no line"},
      {"a,b\n1,2\r", "f.csv:2: b: a carriage return that ends no line"},
      {"a,b\nx,\xE6\n", "f.csv:2: b: the text is not valid UTF-8"},
      {"a,\xFF\n", "f.csv:1: cell 2: the text is not valid UTF-8"},
  };
  for (const auto& row : rows) {
    try {
      Read(row.input);
      ADD_FAILURE() << row.input << " is read";
    } catch (const Error& error) {
      EXPECT_STREQ(error.what(), row.error);
    }
  }
}

TEST(RecordSetFile, ComesFromAFileOrStandardInput) {
  std::istringstream in("a\n1\n");
  EXPECT_EQ(ReadFileText("-", in).bytes, "a\n1\n");
  const ScratchFolder folder;
  for (const std::string& path : {folder.path().string(), folder / "no_such_file.csv"}) {
    try {
      ReadFileText(path, in);
      ADD_FAILURE() << path << " is read";
    } catch (const Error& error) {
      EXPECT_TRUE(std::string(error.what()).starts_with(path + ": cannot be read: ")) << error.what();
    }
  }
}

TEST(RecordSetFile, KnowsTheLineOfEachRecord) {
  const RecordSetFile file = Read("a,b\r\n\"1\r\n\r\n\",2\r\n3,4\r\n");
  EXPECT_EQ(file.Where(0), "f.csv:2");
  EXPECT_EQ(file.Where(1), "f.csv:5");
}

}  // namespace
}  // namespace mox

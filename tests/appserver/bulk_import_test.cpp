#include <gmock/gmock.h>

#include <random>

#include "appserver/company_server.h"
#include "mox/import/import_check.h"
#include "mox/import/import_profiles.h"
#include "tests/appserver/scratch_database.h"

namespace mox {
namespace {

using Random = std::mt19937;

std::size_t Below(Random& random, std::size_t end) { return random() % end; }

// One of the texts, or nothing.
Value OneOf(Random& random, std::initializer_list<const char*> texts) {
  const std::string text = *(texts.begin() + Below(random, texts.size()));
  return text.empty() ? Value() : Value(text);
}

struct Profile {
  const char* name;
  const char* table;
  // The values of a row of the profile's fields.
  std::vector<std::pair<const char*, Value>> (*row)(Random& random, std::size_t row);
  const char* unique;   // a field that no two rows have the same text in; null where there is none
  const char* unknown;  // a field whose text names a row
};

std::vector<std::pair<const char*, Value>> Partner(Random& random, std::size_t row) {
  const Value number = std::to_string(10'000'000'000 + 1'000'000 * row + Below(random, 4000));
  return {{"NAZIV", "Partner č\t\\\"" + std::to_string(row)},
          {"OIB", Below(random, 3) == 0 ? Value() : number},
          {"ADRESA", OneOf(random, {"Ilica 1", "", "Šetalište"})},
          {"PTT", OneOf(random, {"10000", " 10000 "})},
          {"MJESTO", OneOf(random, {"zagreb", "ZAGREB "})}};
}

std::vector<std::pair<const char*, Value>> Article(Random& random, std::size_t row) {
  const std::size_t sort = Below(random, 4);
  const std::string number = std::to_string(10 * row + 100);
  return {{"SIFRA", sort == 0 ? Value()
                              : Value(sort == 1   ? "0" + number
                                      : sort == 2 ? "k-" + number
                                                  : number)},
          {"NAZIV", "Artikl " + std::to_string(row)},
          {"JM", OneOf(random, {"kom", "KOM"})},
          {"TBR", 25.0},
          {"GRUPA", std::string("Roba")},
          {"RABAT", std::string("Bez rabata")},
          {"BARCODE", Below(random, 5) == 0 ? Value("9" + number) : Value()}};
}

constexpr std::size_t kPartners = 90;

// Partners that are there, some of them twice.
std::vector<std::pair<const char*, Value>> Address(Random& random, std::size_t row) {
  const std::size_t partner = Below(random, kPartners);
  return {{"OIB", " " + std::to_string(2'000'000'000 + partner)},
          {"EMAIL", Below(random, 4) == 0 ? Value() : Value("a" + std::to_string(row) + "{\"\\,}@b.hr")}};
}

const Profile kProfiles[] = {{"PARTNERPTTOPZ", "par", Partner, "OIB", "PTT"},
                             {"ARTIKLI", "art", Article, "BARCODE", "GRUPA"},
                             {"PARERACMAIL", "par", Address, nullptr, "OIB"}};

class BulkImport : public ScratchDatabase {
 protected:
  static RecordSet Rows(const Profile& profile, Random& random, std::size_t count) {
    RecordSet rows = TypedRows(ImportFieldsOf(*FindImportProfile(profile.name)));
    for (std::size_t row = 1; row <= count; ++row) {
      rows.Append();
      for (const auto& [field, value] : profile.row(random, row)) rows.FieldByName(field).SetVariant(value);
      rows.Post();
    }
    return rows;
  }
  // A number that another row has, and behind it what names nothing.
  static void Spoil(const Profile& profile, RecordSet& rows) {
    const auto set = [&](std::size_t row, const char* field, const char* text) {
      if (field == nullptr) return;
      rows.GoToRow(row);
      rows.Edit();
      rows.FieldByName(field).SetText(text);
      rows.Post();
    };
    for (const std::size_t row : {5UL, 50UL}) set(row, profile.unique, "12345678903");
    set(53, profile.unknown, "99999");
  }
  // So many rows from there on.
  static RecordSet Part(const RecordSet& rows, std::size_t begin, std::size_t count) {
    RecordSet part(rows.Name());
    part.CleanClone(rows);
    part.Clear();
    for (std::size_t row = begin; row < std::min(begin + count, rows.RowCount()); ++row) {
      std::vector<Value> values;
      for (std::size_t i = 0; i < rows.FieldCount(); ++i) values.push_back(rows.RowAt(row).AsVariant(i));
      part.AppendRecord(values);
    }
    return part;
  }
  static std::string Write(CompanyServer& server, const Profile& profile, const RecordSet& records) {
    const std::string_view transaction = FindImportProfile(profile.name)->transaction;
    if (server.WriteDataService(RequestOf(transaction, {&records})) != 0) return {};
    const WriteFailure& failure = *server.LastWrite().failure;
    return std::to_string(failure.row) + ' ' + failure.field + ' ' + failure.message;
  }
  static std::string Table(CompanyServer& server, const Profile& profile) {
    Database& database = server.database();
    const std::string table = profile.table;
    return database.Query(table, database.TableColumns(table), "SELECT * FROM " + table + " ORDER BY id")
        .SaveToString();
  }
};

// What is stored of a sheet, and what is said of the row that is refused, is the same whether its rows go
// together or a few at a time.
TEST_P(BulkImport, StoresWhatRowsOneAfterTheOtherWould) {
  Random random(20240301);
  int stored = 0;
  int refused = 0;
  for (int round = 0; round < 6; ++round) {
    const Profile& profile = kProfiles[round % 3];
    SCOPED_TRACE(std::string(profile.name) + ", round " + std::to_string(round));
    CompanyServer server{Database(path_)};
    server.database().Execute("DELETE FROM " + std::string(profile.table) + " WHERE id > 2");
    GiveNextKeys();
    for (std::size_t i = 0; i < kPartners && profile.table == std::string("par"); ++i) {
      server.database().Execute("INSERT INTO par (naziv, oib, email_eracun) VALUES ('P', :oib, 'x@y.hr')",
                                {std::to_string(2'000'000'000 + i)});
    }
    const std::string before = Table(server, profile);
    RecordSet rows = Rows(profile, random, 55 + Below(random, 45));
    if (round >= 3) Spoil(profile, rows);
    std::string expected;
    {
      const WriteTransaction tried(server.database());
      constexpr std::size_t kFew = 40;
      for (std::size_t begin = 0; begin < rows.RowCount() && expected.empty(); begin += kFew) {
        expected = Write(server, profile, Part(rows, begin, kFew));
        if (expected.empty()) continue;
        const std::size_t row = std::stoul(expected) + begin;
        expected = std::to_string(row) + expected.substr(expected.find(' '));
      }
      if (expected.empty()) expected = Table(server, profile);
    }
    ASSERT_EQ(Table(server, profile), before);
    GiveNextKeys();
    const std::string refusal = Write(server, profile, rows);
    EXPECT_EQ(refusal.empty() ? Table(server, profile) : refusal, expected);
    EXPECT_EQ(refusal.empty(), round < 3) << refusal;
    ++(refusal.empty() ? stored : refused);
  }
  EXPECT_EQ(stored, 3);
  EXPECT_EQ(refused, 3);
}

MOX_ON_EVERY_ENGINE(BulkImport);

}  // namespace
}  // namespace mox

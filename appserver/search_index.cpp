#include "appserver/search_index.h"

#include <mutex>
#include <set>

#include "appserver/codebook.h"
#include "appserver/dialect.h"

namespace mox {
namespace {

constexpr int kFew = 1000;        // rows that are searched quickly without an index
constexpr int kPortion = 20'000;  // rows of one transaction, so that other writers do not wait for long

// Of all codebooks that have one.
std::vector<SearchIndex> AllIndexes(Database& database) {
  std::vector<SearchIndex> indexes;
  for (const Codebook& codebook : CodebookTable()) {
    if (const auto index = SearchIndexOf(ShapeOf(database, codebook))) indexes.push_back(*index);
  }
  return indexes;
}

bool IsBehind(Database& database, const SearchIndex& index) {
  const std::string sql = database.dialect().CountUnindexed(index, kFew + 1);
  return database.Query("n", ParseColumns("n:integer"), sql).AsInteger(0) > kFew;
}

// Companies in which an index could not be made, as by a role that does not own its table: this program does
// not try again.
class Unmade {
 public:
  bool Holds(const std::string& location) {
    const std::lock_guard guard(mutex_);
    return locations_.contains(location);
  }
  void Add(const std::string& location) {
    const std::lock_guard guard(mutex_);
    locations_.insert(location);
  }

 private:
  std::mutex mutex_;
  std::set<std::string> locations_;
};

void MakeMissing(Database& database, const SearchIndex& index) {
  static Unmade unmade;
  const std::string location = database.location().ToString();
  if (unmade.Holds(location)) return;
  try {
    database.MakeMissingSearchIndex(index);
  } catch (const DatabaseError&) {
    unmade.Add(location);
  }
}

void ExecuteAll(Database& database, const std::vector<std::string>& statements) {
  for (const std::string& statement : statements) database.Execute(statement);
}

}  // namespace

SearchQuery FindInIndex(const Database& database, const SearchIndex& index, const std::string& folded,
                        const std::string& parameter) {
  return database.dialect().FindInSearchIndex(index, folded, parameter);
}

void RefreshSearchIndexes(Database& database, int most) {
  for (const SearchIndex& index : AllIndexes(database)) {
    ExecuteAll(database, database.dialect().RefreshSearchIndex(index, most));
  }
}

void CatchUpSearchIndexes(Database& database) {
  if (!database.MayBeWritten()) return;
  try {
    for (const SearchIndex& index : AllIndexes(database)) {
      MakeMissing(database, index);
      while (IsBehind(database, index)) {
        WriteTransaction guard(database);
        ExecuteAll(database, database.dialect().RefreshSearchIndex(index, kPortion));
        guard.Commit();
      }
    }
  } catch (const DatabaseError&) {
    return;  // what is not in an index is found without it
  }
}

}  // namespace mox

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_data.h"
#include "appserver/database.h"
#include "appserver/requester.h"
#include "appserver/rights.h"
#include "appserver/table_writer.h"

namespace mox {

/// To whom a write request is made, and by whom.
struct WriteContext {
  const CompanyData& company;
  const Requester& requester;
};

/// The record sets of a write request under the names that they were sent with.
class SentRecordSets {
 public:
  /// `inner` is the tokenized text of the record sets. Raises FormatError where it is damaged, WriteRefused
  /// for a damaged record set, for what is none, and for a name that stands twice.
  SentRecordSets(std::string_view inner, const WriteContext& context);

  const CompanyData& Company() const { return context_.company; }
  const Requester& Who() const { return context_.requester; }

  std::span<const RecordSet> All() const { return sets_; }
  /// Null where there is none.
  const RecordSet* Find(std::string_view name) const;
  /// As it was sent, while the request is there; empty where there is none.
  std::string_view TextOf(std::string_view name) const;

 private:
  WriteContext context_;
  std::vector<RecordSet> sets_;
  std::vector<std::string_view> texts_;  // of the sets, in their order
};

/// A field that only the server writes, and what a request that gives it a value is told.
struct RefusedField {
  std::string_view field;
  std::string_view why;
};

/// A record set that a transaction takes, and the table that it goes to.
struct RecordSetRule {
  std::string_view name;
  TableRule table;
  bool required = true;
  /// "naziv,vrijednost": the fields, where a handler reads them itself.
  std::string_view fields = {};
  std::vector<RefusedField> refused = {};
  /// That whoever sends it must have, beside that of the transaction.
  std::optional<Right> right = {};
};

struct NamedTransaction;

/// Stores what the rules of the tables alone cannot; answers the keys and numbers that the server gave. Runs
/// inside the database's transaction.
using WriteHandler = std::optional<RecordSet> (*)(const NamedTransaction& transaction, Database& database,
                                                  const SentRecordSets& sent);

/// A named transaction. Without a handler each record set is inserted into its table.
struct NamedTransaction {  // NOLINT(clang-analyzer-optin.performance.Padding): in the order its table is read
  std::string_view name;
  Right right;  ///< that whoever asks must have
  std::string_view summary;
  std::vector<RecordSetRule> record_sets;
  WriteHandler handler = nullptr;
  /// Whether its handler claims all that must not change meanwhile, so that others may store beside it.
  Writing writing = Writing::kAlone;

  /// Null where there is none.
  const RecordSetRule* FindRule(std::string_view record_set) const;
};

/// Whether a transaction is committed in the end, or only tried.
enum class Ending : std::uint8_t { kCommit, kRollBack };

/// What is stored with a request, at the end of its transaction.
using StoreBeside = std::function<void(const std::optional<RecordSet>& stored)>;

/// Stores a request in one transaction of the database: all of it or nothing. Raises WriteRefused and other
/// kinds of Error for whatever refuses it.
std::optional<RecordSet> RunNamedTransaction(const NamedTransaction& transaction, Database& database,
                                             const SentRecordSets& sent, const StoreBeside& beside,
                                             Ending ending = Ending::kCommit);

}  // namespace mox

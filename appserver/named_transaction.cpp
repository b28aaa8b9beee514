#include "appserver/named_transaction.h"

#include <algorithm>

#include "appserver/partner_balances.h"
#include "mox/foundation/text.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

[[noreturn]] void RefuseSet(std::string_view record_set, std::string message) {
  throw WriteRefused({"", std::string(record_set), 0, "", std::move(message)});
}

RecordSet ReadRecordSet(const TokenizedItem& item) {
  if (item.kind != ParamKind::kText && item.kind != ParamKind::kDataSet) {
    RefuseSet(item.name, "is no record set");
  }
  RecordSet records;
  try {
    records.LoadFromString(item.value);
  } catch (const Error& error) {
    RefuseSet(item.name, error.what());
  }
  records.SetName(std::string(item.name));
  return records;
}

void RefuseFields(const RecordSetRule& rule, const RecordSet& records) {
  for (const RefusedField& refused : rule.refused) {
    const auto field = records.FindFieldIndex(refused.field);
    if (!field) continue;
    for (std::size_t row = 0; row < records.RowCount(); ++row) {
      if (TrimBlanks(records.RowAt(row).AsText(*field)).empty()) continue;
      throw WriteRefused({"", records.Name(), row + 1, std::string(refused.field), std::string(refused.why)});
    }
  }
}

std::optional<RecordSet> Store(const NamedTransaction& transaction, Database& database,
                               const SentRecordSets& sent) {
  if (transaction.handler != nullptr) return transaction.handler(transaction, database, sent);
  for (const RecordSet& records : sent.All()) {
    StoreRecords(database, records, transaction.FindRule(records.Name())->table);
  }
  return std::nullopt;
}

}  // namespace

SentRecordSets::SentRecordSets(std::string_view inner, const WriteContext& context) : context_(context) {
  for (const TokenizedItem& item : TokenizedItems(inner)) {
    if (Find(item.name) != nullptr) RefuseSet(item.name, "was sent twice");
    sets_.push_back(ReadRecordSet(item));
    texts_.push_back(item.value);
  }
}

std::string_view SentRecordSets::TextOf(std::string_view name) const {
  for (std::size_t i = 0; i < sets_.size(); ++i) {
    if (SameName(sets_[i].Name(), name)) return texts_[i];
  }
  return {};
}

const RecordSet* SentRecordSets::Find(std::string_view name) const {
  const auto same = [name](const RecordSet& records) { return SameName(records.Name(), name); };
  const auto found = std::find_if(sets_.begin(), sets_.end(), same);
  return found == sets_.end() ? nullptr : &*found;
}

const RecordSetRule* NamedTransaction::FindRule(std::string_view record_set) const {
  const auto same = [record_set](const RecordSetRule& rule) { return SameName(rule.name, record_set); };
  const auto found = std::find_if(record_sets.begin(), record_sets.end(), same);
  return found == record_sets.end() ? nullptr : &*found;
}

std::optional<RecordSet> RunNamedTransaction(const NamedTransaction& transaction, Database& database,
                                             const SentRecordSets& sent, const StoreBeside& beside,
                                             Ending ending) {
  for (const RecordSet& records : sent.All()) {
    const RecordSetRule* const rule = transaction.FindRule(records.Name());
    if (rule == nullptr) RefuseSet(records.Name(), "the transaction takes no such record set");
    if (rule->right)
      RequireRight(sent.Who(), *rule->right, std::string(transaction.name) + " of " + records.Name());
    RefuseFields(*rule, records);
  }
  for (const RecordSetRule& rule : transaction.record_sets) {
    if (rule.required && sent.Find(rule.name) == nullptr) RefuseSet(rule.name, "is missing");
  }

  std::optional<RecordSet> stored;
  bool beside_others = false;
  {
    WriteTransaction guard(database, transaction.writing);
    beside_others = database.WritesBesideOthers();
    try {
      stored = Store(transaction, database, sent);
    } catch (const WriteRefused&) {
      database.Settle();  // what was sent before may be refused, too, and is told then
      throw;
    }
    // Items of others may get lower keys and appear later, so that sums up to a key wait for a moment without
    // others.
    if (!beside_others) KeepBalances(database);
    beside(stored);
    if (ending == Ending::kCommit) {
      guard.Commit();
    } else {
      database.Settle();
    }
  }
  if (beside_others && ending == Ending::kCommit) CatchUpBalances(database);
  return stored;
}

}  // namespace mox

#pragma once

#include <initializer_list>
#include <span>
#include <string_view>

#include "mox/foundation/record_set.h"
#include "mox/server/param_list.h"

namespace mox {

/// A screen's collection of record sets that are stored together.
class TDataModule {
 public:
  virtual ~TDataModule() = default;
  /// The record sets in the order of their components.
  virtual std::span<RecordSet* const> DataSets() const = 0;
};

/// A write request: one item named after the transaction, whose value is the tokenized text of a list that
/// holds the text of each record set under its component name. Pending edits are not part of it.
TAstaParamList WriteRequest(std::string_view transaction_name, std::span<const RecordSet* const> record_sets);

/// Stores the record sets in one transaction of the application server. False when the server refused it. A
/// record that is being edited or inserted is posted first, as a move posts it; when that is refused, nothing
/// is sent.
bool ExecuteTransaction(std::string_view transaction_name, std::span<RecordSet* const> record_sets);
bool ExecuteTransaction(std::string_view transaction_name, std::initializer_list<RecordSet*> record_sets);
bool ExecuteTransaction(std::string_view transaction_name, const TDataModule& data_module);

}  // namespace mox

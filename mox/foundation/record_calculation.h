#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "mox/foundation/app.h"

namespace mox {

class RecordSet;

/// What a calculate-fields event reads beside the fields that it writes, as whoever sets it declares. It
/// spares runs that would change nothing; what the records hold is the same.
enum class CalcFieldsReads : std::uint8_t {
  kAnything,   ///< other sets, counters: it is fired whenever a record becomes current
  kItsRecord,  ///< its record alone: it is not fired again for a record that its last run left as it was
  kItsInputs,  ///< of its record, nothing that an earlier run wrote: one run settles a record
  kItsInputsAndSettings  ///< these, and integers of the settings file: a record is settled until they change
};

/// The records for which a calculate-fields event need not run again, by their numbers.
class SettledRecords {
 public:
  bool Has(std::uint32_t record) const {
    const std::size_t word = record / kBits;
    return word < words_.size() && (words_[word] >> record % kBits & 1U) != 0;
  }
  void Add(std::uint32_t record) {
    const std::size_t word = record / kBits;
    if (word >= words_.size()) words_.resize(std::max(word + 1, words_.size() * 2));
    words_[word] |= std::uint64_t{1} << record % kBits;
  }
  void Remove(std::uint32_t record) {
    const std::size_t word = record / kBits;
    if (word < words_.size()) words_[word] &= ~(std::uint64_t{1} << record % kBits);
  }
  void Clear() { words_.clear(); }

 private:
  static constexpr std::uint32_t kBits = 64;
  std::vector<std::uint64_t> words_;
};

/// The calculate-fields event of a record set: when it is to run, and what a run changed. Records are handed
/// in as their cells.
class RecordCalculation {
 public:
  using Event = std::function<void(RecordSet&)>;
  using Cells = std::span<const std::uint64_t>;

  void SetEvent(Event event, CalcFieldsReads reads) {
    event_ = std::move(event);
    reads_ = reads;
    settled_.Clear();
  }
  bool HasEvent() const { return event_ != nullptr; }
  /// Nested.
  void Pause() { ++paused_; }
  void Resume() { --paused_; }
  bool IsPaused() const { return paused_ > 0; }
  /// Whether it is to run for a record that becomes current.
  bool IsDue(std::uint32_t record) {
    if (reads_ == CalcFieldsReads::kItsInputsAndSettings) NoticeSettings();
    return paused_ == 0 && !settled_.Has(record);
  }
  /// Of a record that was written without an edit.
  void Unsettle(std::uint32_t record) { settled_.Remove(record); }
  /// Of all records: they were replaced, or are other ones.
  void ForgetSettled() { settled_.Clear(); }

  /// Comes before a run; false where there is to be none, and the record stays to be calculated. What the
  /// record holds is kept where that is asked for, or what the event reads asks for it.
  bool Begin(std::uint32_t record, Cells cells, bool keeps_what_it_was) {
    settled_.Remove(record);
    if (paused_ > 0) return false;
    if (reads_ == CalcFieldsReads::kItsInputsAndSettings) NoticeSettings();
    if (keeps_what_it_was || reads_ == CalcFieldsReads::kItsRecord)
      before_.assign(cells.begin(), cells.end());
    return true;
  }
  void Run(RecordSet& set) const { event_(set); }
  /// After a run of a record whose edit cannot be cancelled any more.
  void Settle(std::uint32_t record, Cells cells) {
    const bool settled = reads_ == CalcFieldsReads::kItsInputs ||
                         (reads_ == CalcFieldsReads::kItsInputsAndSettings && settings_ != 0) ||
                         (reads_ == CalcFieldsReads::kItsRecord && std::ranges::equal(before_, cells));
    if (settled) settled_.Add(record);
  }

  /// What a record was before its last run, where that was kept.
  void ForgetWhatItWas() { before_.clear(); }
  bool Changed(Cells cells) const { return !before_.empty() && !std::ranges::equal(before_, cells); }

 private:
  // What was settled by other settings is not settled any more.
  void NoticeSettings() {
    const std::uint64_t now = SettingsVersion();
    if (now == settings_) [[likely]]
      return;
    settings_ = now;
    settled_.Clear();
  }

  Event event_;
  CalcFieldsReads reads_ = CalcFieldsReads::kAnything;
  SettledRecords settled_;
  std::uint64_t settings_ = 0;         // their version, 0 for none
  std::vector<std::uint64_t> before_;  // room for one record
  int paused_ = 0;
};

}  // namespace mox

#pragma once

#include <string>
#include <vector>

#include "bench/lines.h"
#include "bench/naive_record_set.h"
#include "bench/plain_loop.h"
#include "bench/sqlite_lines.h"
#include "mox/foundation/record_set.h"

namespace mox::bench {

inline constexpr std::size_t kLineCount = 1'000'000;
inline constexpr std::size_t kNaiveLineCount = 100'000;  // the first of the lines; they take 3 kB each
inline constexpr std::size_t kTextLineCount = 100'000;   // for the text form and for locating
inline constexpr Digits kDigits;

/// The same document, kept by each of those that are compared.
class Peers {
 public:
  /// Builds and calculates all of them. Takes some seconds and about 1.2 GB.
  Peers();

  /// Whether all have the same values: raises std::runtime_error where they differ by as little as a
  /// ten-thousandth. SQLite rounds and sums in double, so its sums may differ.
  void Check();
  /// By how much SQLite's sums differed in Check(), for a reader.
  const std::string& SqliteDifference() const { return sqlite_difference_; }

  /// The record set with the calculate-fields event of a cash invoice, or without any.
  RecordSet& LinesWithEvent();
  /// The event that documents of this kind install, which declares what it reads, so that a line is
  /// calculated once and not again until it is edited.
  RecordSet& LinesWithSettlingEvent();
  RecordSet& Lines() { return lines_; }  ///< with the event that it has
  RecordSet& LinesWithoutEvent();
  RecordSet& SomeLines() { return some_lines_; }  ///< kTextLineCount of them
  RecordSet& Recapitulation() { return recapitulation_; }
  std::vector<PlainLine>& Plain() { return plain_; }
  NaiveRecordSet& Naive() { return naive_; }
  SqliteLines& Sqlite() { return sqlite_; }

 private:
  std::vector<PlainLine> plain_;
  RecordSet lines_;
  NaiveRecordSet naive_;
  SqliteLines sqlite_;
  RecordSet some_lines_;
  RecordSet recapitulation_;
  std::string sqlite_difference_;
};

// What is measured of the record set.

/// First, next and the event for each line.
void Walk(RecordSet& lines);
/// Edits the price of each line and posts it.
void RaisePrices(RecordSet& lines, Currency by);
void Recapitulate(RecordSet& lines, RecordSet& recapitulation);

}  // namespace mox::bench

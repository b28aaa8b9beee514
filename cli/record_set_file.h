#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox {

// Record-set files: comma-separated, UTF-8, one header row whose cells are `name` or `name:kind`. Without a
// kind, a name of the vocabulary has its usual one and any other is a text. An unquoted empty cell is null, a
// quoted one the empty text. Numbers have a decimal point and no grouping; dates are 2024-03-01 and
// 2024-03-01T09:05:00.

/// The bytes of a file and what messages call it.
struct FileText {
  std::string label;
  std::string bytes;
};

/// Reads a file, or the stream where the path is "-". Raises Error naming the file when it cannot be read or
/// is empty.
FileText ReadFileText(const std::string& path, std::istream& standard_input);

/// A record set read from a file. The set is named after the place of its header,
/// "lines.csv:1", so that a field that is not there is reported with it.
struct RecordSetFile {
  std::string label;
  RecordSet records;
  std::vector<std::size_t> lines;  ///< of the file, at which the records start

  /// "lines.csv:3", of a record counted from 0.
  std::string Where(std::size_t record) const;
};

struct ReadOptions {
  /// Columns whose kinds header cells of their names have that say none and would be texts.
  std::vector<FieldDef> known = {};
  /// Looks at the columns and may change them or add fields that the file does not have.
  std::function<void(const std::string& label, std::vector<FieldDef>& fields)> declare = nullptr;
  /// Installed before the records come, so that each is calculated as it is posted.
  RecordSet::CalcFieldsEvent on_calc_fields = nullptr;
};

/// Leaves the last record current. Raises Error that says where the text is faulty: `lines.csv:3: kolicina:
/// "abc" is not a number`, with the line at which the record starts.
RecordSetFile ReadRecordSet(const FileText& file, const ReadOptions& options = {});

/// Appends the rows in the form of a record-set file, where they stand: nothing moves or is calculated.
void WriteRecordSet(const RecordSet& records, std::string& out);

/// Remembers which record a walk has come to, so that an error can say where it happened.
class WalkWatch {
 public:
  /// Called from the calculate-fields event of the walked set. What a walk visits while an error leaves it,
  /// to go back to where it began, does not count.
  void Visit(const RecordSetFile& file, const RecordSet& records);
  /// Has the set call Visit. The file must stay where it is.
  void Observe(RecordSetFile& file);
  /// "lines.csv:3", empty before the first record.
  std::string Where() const { return file_ == nullptr ? "" : file_->Where(record_); }
  /// Runs the walk; an error is raised again with the place, but for a field that the file lacks.
  void Run(const std::function<void()>& walk) const;

 private:
  const RecordSetFile* file_ = nullptr;
  std::size_t record_ = 0;
};

}  // namespace mox

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// A kind of file that a program writes, and how one is told from any other.
struct OutputKind {
  std::string_view name;  ///< "a list of faults", as messages have it
  /// Whether a file that begins so is of the kind. It is asked with the first 4096 bytes at most of a file
  /// that is not empty.
  bool (*begins)(std::string_view beginning);
  /// Whether a file that begins so is of the kind, where its beginning alone does not tell.
  bool (*is)(const std::string& path) = nullptr;
};

/// Writes the files that a user names for results, and sees to it that nothing else is lost: a result takes
/// the place of no file that the program works with, nor of a file that is not of its own kind. Files are
/// compared themselves and not by name, so a link to a database is the database.
class OutputFiles {
 public:
  /// A file that no result may replace, now or when it exists later; `what` says whose it is, "the company
  /// database". "-" (standard input) and an empty path mean no file.
  void Keep(const std::string& path, std::string what);

  /// Raises Error that says why a result of that kind may not be written there: one of the kept files, one
  /// that the database engine keeps beside a database, a folder, another kind of file. To be called before
  /// work whose result would be lost.
  void Require(const std::string& path, const OutputKind& kind) const;
  /// The same, and replaces the file as ReplaceFile does.
  void Write(const std::string& path, std::string_view bytes, const OutputKind& kind) const;

 private:
  struct Kept {
    std::string path;
    std::string what;
  };
  std::vector<Kept> kept_;
};

}  // namespace mox

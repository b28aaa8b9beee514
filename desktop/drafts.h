#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mox/documents/document.h"
#include "mox/foundation/file_lock.h"

namespace mox {

/// The file of a document that is not finished: it survives the program. While it is open no other window
/// takes it up.
class Draft {
 public:
  /// A new one among those of the company.
  static Draft Begin();
  /// Those of the company that no program has open, the oldest first.
  static std::vector<Draft> Abandoned();

  const std::string& Path() const { return path_; }
  void Save(const Document& document) const;
  /// Raises Error for a file that is no draft.
  Document Read() const;
  /// The document was stored, or is not wanted any more.
  void Remove();

 private:
  Draft(std::string path, FileLock lock) : path_(std::move(path)), lock_(std::move(lock)) {}
  std::string path_;
  FileLock lock_;
};

}  // namespace mox

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sheets/byte_source.h"

struct zip;

namespace mox {

/// The parts of a zip file in memory. What its parts expand to is bounded, by the size of the file and
/// altogether, so that a small file cannot fill the memory or keep a reader busy for hours.
class ZipPackage {
 public:
  /// The bytes must outlive the package. Raises Error that begins with the label where they are no zip file.
  ZipPackage(std::string_view bytes, std::string label);
  ~ZipPackage();
  ZipPackage(const ZipPackage&) = delete;
  ZipPackage& operator=(const ZipPackage&) = delete;

  /// Names of parts are compared without regard to letter case.
  bool Has(const std::string& name) const;
  /// Reads a part as a stream, which must not outlive the package. Raises Error naming it where it is
  /// missing, or protected by a password; its source where it is damaged or expands to too much.
  std::unique_ptr<ByteSource> Open(const std::string& name) const;
  /// A whole part of which the reader knows that it is small. Raises as its source does.
  std::string Read(const std::string& name) const;

  const std::string& Label() const { return label_; }
  /// Raises Error that says what is wrong with a part, and what the user can do.
  [[noreturn]] void Damaged(const std::string& part, const std::string& what) const;

 private:
  std::string label_;
  std::uint64_t most_;  // bytes that one part may expand to
  struct zip* archive_;
};

}  // namespace mox

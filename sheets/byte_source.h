#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace mox {

/// Bytes that come one block after the other.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  /// Reads up to `size` bytes, at least one unless the end is reached: then 0. Raises Error naming the source
  /// where it is damaged.
  virtual std::size_t Read(char* buffer, std::size_t size) = 0;
};

/// The bytes of a text in memory, which must outlive the source.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::string_view bytes) : rest_(bytes) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    const std::string_view block = rest_.substr(0, size);
    std::memcpy(buffer, block.data(), block.size());
    rest_.remove_prefix(block.size());
    return block.size();
  }

 private:
  std::string_view rest_;
};

}  // namespace mox

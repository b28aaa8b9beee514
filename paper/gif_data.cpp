#include "paper/gif_data.h"

#include <array>
#include <cstdint>
#include <string>

#include "mox/foundation/error.h"

namespace mox {
namespace {

[[noreturn]] void Refuse(const std::string& reason) {
  throw Error("the picture cannot be decoded: " + reason);
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  unsigned Byte() {
    if (at_ >= bytes_.size()) Refuse("it ends early");
    return static_cast<unsigned char>(bytes_[at_++]);
  }
  unsigned Word() {
    const unsigned low = Byte();
    return low | Byte() << 8U;
  }
  void Skip(std::size_t count) {
    if (count > bytes_.size() - at_) Refuse("it ends early");
    at_ += count;
  }
  // The colours that a byte of flags announces.
  void SkipColours(unsigned flags) {
    if ((flags & 0x80U) != 0) Skip(std::size_t{3} << ((flags & 7U) + 1));
  }
  void SkipBlocks() {
    while (const unsigned size = Byte()) Skip(size);
  }

 private:
  std::string_view bytes_;
  std::size_t at_ = 0;
};

// Codes of growing width out of blocks of bytes.
class Codes {
 public:
  explicit Codes(Reader& reader) : reader_(reader) {}

  unsigned Next(unsigned width) {
    while (count_ < width) {
      if (left_ == 0 && (left_ = reader_.Byte()) == 0) Refuse("its pixels end early");
      bits_ |= reader_.Byte() << count_;
      count_ += 8;
      --left_;
    }
    const unsigned code = bits_ & ((1U << width) - 1);
    bits_ >>= width;
    count_ -= width;
    return code;
  }

 private:
  Reader& reader_;
  unsigned left_ = 0;
  std::uint32_t bits_ = 0;
  unsigned count_ = 0;
};

// How many pixels codes stand for: each new one for those of the one before and one more.
void CountPixels(Reader& reader, std::uint64_t wanted) {
  constexpr unsigned kMostCodes = 4096;
  constexpr unsigned kWidest = 12;
  const unsigned least = reader.Byte();
  if (least < 1 || least > 8) Refuse("its codes are of " + std::to_string(least) + " bits");
  const unsigned clear = 1U << least;
  const unsigned end = clear + 1;
  std::array<std::uint32_t, kMostCodes> lengths{};
  for (unsigned code = 0; code < clear; ++code) lengths[code] = 1;
  unsigned next = end + 1;
  unsigned width = least + 1;
  unsigned before = kMostCodes;  // none
  Codes codes(reader);
  for (std::uint64_t pixels = 0; pixels < wanted;) {
    const unsigned code = codes.Next(width);
    if (code == clear) {
      next = end + 1;
      width = least + 1;
      before = kMostCodes;
      continue;
    }
    if (code == end) Refuse("it has " + std::to_string(pixels) + " of its pixels");
    const bool is_first = before == kMostCodes;
    if (code > next || (code == next && is_first) || (is_first && code > clear))
      Refuse("its codes are damaged");
    if (!is_first && next < kMostCodes) {
      lengths[next++] = lengths[before] + 1;
      if (next == 1U << width && width < kWidest) ++width;
    }
    if (code >= next) Refuse("its codes are damaged");
    pixels += lengths[code];
    before = code;
  }
}

}  // namespace

void RequireWholeGif(std::string_view bytes) {
  constexpr std::size_t kSignature = 6;
  constexpr unsigned kExtension = 0x21;
  constexpr unsigned kPicture = 0x2C;
  Reader reader(bytes);
  reader.Skip(kSignature);
  const unsigned width = reader.Word();
  const unsigned height = reader.Word();
  const unsigned flags = reader.Byte();
  reader.Skip(2);
  reader.SkipColours(flags);
  unsigned block = reader.Byte();
  for (; block == kExtension; block = reader.Byte()) {
    reader.Skip(1);
    reader.SkipBlocks();
  }
  if (block != kPicture) Refuse("it has no picture");
  const unsigned left = reader.Word();
  const unsigned top = reader.Word();
  const unsigned picture_width = reader.Word();
  const unsigned picture_height = reader.Word();
  if (left != 0 || top != 0 || picture_width != width || picture_height != height) {
    Refuse("it has " + std::to_string(picture_width) + " x " + std::to_string(picture_height) +
           " pixels, its header says " + std::to_string(width) + " x " + std::to_string(height));
  }
  reader.SkipColours(reader.Byte());
  CountPixels(reader, std::uint64_t{width} * height);
}

}  // namespace mox

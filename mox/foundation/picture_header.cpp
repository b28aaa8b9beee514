#include "mox/foundation/picture_header.h"

#include <cstddef>
#include <string>
#include <utility>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::size_t kMostBytes = 32'000'000;

[[noreturn]] void Refuse(const std::string& reason) { throw Error("the picture " + reason); }

unsigned ByteAt(std::string_view bytes, std::size_t at) {
  if (at >= bytes.size()) Refuse("ends within its header");
  return static_cast<unsigned char>(bytes[at]);
}

int BigEndian16(std::string_view bytes, std::size_t at) {
  return static_cast<int>(ByteAt(bytes, at) << 8U | ByteAt(bytes, at + 1));
}
int LittleEndian16(std::string_view bytes, std::size_t at) {
  return static_cast<int>(ByteAt(bytes, at + 1) << 8U | ByteAt(bytes, at));
}
int BigEndian32(std::string_view bytes, std::size_t at) {
  const auto high = static_cast<unsigned>(BigEndian16(bytes, at));
  if (high > 0x7FFF) Refuse("says a size that no picture has");
  return static_cast<int>(high << 16U | static_cast<unsigned>(BigEndian16(bytes, at + 2)));
}

PictureHeader ReadPng(std::string_view bytes) {
  constexpr std::string_view kFirstChunk("\0\0\0\x0DIHDR", 8);
  constexpr std::size_t kSignature = 8;
  BigEndian32(bytes, kSignature + kFirstChunk.size() + 4);
  if (bytes.substr(kSignature, kFirstChunk.size()) != kFirstChunk) Refuse("is a PNG without its header");
  const std::size_t at = kSignature + kFirstChunk.size();
  return {PictureKind::kPng, BigEndian32(bytes, at), BigEndian32(bytes, at + 4)};
}

PictureHeader ReadGif(std::string_view bytes) {
  return {PictureKind::kGif, LittleEndian16(bytes, 6), LittleEndian16(bytes, 8)};
}

// Numbers of a part of a header that says itself how it writes them. What is not there is none.
class ExifReader {
 public:
  explicit ExifReader(std::string_view tiff) : tiff_(tiff), little_(tiff.starts_with("II")) {}

  std::uint32_t Number(std::size_t at, std::size_t size) const {
    if (at > tiff_.size() || size > tiff_.size() - at) return 0;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t byte = at + (little_ ? size - 1 - i : i);
      number = number << 8U | static_cast<unsigned char>(tiff_[byte]);
    }
    return number;
  }

 private:
  std::string_view tiff_;
  bool little_;
};

// Of a segment that a camera has written; as it is stored where it says nothing, or nothing that makes sense.
int OrientationIn(std::string_view segment) {
  constexpr std::string_view kExif("Exif\0\0", 6);
  constexpr std::uint32_t kOrientation = 0x0112;
  constexpr std::uint32_t kShort = 3;
  constexpr std::size_t kEntrySize = 12;
  if (!segment.starts_with(kExif)) return kAsStored;
  const ExifReader exif(segment.substr(kExif.size()));
  const std::size_t directory = exif.Number(4, 4);
  const std::size_t entries = exif.Number(directory, 2);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t at = directory + 2 + i * kEntrySize;
    if (exif.Number(at, 2) != kOrientation) continue;
    const std::uint32_t said = exif.Number(at + 2, 2) == kShort ? exif.Number(at + 8, 2) : 0;
    return said >= 1 && said <= 8 ? static_cast<int>(said) : kAsStored;
  }
  return kAsStored;
}

bool IsFrame(unsigned marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// Segments follow each other until the one that says the size; what is before it is passed over by its
// length.
PictureHeader ReadJpeg(std::string_view bytes) {
  constexpr unsigned kStartOfScan = 0xDA;
  constexpr unsigned kOfCameras = 0xE1;
  int orientation = kAsStored;
  for (std::size_t at = 2;;) {
    if (ByteAt(bytes, at) != 0xFF) Refuse("is a damaged JPEG");
    while (ByteAt(bytes, at) == 0xFF) ++at;
    const unsigned marker = ByteAt(bytes, at++);
    const bool alone = marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8);
    if (alone) continue;
    const int length = BigEndian16(bytes, at);
    if (length < 2 || marker == 0xD9 || marker == 0x00) Refuse("is a damaged JPEG");
    const auto size = static_cast<std::size_t>(length);
    if (IsFrame(marker)) {
      PictureHeader header{PictureKind::kJpeg, BigEndian16(bytes, at + 5), BigEndian16(bytes, at + 3),
                           orientation};
      if (orientation > 4) std::swap(header.width, header.height);
      return header;
    }
    if (marker == kOfCameras && orientation == kAsStored && at + 2 < bytes.size()) {
      orientation = OrientationIn(bytes.substr(at + 2, size - 2));
    }
    if (marker == kStartOfScan) Refuse("is a JPEG that does not say its size");
    at += size;
  }
}

}  // namespace

std::string_view PictureKindName(PictureKind kind) {
  constexpr std::string_view kNames[] = {"JPEG", "PNG", "GIF"};
  return kNames[static_cast<std::size_t>(kind)];
}

PictureHeader ReadPictureHeader(std::string_view bytes) {
  constexpr std::string_view kPng("\x89PNG\r\n\x1A\n", 8);
  PictureHeader header;
  if (bytes.size() > kMostBytes) Refuse("has more than 32 MB");
  if (bytes.starts_with(kPng)) {
    header = ReadPng(bytes);
  } else if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) {
    header = ReadGif(bytes);
  } else if (bytes.starts_with("\xFF\xD8")) {
    header = ReadJpeg(bytes);
  } else {
    Refuse("is no JPEG, PNG or GIF");
  }
  const std::string size = std::to_string(header.width) + " x " + std::to_string(header.height) + " pixels";
  if (header.width == 0 || header.height == 0) Refuse("says that it has " + size);
  if (std::int64_t{header.width} * header.height > kMostPixels) Refuse("is too large: " + size);
  return header;
}

}  // namespace mox

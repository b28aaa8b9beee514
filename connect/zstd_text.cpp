#include "connect/zstd_text.h"

#include <zstd.h>

#include <algorithm>
#include <memory>
#include <new>

namespace mox {
namespace {

constexpr int kQuick = 1;
constexpr int kWindowLog = 23;  // 8 MB, what the quick levels use at most
constexpr std::size_t kPiece = 1U << 20U;

struct FreeStream {
  void operator()(ZSTD_DStream* stream) const { ::ZSTD_freeDStream(stream); }
};

}  // namespace

std::string Packed(std::string_view text) {
  std::string packed(::ZSTD_compressBound(text.size()), '\0');
  const std::size_t size = ::ZSTD_compress(packed.data(), packed.size(), text.data(), text.size(), kQuick);
  if (::ZSTD_isError(size) != 0) throw std::bad_alloc();
  packed.resize(size);
  return packed;
}

UnpackFault Unpack(std::string_view packed, std::size_t most,
                   const std::function<bool(std::size_t bytes)>& may_grow, std::string& text) {
  const std::unique_ptr<ZSTD_DStream, FreeStream> stream(::ZSTD_createDStream());
  if (stream == nullptr) return UnpackFault::kNoMemory;
  ::ZSTD_DCtx_setParameter(stream.get(), ZSTD_d_windowLogMax, kWindowLog);
  text.clear();
  ZSTD_inBuffer in{packed.data(), packed.size(), 0};
  std::size_t left_of_frame = 1;
  std::size_t used = 0;
  while (in.pos < in.size || left_of_frame != 0) {
    if (used == text.size()) {
      if (used == most + 1) return UnpackFault::kTooLarge;
      const std::size_t more = std::min(kPiece, most + 1 - used);
      if (!may_grow(more)) return UnpackFault::kNoMemory;
      text.resize(used + more);
    }
    ZSTD_outBuffer out{text.data(), text.size(), used};
    const std::size_t read_before = in.pos;
    left_of_frame = ::ZSTD_decompressStream(stream.get(), &out, &in);
    if (::ZSTD_isError(left_of_frame) != 0) return UnpackFault::kDamaged;
    if (in.pos == read_before && out.pos == used) return UnpackFault::kDamaged;  // it ends too early
    used = out.pos;
  }
  if (used > most) return UnpackFault::kTooLarge;
  text.resize(used);
  return UnpackFault::kNone;
}

}  // namespace mox

#pragma once

#include <gtest/gtest.h>
#include <zip.h>

#include <map>
#include <string>

#include "mox/foundation/files.h"
#include "tests/fakes/scratch_folder.h"

namespace mox {

using Parts = std::map<std::string, std::string>;

struct ZipWish {
  zip_int32_t compression = ZIP_CM_DEFLATE;
  const char* password = nullptr;  // that the parts are encrypted with
};

/// The bytes of a zip file of these parts.
inline std::string Zip(const Parts& parts, const ZipWish& wish = {}) {
  const ScratchFolder folder;
  const std::string path = folder / "parts.zip";
  zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE, nullptr);
  for (const auto& [name, bytes] : parts) {
    zip_source_t* const source = zip_source_buffer(archive, bytes.data(), bytes.size(), 0);
    const zip_int64_t index = zip_file_add(archive, name.c_str(), source, 0);
    EXPECT_GE(index, 0);
    const auto part = static_cast<zip_uint64_t>(index);
    zip_set_file_compression(archive, part, wish.compression, 0);
    if (wish.password != nullptr) zip_file_set_encryption(archive, part, ZIP_EM_TRAD_PKWARE, wish.password);
  }
  EXPECT_EQ(zip_close(archive), 0);
  return ReadWholeFile(path);
}

}  // namespace mox

#include "cli/file_digest.h"

#include <openssl/evp.h>

#include "mox/foundation/error.h"

namespace mox {

std::string Sha256(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr) != 1) {
    throw Error("SHA-256 is not available");
  }
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    text += "0123456789abcdef"[digest[i] / 16];
    text += "0123456789abcdef"[digest[i] % 16];
  }
  return text;
}

}  // namespace mox

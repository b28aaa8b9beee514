#include "moxd/passwords.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <semaphore>
#include <thread>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::size_t kTokenBytes = 32;
constexpr unsigned kMostCores = 64;

void RequireSodium() {
  static const bool ready = sodium_init() >= 0;
  if (!ready) throw Error("the library of passwords cannot be used on this computer");
}

// Memory and cores are taken by so many checks at a time only.
class PasswordTurn {
 public:
  PasswordTurn() { Turns().acquire(); }
  ~PasswordTurn() { Turns().release(); }
  PasswordTurn(const PasswordTurn&) = delete;
  PasswordTurn& operator=(const PasswordTurn&) = delete;

 private:
  static std::counting_semaphore<kMostCores>& Turns() {
    static std::counting_semaphore<kMostCores> turns(
        static_cast<std::ptrdiff_t>(std::clamp(std::thread::hardware_concurrency(), 1U, kMostCores)));
    return turns;
  }
};

template <std::size_t N>
std::string Base64(const std::array<unsigned char, N>& bytes, int variant) {
  std::string text(sodium_base64_encoded_len(N, variant), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), N, variant);
  text.pop_back();  // the NUL character
  return text;
}

}  // namespace

std::string HashPassword(std::string_view password, PasswordCost cost) {
  RequireSodium();
  const PasswordTurn turn;
  std::array<char, crypto_pwhash_STRBYTES> kept{};
  if (crypto_pwhash_str_alg(kept.data(), password.data(), password.size(), cost.passes, cost.memory,
                            crypto_pwhash_ALG_ARGON2ID13) != 0) {
    throw Error("there is no memory to check passwords with");
  }
  return kept.data();
}

bool IsPassword(std::string_view kept, std::string_view password) {
  RequireSodium();
  const PasswordTurn turn;
  return crypto_pwhash_str_verify(std::string(kept).c_str(), password.data(), password.size()) == 0;
}

std::string UnknownPassword(PasswordCost cost) {
  RequireSodium();
  std::array<unsigned char, crypto_pwhash_SALTBYTES> salt{};
  std::array<unsigned char, 32> digest{};
  randombytes_buf(salt.data(), salt.size());
  randombytes_buf(digest.data(), digest.size());
  constexpr int kVariant = sodium_base64_VARIANT_ORIGINAL_NO_PADDING;
  return std::string(crypto_pwhash_STRPREFIX) + "v=19$m=" + std::to_string(cost.memory / 1024) +
         ",t=" + std::to_string(cost.passes) + ",p=1$" + Base64(salt, kVariant) + "$" +
         Base64(digest, kVariant);
}

bool HasOtherCost(std::string_view kept, PasswordCost cost) {
  RequireSodium();
  return crypto_pwhash_str_needs_rehash(std::string(kept).c_str(), cost.passes, cost.memory) != 0;
}

std::string NewToken() {
  RequireSodium();
  std::array<unsigned char, kTokenBytes> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  return Base64(bytes, sodium_base64_VARIANT_URLSAFE_NO_PADDING);
}

std::string DigestOf(std::string_view text) {
  RequireSodium();
  std::array<unsigned char, crypto_generichash_BYTES> digest{};
  crypto_generichash(digest.data(), digest.size(), reinterpret_cast<const unsigned char*>(text.data()),
                     text.size(), nullptr, 0);
  std::string hex(2 * digest.size() + 1, '\0');
  sodium_bin2hex(hex.data(), hex.size(), digest.data(), digest.size());
  hex.pop_back();
  return hex;
}

}  // namespace mox

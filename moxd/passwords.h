#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

// Passwords by argon2id (RFC 9106), tokens, and digests of what only its owner is to know.

/// How dear each check of a password is.
struct PasswordCost {
  std::uint64_t passes = 0;
  std::size_t memory = 0;  ///< bytes
};

/// The text that is kept of a password: a salt of its own, the cost and the digest. Raises Error where the
/// memory cannot be had.
std::string HashPassword(std::string_view password, PasswordCost cost);
/// Whether a kept text is of this password. Takes the cost that the text says; as many threads at a time as
/// there are cores, others wait.
bool IsPassword(std::string_view kept, std::string_view password);
/// A kept text that no password belongs to, for whoever must take the time of a check.
std::string UnknownPassword(PasswordCost cost);
/// Whether a kept text was made at another cost.
bool HasOtherCost(std::string_view kept, PasswordCost cost);

/// 256 random bits as 43 letters, digits, '-' and '_'.
std::string NewToken();
/// BLAKE2b of 256 bits, in hexadecimal digits.
std::string DigestOf(std::string_view text);

}  // namespace mox

#include "cli/secret_input.h"

#include "cli/record_set_file.h"

namespace mox {

std::string ReadSecret(const std::string& path, Session& session) {
  const std::string bytes = ReadFileText(path, session.in).bytes;
  std::string secret = bytes.substr(0, bytes.find('\n'));
  if (secret.ends_with('\r')) secret.pop_back();
  session.secrets.Add(secret);
  return secret;
}

}  // namespace mox

#include "cli/secret_input.h"

#include "cli/record_set_file.h"
#include "connect/hidden_input.h"

namespace mox {

std::string ReadSecret(const std::string& path, Session& session) {
  std::string secret = FirstLine(ReadFileText(path, session.in).bytes);
  session.secrets.Add(secret);
  return secret;
}

}  // namespace mox

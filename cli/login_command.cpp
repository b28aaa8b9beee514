#include <filesystem>
#include <istream>
#include <memory>
#include <ostream>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/progress_bar.h"
#include "cli/secret_input.h"
#include "connect/hidden_input.h"
#include "connect/login_store.h"
#include "connect/open_company.h"
#include "connect/server_connection.h"
#include "mox/host/system_platform.h"

namespace mox {
namespace {

struct LoginArguments {
  std::string address;
  std::string user;
  std::string ca_file;
  std::string password_file;
};

ServerAddress AddressArgument(const std::string& text) {
  try {
    return ServerAddress::Parse(text);
  } catch (const Error& error) {
    throw UsageError("\"" + text + "\": " + error.what());
  }
}

// The first line of the file, of standard input, or what is typed at a terminal.
std::string ReadPassword(const LoginArguments& arguments, Session& session) {
  std::string password;
  if (arguments.password_file.empty() && IsTerminal(session.in)) {
    const HiddenInput hidden;
    session.err << "Password: " << std::flush;
    std::getline(session.in, password);
    session.err << std::endl;
  } else if (arguments.password_file.empty()) {
    std::getline(session.in, password);
    password = FirstLine(password);
  } else {
    password = ReadSecret(arguments.password_file, session);
  }
  if (password.empty()) throw Error("the password is missing");
  session.secrets.Add(password);
  return password;
}

void RunLogin(const LoginArguments& arguments, Session& session) {
  const ServerAddress address = AddressArgument(arguments.address);
  const std::string user = arguments.user.empty() ? LoginName() : arguments.user;
  const std::string ca_file = arguments.ca_file.empty()
                                  ? ""
                                  : std::filesystem::absolute(arguments.ca_file).lexically_normal().string();
  LoginStore store(SystemPlatform::UserStateFolder());
  const StoredLogin login = ServerConnection::LogIn(address, user, ReadPassword(arguments, session), ca_file);
  store.Keep(address.server, login);
  session.err << "mox: logged in at " << address.server << " as " << user << std::endl;
}

// The session is forgotten here whatever the server says of it.
void RunLogout(const LoginArguments& arguments, Session& session) {
  const ServerAddress address = AddressArgument(arguments.address);
  LoginStore store(SystemPlatform::UserStateFolder());
  const auto login = store.Find(address.server);
  if (!login) throw Error(address.server + ": not logged in");
  store.Forget(address.server);
  try {
    ServerConnection::LogOut(address, *login);
  } catch (const Error& error) {
    throw Error("the session was forgotten here, and stays good on the server until it expires: " +
                std::string(error.what()));
  }
  session.err << "mox: logged out at " << address.server << std::endl;
}

void DeclareLogin(Options& options) {
  auto arguments = std::make_shared<LoginArguments>();
  options.RequiredArgument("ADDRESS", arguments->address, "the server, https://HOST or https://HOST:PORT");
  options.Value("--user", arguments->user, "NAME",
                "the account; the name of this computer's user where it is left out");
  options.Value(
      "--ca", arguments->ca_file, "FILE",
      "the certificate of the authority that vouches for the server, PEM;\nthose of the system where it is "
      "left out. It is remembered");
  options.Value(
      "--password-file", arguments->password_file, "FILE",
      "the password, its first line; asked at a terminal, else read from\nstandard input where it is left "
      "out");
  options.Run([arguments](Session& session) { RunLogin(*arguments, session); });
}

void DeclareLogout(Options& options) {
  auto arguments = std::make_shared<LoginArguments>();
  options.RequiredArgument("ADDRESS", arguments->address, "the server, https://HOST or https://HOST:PORT");
  options.Run([arguments](Session& session) { RunLogout(*arguments, session); });
}

}  // namespace

const Command kLoginCommand = {"login",
                               "ADDRESS [--user NAME] [--ca FILE] [--password-file FILE]",
                               "Begin a session with an application server.",
                               R"(Examples:
  mox login https://posluzitelj.example --user ana
  mox login https://posluzitelj.example:8443 --user ana --ca ustanova.pem --password-file lozinka.txt

From then on --server https://posluzitelj.example/trgovina stands wherever --db can. The session is kept in a file of yours that
nobody else may read (~/.local/state/mox/logins.json), until mox logout or until it expires.)",
                               DeclareLogin,
                               false};

const Command kLogoutCommand = {"logout",    "ADDRESS",     "End a session with an application server.",
                                R"(Example:
  mox logout https://posluzitelj.example)", DeclareLogout, false};

}  // namespace mox

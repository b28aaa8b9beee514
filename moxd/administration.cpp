#include "moxd/administration.h"

#include <algorithm>
#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <span>

#include "appserver/database.h"
#include "connect/hidden_input.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts.h"
#include "moxd/administration_internal.h"
#include "moxd/companies_administration.h"

namespace mox {
namespace {

constexpr int kDone = 0;
constexpr int kRefused = 1;
constexpr int kWrongUsage = 2;

constexpr std::string_view kUsage = R"(       moxd user add NAME [--code CODE] [--password-file FILE]
                                      add a user; CODE names him in documents, at most five characters
       moxd user password NAME [--password-file FILE]
                                      change a password; the user's log-ins end
       moxd user disable NAME         shut a user out at once; enable NAME lets him in again
       moxd user list
       moxd grant USER COMPANY ROLE...   the roles of a user in a company, in place of those he had; none takes
                                      them away: citanje, unos, maticni, uvoz, administracija
       moxd grant list
       moxd token list                who is logged in, since when and from where
       moxd token revoke NUMBER | USER
       moxd journal list              who changed users, roles, log-ins and companies, here and over the
                                      network, and what was refused
       moxd journal logins            who logged in and out, when and from where, and who was refused
       moxd company add NAME ADDRESS  serve a company: the file of its database, or its address
       moxd company address NAME ADDRESS
       moxd company remove NAME       serve it no longer; its database stays
       moxd company list
       moxd company load FILE         take NAME = ADDRESS from each line, all or none; - is standard input
       moxd company move NAME ADDRESS [--as USER] [--from ADDRESS]
                                      move a company to another PostgreSQL server while it is in use, or go on
                                      where that was interrupted; USER may copy between the servers; --from is
                                      the old server as the new one reaches it
       moxd company move NAME --back  take a move back that was interrupted

A password is asked for on a terminal, else it is the first line of standard input or of FILE.
)";

using Call = AdministrationCall;

std::string Moment(UnixSeconds seconds) {
  std::string text = FormatIsoDateTime(DateTime{seconds * 1000});
  std::replace(text.begin(), text.end(), 'T', ' ');
  return text + " UTC";
}

// --- passwords ---

constexpr const char* kPasswordFile = "--password-file";

std::string ReadPassword(Call& call) {
  if (call.options.contains(kPasswordFile)) return FirstLine(ReadWholeFile(call.Option(kPasswordFile)));
  std::string password;
  if (!call.streams.is_terminal) {
    std::getline(call.streams.in, password);
    return FirstLine(password);
  }
  const HiddenInput hidden;
  const auto ask = [&](std::string_view question) {
    call.streams.err << question << std::flush;
    std::string typed;
    std::getline(call.streams.in, typed);
    call.streams.err << '\n';
    return typed;
  };
  password = ask("password: ");
  if (ask("again: ") != password) throw Error("the two passwords are not the same");
  return password;
}

// --- the commands ---

void AddUser(Call& call) {
  const std::string code = call.accounts.AddUser(call.words[0], ReadPassword(call), call.Option("--code"));
  call.streams.out << "the code in documents is " << code << '\n';
}

void ChangePassword(Call& call) { call.accounts.SetPassword(call.words[0], ReadPassword(call)); }
void Disable(Call& call) { call.accounts.SetDisabled(call.words[0], true); }
void Enable(Call& call) { call.accounts.SetDisabled(call.words[0], false); }

void ListUsers(Call& call) {
  std::vector<std::vector<std::string>> rows = {{"user", "code", "since", "state"}};
  for (const UserInfo& user : call.accounts.Users()) {
    rows.push_back({user.name, user.code, Moment(user.created), user.disabled ? "disabled" : "enabled"});
  }
  PrintTable(call.streams.out, rows);
}

void Grant(Call& call) {
  std::vector<const Role*> roles;
  for (auto word = call.words.begin() + 2; word != call.words.end(); ++word) {
    const Role* const role = FindRole(*word);
    if (role == nullptr) throw Error("there is no role " + InQuotes(*word));
    roles.push_back(role);
  }
  call.accounts.Grant(call.words[0], call.words[1], roles);
}

void ListGrants(Call& call) {
  std::vector<std::vector<std::string>> rows = {{"user", "company", "roles"}};
  for (const GrantInfo& grant : call.accounts.Grants()) {
    std::string roles;
    for (const Role* const role : grant.roles) roles.append(roles.empty() ? "" : ", ").append(role->name);
    rows.push_back({grant.user, grant.company, roles});
  }
  PrintTable(call.streams.out, rows);
}

void ListTokens(Call& call) {
  std::vector<std::vector<std::string>> rows = {{"number", "user", "issued", "last used", "until", "from"}};
  for (const TokenInfo& token : call.accounts.Tokens()) {
    rows.push_back({std::to_string(token.id), token.user, Moment(token.issued), Moment(token.last_used),
                    Moment(token.expires), token.remote_address});
  }
  PrintTable(call.streams.out, rows);
}

void ListJournal(Call& call) {
  std::vector<std::vector<std::string>> rows = {{"when", "by", "company", "user", "change", "refused"}};
  for (const JournalledChange& change : call.accounts.Journal()) {
    rows.push_back(
        {Moment(change.at), change.by, change.company, change.user, change.change, change.refused});
  }
  PrintTable(call.streams.out, rows);
}

void ListLogIns(Call& call) {
  std::vector<std::vector<std::string>> rows = {{"when", "user", "from", "what"}};
  for (const JournalledLogIn& log_in : call.accounts.LogIns()) {
    rows.push_back({Moment(log_in.at), log_in.user, log_in.remote_address, log_in.what});
  }
  PrintTable(call.streams.out, rows);
}

void Revoke(Call& call) {
  const std::string& which = call.words[0];
  const bool is_number = which.size() < 19 &&
                         std::all_of(which.begin(), which.end(), [](char c) { return c >= '0' && c <= '9'; });
  const auto users = call.accounts.Users();
  const bool is_user = std::any_of(
      users.begin(), users.end(), [&](const UserInfo& user) { return EqualsIgnoringCase(user.name, which); });
  if (is_number && !is_user) return call.accounts.RevokeToken(std::stoll(which));
  const std::int64_t ended = call.accounts.RevokeTokensOf(which);
  call.streams.out << ended << (ended == 1 ? " log-in" : " log-ins") << " ended\n";
}

struct Action {
  std::string_view noun;
  std::string_view verb;  // empty for the one that has none
  std::size_t fewest;     // words behind them
  std::size_t most;
  std::string_view options;  // each behind a blank; '!' behind one that has no value
  void (*run)(Call& call);
};

constexpr Action kActions[] = {{"user", "add", 1, 1, " --code --password-file ", AddUser},
                               {"user", "password", 1, 1, " --password-file ", ChangePassword},
                               {"user", "disable", 1, 1, "", Disable},
                               {"user", "enable", 1, 1, "", Enable},
                               {"user", "list", 0, 0, "", ListUsers},
                               {"grant", "list", 0, 0, "", ListGrants},
                               {"grant", "", 2, 2 + 5, "", Grant},
                               {"token", "list", 0, 0, "", ListTokens},
                               {"token", "revoke", 1, 1, "", Revoke},
                               {"journal", "list", 0, 0, "", ListJournal},
                               {"journal", "logins", 0, 0, "", ListLogIns},
                               {"company", "add", 2, 2, "", AddCompany},
                               {"company", "address", 2, 2, "", ChangeAddress},
                               {"company", "remove", 1, 1, "", RemoveCompany},
                               {"company", "list", 0, 0, "", ListCompanies},
                               {"company", "load", 1, 1, "", LoadCompanies},
                               {"company", "move", 1, 2, " --as --from --back! ", MoveCompany}};

const Action* FindAction(std::span<const std::string> words) {
  for (const Action& action : kActions) {
    const bool fits =
        words[0] == action.noun && (action.verb.empty() || (words.size() > 1 && words[1] == action.verb));
    if (fits) return &action;
  }
  return nullptr;
}

// False where an option is not the action's, is twice there or has no value.
bool TakeOptions(const Action& action, std::span<const std::string> words, Call& call) {
  const auto takes = [&](const std::string& option) {
    return action.options.find(" " + option + " ") != std::string_view::npos;
  };
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (!word->starts_with("--")) {
      call.words.push_back(*word);
      continue;
    }
    const bool is_plain = takes(*word + "!");
    if (!is_plain && (!takes(*word) || word + 1 == words.end())) return false;
    const std::string& name = *word;
    if (!call.options.emplace(name, is_plain ? std::string() : *++word).second) return false;
  }
  return call.words.size() >= action.fewest && call.words.size() <= action.most;
}

}  // namespace

// Rows under their heading, each column as wide as its widest text.
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], CountCharacters(row[i]));
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) line.append(widths[i] - CountCharacters(row[i]) + 2, ' ');
    }
    out << line << '\n';
  }
}

std::string_view AdministrationUsage() { return kUsage; }

bool IsAdministration(std::string_view word) {
  return std::any_of(std::begin(kActions), std::end(kActions),
                     [word](const Action& action) { return action.noun == word; });
}

int RunAdministration(Accounts& accounts, const std::vector<std::string>& words,
                      AdministrationStreams& streams) {
  const Action* const action = words.empty() ? nullptr : FindAction(words);
  Call call{accounts, {}, {}, streams};
  const std::size_t own = action == nullptr || action->verb.empty() ? 1 : 2;
  if (action == nullptr || !TakeOptions(*action, std::span(words).subspan(own), call)) {
    streams.err << "moxd: this is not understood\nusage:\n" << kUsage;
    return kWrongUsage;
  }
  try {
    action->run(call);
    return kDone;
  } catch (const DatabaseUnavailable&) {
    throw;
  } catch (const Error& error) {
    streams.err << "moxd: " << error.what() << '\n';
    return kRefused;
  }
}

}  // namespace mox

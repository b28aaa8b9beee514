#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/rights.h"

namespace mox {

/// Seconds since 1970, UTC.
using UnixSeconds = std::int64_t;
using UnixClock = std::function<UnixSeconds()>;
UnixSeconds SystemSeconds();

/// What the accounts are held to. The defaults are for use; tests make passwords cheap and times short.
struct AccountSettings {
  /// Of argon2id: passes over the memory, and bytes of memory of each one that is checked.
  std::uint64_t password_passes = 2;
  std::size_t password_memory = 64U << 20U;
  /// A token ends so long after its last use, and so long after its log-in whatever its use; seconds.
  std::int64_t idle_time = std::int64_t{12} * 3600;
  std::int64_t longest_time = std::int64_t{30} * 24 * 3600;
  /// Failed attempts in a row that cost no waiting. Each further one doubles the wait, from two seconds on to
  /// the longest one. After a day without one they are forgotten; a success forgets those of its account.
  std::int64_t free_attempts_of_account = 5;
  std::int64_t free_attempts_of_address = 50;
  std::int64_t longest_wait = std::int64_t{15} * 60;
  /// Of log-ins and log-outs the journal keeps the last ones, and none that are older; seconds.
  std::int64_t kept_log_ins = 100'000;
  std::int64_t kept_log_in_time = std::int64_t{366} * 24 * 3600;
};

/// What an attempt to log in came to.
struct LogInResult {
  enum class Outcome : std::uint8_t {
    kLoggedIn,
    kRefused,  ///< no such user, a wrong password or a disabled account; which of them is not told
    kWait      ///< too many failed attempts; the password was not looked at, or what it came to is not told
  };
  Outcome outcome = Outcome::kRefused;
  std::string token = {};         ///< 43 letters, digits, '-' and '_'; of kLoggedIn
  UnixSeconds expires = 0;        ///< at the latest; of kLoggedIn
  std::int64_t wait_seconds = 0;  ///< of kWait
};

/// Who asks, and what that user may do in the company that was asked for.
struct AccountSession {
  std::string user;  ///< the name of the account
  std::string code;  ///< by which documents name the user, at most five characters
  /// None where the user has no role there, or there is no such company: which of them is not to be told.
  Rights rights = {};
  std::string address = {};  ///< of the company's database; empty where there are no rights
  /// Whether the journal of the company's database lacks changes of its users.
  bool journal_waits = false;
};

struct UserInfo {
  std::string name;
  std::string code;
  bool disabled = false;
  UnixSeconds created = 0;
};
struct GrantInfo {
  std::string user;
  std::string company;
  std::vector<const Role*> roles;
};
struct TokenInfo {
  std::int64_t id = 0;
  std::string user;
  UnixSeconds issued = 0;
  UnixSeconds last_used = 0;  ///< to the minute
  UnixSeconds expires = 0;    ///< unless it is not used for so long
  std::string remote_address;
};
struct CompanyInfo {
  std::string name;
  std::string address;
};

/// A user with roles in a company, as its administrators see him.
struct CompanyUser {
  std::string name;
  std::string code;
  bool disabled = false;
  std::vector<const Role*> roles;
  /// That have not ended; none told of who is a user of other companies, too.
  std::optional<std::int64_t> log_ins;
};

/// A change of a company's users that its administrator asks for over the network.
struct UserChange {
  std::string by;  ///< the name of the administrator's account
  std::string company;
  std::string key = {};      ///< under which it is carried out once; empty is none
  bool rehearses = false;    ///< to be taken back in the end
  std::string request = {};  ///< by which one under its key is told from another
};
/// One that was asked for, here or over the network.
struct JournalledChange {
  UnixSeconds at = 0;
  std::string by;
  std::string company;  ///< empty where it is none's
  std::string user;     ///< empty where it is none's
  std::string change;   ///< "uloge: unos, uvoz", for people
  std::string refused;  ///< why; empty where it was made
};
/// A log-in, a log-out, or an attempt at a log-in that was refused.
struct JournalledLogIn {
  UnixSeconds at = 0;
  std::string user;  ///< empty where nobody has the name that was given, since it may be a password
  std::string remote_address;
  std::string what;  ///< "odbijeno: kriva lozinka", for people
};
/// A change of a company's users that the journal of its own database does not have yet.
struct WaitingChange {
  std::int64_t id = 0;
  std::string transaction;
  std::string key;
  JournalledChange change;
};

enum class MoveEnd : std::uint8_t { kMoved, kTakenBack };

/// A company on its way to another database, from the beginning until nothing of it is left at the old place.
struct MoveInfo {
  std::string from;
  std::string to;
  std::string id;  ///< 16 small letters and digits
};

/// Users, their roles in companies, and the addresses of the companies' databases, in a directory database of
/// its own: a file, or wherever a company database can be. Several programs may use one directory at the same
/// time, and each sees at once what another one changed.
///
/// An object is used by one thread at a time: each worker opens its own. Checking a password takes a core and
/// `password_memory` for a tenth of a second; all objects of a program together check at most as many at a
/// time as there are cores, further ones wait in LogIn. All others take well under a millisecond.
///
/// Names of users and companies are compared without regard to letter case. What is asked of the directory
/// raises DatabaseUnavailable where it fails; LogIn, SessionOf, LogOut and AddressOf raise nothing else,
/// whatever they are given.
class Accounts {
 public:
  /// Makes an empty directory. Raises DatabaseError, also where there is something already.
  static void Create(const std::string& location);
  /// Opens one. Raises DatabaseError.
  explicit Accounts(const std::string& location, AccountSettings settings = {},
                    UnixClock clock = SystemSeconds);
  ~Accounts();
  Accounts(Accounts&&) noexcept;
  Accounts& operator=(Accounts&&) noexcept;

  // --- requests ---

  /// `remote_address` is that of the client, as inet_ntop writes it; attempts are counted for each IPv4
  /// address and each IPv6 network of 64 bits. Takes the same time for a user that does not exist.
  LogInResult LogIn(std::string_view user, std::string_view password, std::string_view remote_address);
  /// Nothing for a token that does not exist, has expired or was revoked, or whose account is disabled.
  std::optional<AccountSession> SessionOf(std::string_view token, std::string_view company);
  /// Ends a token. False where it was none.
  bool LogOut(std::string_view token, std::string_view remote_address);
  /// Where a company's database is; nothing where there is no such company.
  std::optional<std::string> AddressOf(std::string_view company);

  // --- administration; what is refused raises Error that says why; both are journalled ---

  /// Who changes what follows, for the journal.
  void ActAs(std::string_view who);

  /// A name has 1 to 64 characters, none of them a control character, no blanks at its ends; a password 8 to
  /// 1024 bytes. `code` has at most five characters; where it is empty it is made of the name.
  /// Answers it: no two users have the same.
  std::string AddUser(std::string_view name, std::string_view password, std::string_view code = {});
  /// Also ends the account's tokens.
  void SetPassword(std::string_view name, std::string_view password);
  /// A disabled account's tokens end; its roles stay for when it is enabled.
  void SetDisabled(std::string_view name, bool disabled);
  std::vector<UserInfo> Users();

  /// The roles stand in the place of those that the user had in the company; none takes them away.
  void Grant(std::string_view user, std::string_view company, const std::vector<const Role*>& roles);
  std::vector<GrantInfo> Grants();

  // --- the users of one company, for its administrators; both are kept under their key ---

  /// Who has roles there, by name.
  std::vector<CompanyUser> UsersOf(std::string_view company);
  /// Grant() in the name of an administrator. Refused besides where the roles are others than `known`, those
  /// that the administrator was shown, and where nobody who may log in would administer the company any more.
  /// A key that was that of another change raises KeyReused. A rehearsal for somebody without a role there is
  /// refused, so that it does not tell which users the server has.
  void ChangeRoles(const UserChange& change, std::string_view user, const std::vector<const Role*>& roles,
                   const std::optional<std::vector<const Role*>>& known = {});
  /// Ends the log-ins of a user of the company. Refused for one who has roles in others, too, since a log-in
  /// is good for all of them.
  void EndLogIns(const UserChange& change, std::string_view user);
  /// Journals what a user asked for and was refused before it came to one of these: nothing where the same
  /// was journalled within the last minute, or where the directory cannot be written now.
  void NoteRefused(const UserChange& change, std::string_view transaction, std::string_view why);
  /// Those of all, the last one first.
  std::vector<JournalledChange> Journal();
  /// Likewise. Attempts that had to wait are not among them: the password was not looked at.
  std::vector<JournalledLogIn> LogIns();
  /// Those that a company's own journal lacks, the first one first and a thousand at most, and that it has
  /// got those up to one.
  std::vector<WaitingChange> WaitingFor(std::string_view company);
  void NoteTaken(std::string_view company, std::int64_t last);

  /// Those that have not expired.
  std::vector<TokenInfo> Tokens();
  void RevokeToken(std::int64_t id);
  /// Answers how many there were.
  std::int64_t RevokeTokensOf(std::string_view user);

  /// A name is one that IsCompanyName() takes, since it stands in addresses of requests.
  /// An address is a file's path or that of a database: what DatabaseLocation takes.
  void AddCompany(std::string_view name, std::string_view address);
  /// Adds those that are new and gives the others their addresses, all or none; others stay as they are.
  /// Answers how many were new or got another address.
  std::int64_t TakeCompanies(const std::vector<CompanyInfo>& companies);
  /// Of a company that is not being moved; neither is one that is removed.
  void SetAddress(std::string_view company, std::string_view address);
  /// The company's database stays as it is; who had roles there has them no longer.
  void RemoveCompany(std::string_view name);
  std::vector<CompanyInfo> Companies();

  std::optional<MoveInfo> MoveOf(std::string_view company);
  /// Notes that a company is on its way.
  MoveInfo BeginMove(std::string_view company, std::string_view to);
  /// Its address is the new one from now on; nothing where it is so already.
  void NameNewPlace(std::string_view company);
  void EndMove(std::string_view company, MoveEnd how);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mox

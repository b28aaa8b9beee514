#include "moxd/directory_services.h"

#include <optional>
#include <string>
#include <vector>

#include "appserver/requester.h"
#include "appserver/write_journal.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/text.h"
#include "moxd/accounts_internal.h"

namespace mox {
namespace {

constexpr std::string_view kRecords = "adsKorisnik";

// The codes of roles, as a version of what somebody was shown.
std::string VersionOf(const std::vector<const Role*>& roles) {
  std::string codes;
  for (const Role* const role : roles) codes.append(codes.empty() ? "" : ",").append(role->code);
  return codes.empty() ? "-" : codes;
}

// The only record of a request. Raises Error for any other.
RecordSet SentUser(const TAstaParamList& request) {
  TAstaParamList sent = TAstaParamList::FromTokenizedString(request[0].AsTextView());
  RecordSet records = std::move(sent.ParamByName(kRecords).AsDataSet());
  if (records.RowCount() != 1 || sent.Count() != 1) throw Error("one record of adsKorisnik is taken");
  return records;
}

// Empty where there is no such field or no value.
std::string TextOf(const RecordSet& user, std::string_view field) {
  const auto index = user.FindFieldIndex(field);
  return index ? user.RowAt(0).AsText(*index) : std::string();
}

std::vector<const Role*> SentRoles(const RecordSet& user) {
  std::vector<const Role*> roles;
  for (const Role& role : Roles()) {
    const auto index = user.FindFieldIndex(role.code);
    if (index && !user.RowAt(0).IsNull(*index) && user.RowAt(0).AsBoolean(*index)) roles.push_back(&role);
  }
  return roles;
}

std::optional<std::vector<const Role*>> KnownRoles(const RecordSet& user) {
  const std::string version = TextOf(user, "verzija");
  if (version.empty()) return std::nullopt;
  std::vector<const Role*> roles;
  for (const Role& role : Roles()) {
    const std::string code = "," + std::string(role.code) + ",";
    if (("," + version + ",").find(code) != std::string::npos) roles.push_back(&role);
  }
  return roles;
}

}  // namespace

TAstaParamList AnswerOfDirectory(Accounts& accounts, std::string_view company) {
  RecordSet users("adsKorisnici");
  for (FieldDef& column : DirectoryColumns(DirectoryServices()[0])) users.DefineField(std::move(column));
  users.Open();
  for (const CompanyUser& user : accounts.UsersOf(company)) {
    std::vector<Value> values = {user.name, user.code};
    Rights granted;
    for (const Role* const role : user.roles) granted.Add(role->right);
    for (const Role& role : Roles()) values.emplace_back(granted.Has(role.right));
    values.push_back(user.log_ins ? Value(*user.log_ins) : Value());
    values.emplace_back(user.disabled);
    values.emplace_back(VersionOf(user.roles));
    users.AppendRecord(values);
  }
  TAstaParamList answer;
  answer.FastAdd("adsKorisnici", std::move(users));
  return answer;
}

WriteOutcome WriteToDirectory(Accounts& accounts, const UserChange& change, const TAstaParamList& request) {
  WriteOutcome outcome;
  outcome.transaction = request[0].Name();
  UserChange asked = change;
  asked.request = request[0].AsTextView();
  try {
    std::string name;
    RecordSet user;
    try {
      user = SentUser(request);
      name = TrimBlanks(TextOf(user, "ime"));
    } catch (const Error& error) {
      accounts.NoteRefused(asked, outcome.transaction, error.what());
      throw;
    }
    if (outcome.transaction == kLogInsTransaction) {
      accounts.EndLogIns(asked, name);
    } else {
      accounts.ChangeRoles(asked, name, SentRoles(user), KnownRoles(user));
    }
    outcome.committed = true;
  } catch (const DatabaseUnavailable&) {
    throw;
  } catch (const KeyReused&) {
    throw;
  } catch (const Error& error) {
    outcome.failure = {outcome.transaction, std::string(kRecords), 1, "ime", error.what()};
  }
  return outcome;
}

void TakeOverChanges(Accounts& accounts, const std::string& company, Database& database) {
  const std::vector<WaitingChange> waiting = accounts.WaitingFor(company);
  if (waiting.empty()) return;
  std::vector<ServerChange> changes;
  changes.reserve(waiting.size());
  for (const WaitingChange& one : waiting) {
    const JournalledChange& change = one.change;
    const std::string what = change.user.empty() ? change.change : change.user + ": " + change.change;
    // Nobody can send such a key, which has a blank.
    changes.push_back(
        {LocalTimeOf(change.at), change.by, one.transaction, what, change.refused, "posluzitelj " + one.key});
  }
  JournalServerChanges(database, changes);
  accounts.NoteTaken(company, waiting.back().id);
}

}  // namespace mox

#include "moxd/directory_services.h"

#include <optional>
#include <string>
#include <vector>

#include "appserver/requester.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kRecords = "adsKorisnik";
constexpr std::string_view kEndLogIns = "KorisnikPrijaveKraj";

constexpr ServiceInfo kServices[] = {
    {"Posluzitelj\\Korisnici", Right::kAdminister, "", "adsKorisnici",
     "the users of the company on its server: their roles, whether they are shut out, and how many log-ins "
     "they have"}};
constexpr ServiceInfo kTransactions[] = {
    {"KorisnikUlogeUpis", Right::kAdminister, kRecords, "",
     "the roles of a user in the company, in the place of those that he had"},
    {kEndLogIns, Right::kAdminister, kRecords, "", "ends the log-ins of a user of the company"}};

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

std::span<const ServiceInfo> DirectoryServices() { return kServices; }
std::span<const ServiceInfo> DirectoryTransactions() { return kTransactions; }

TAstaParamList AnswerOfDirectory(Accounts& accounts, std::string_view company) {
  RecordSet users("adsKorisnici");
  for (const char* const field : {"ime", "oznaka"}) users.DefineField(field, FieldKind::kText);
  for (const Role& role : Roles()) users.DefineField(role.code, FieldKind::kBoolean);
  users.DefineField("prijava", FieldKind::kInteger);
  users.DefineField("iskljucen", FieldKind::kBoolean);
  users.DefineField("verzija", FieldKind::kText);
  users.Open();
  for (const CompanyUser& user : accounts.UsersOf(company)) {
    std::vector<Value> values = {user.name, user.code};
    Rights granted;
    for (const Role* const role : user.roles) granted.Add(role->right);
    for (const Role& role : Roles()) values.emplace_back(granted.Has(role.right));
    values.emplace_back(user.log_ins);
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
  try {
    const RecordSet user = SentUser(request);
    const std::string name(TrimBlanks(TextOf(user, "ime")));
    if (SameName(outcome.transaction, kEndLogIns)) {
      accounts.EndLogIns(change, name);
    } else {
      accounts.ChangeRoles(change, name, SentRoles(user), KnownRoles(user));
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

}  // namespace mox

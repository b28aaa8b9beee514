#include "appserver/company_data.h"

#include <algorithm>
#include <array>

#include "appserver/e_invoice.h"
#include "appserver/fold.h"
#include "mox/codes/control_digits.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/secrets.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

constexpr std::string_view kFeatureGroup = "mogućnost";
constexpr std::string_view kAdditionalGroup = "dodatni parametar";
constexpr std::string_view kAccountGroup = "e-račun";

// What documents that leave the house say of the company.
constexpr std::string_view kNames[] = {"NazivPoduzeca", "OIBPoduzeca", "AdresaPoduzeca", "MjestoPoduzeca"};

// --- what a value must be ---

std::string AnyText(std::string_view /*value*/) { return {}; }

// The message without its line break.
std::string OibFault(std::string_view value) {
  std::string fault = CheckOIBvalidity(value);
  if (const std::size_t at = fault.find("\r\n"); at != std::string::npos) fault.replace(at, 2, " ");
  return fault;
}

std::string WholeFault(std::string_view value, std::int64_t least, std::int64_t most) {
  try {
    const std::int64_t number = ParseInteger(value);
    if (number >= least && number <= most) return {};
  } catch (const Error&) {
    // said below
  }
  return InQuotes(value) + " is not a whole number from " + std::to_string(least) + " to " +
         std::to_string(most);
}

// More decimals than an amount has make no difference.
std::string DigitsFault(std::string_view value) { return WholeFault(value, 0, 4); }
std::string YearFault(std::string_view value) { return WholeFault(value, 1900, 9999); }

std::string FactorFault(std::string_view value) {
  try {
    if (ParseNumber(value) > 0) return {};
  } catch (const Error&) {
    // said below
  }
  return InQuotes(value) + " is not a number above 0 with a decimal point";
}

std::string ReferenceFault(std::string_view value) {
  return value == "OIB" || value == "BROJ" ? std::string() : InQuotes(value) + " is neither OIB nor BROJ";
}

std::string FlagFault(std::string_view value) {
  return SameName(value, "true") || SameName(value, "false") ? std::string()
                                                             : InQuotes(value) + " is neither true nor false";
}

constexpr CompanyParameter kParameters[] = {
    {"NazivPoduzeca", "the company's name", AnyText},
    {"OIBPoduzeca", "its identification number", OibFault},
    {"AdresaPoduzeca", "its street and house number", AnyText},
    {"MjestoPoduzeca", "its post code and place", AnyText},
    {"PdviCalcDigit", "the decimals of tax amounts, at least 2", DigitsFault},
    {"FaktorEura", "kunas for one euro", FactorFault},
    {"TipPozivaNaBrojPutnika", "the payment reference of travellers, OIB or BROJ", ReferenceFault},
    {"RadnaGodina", "the working year; the current one where it is empty", YearFault},
    {"override_constraints", "true lets dates of the future pass after a warning", FlagFault},
    {"PrimkaDocDobInZTI", "true counts dependent costs into a supplier's document", FlagFault},
};

// --- what is stored ---

struct StoredPlace {
  std::string_view table;
  std::string_view name;
  std::string_view value;
  std::string_view group;
};
constexpr StoredPlace kPlaces[] = {{"parametri_poduzeca", "naziv", "vrijednost", kCompanyGroup},
                                   {"dodatne_mogucnosti", "code", "allow", kFeatureGroup},
                                   {"dodatni_parametri", "naziv", "vrijednost", kAdditionalGroup}};

RecordSet ReadPlace(Database& database, const StoredPlace& place) {
  const bool is_flag = place.value == "allow";
  return database.Query(
      "parametri",
      ParseColumns(is_flag ? "naziv,vrijednost:boolean,opis,id:integer" : "naziv,vrijednost,opis,id:integer"),
      "SELECT " + std::string(place.name) + ", " + std::string(place.value) + ", opis, id FROM " +
          std::string(place.table) + " ORDER BY id");
}

// The row of a parameter; none where there is no such one.
std::optional<RecordRow> FindName(const RecordSet& rows, std::string_view name) {
  for (const RecordRow& row : rows.Rows()) {
    if (SameName(row.AsTextView(0), name)) return row;
  }
  return std::nullopt;
}

bool IsControlCharacter(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }

void CheckValue(std::string_view name, std::string_view value) {
  constexpr std::size_t kMost = 255;
  if (!IsValidUtf8(value)) throw Error("the text is not valid UTF-8");
  if (std::any_of(value.begin(), value.end(), IsControlCharacter))
    throw Error("the text holds a control character");
  if (CountCharacters(value) > kMost) throw Error("the text is longer than 255 characters");
  for (const CompanyParameter& parameter : kParameters) {
    if (value.empty() || !SameName(parameter.name, name)) continue;
    if (const std::string fault = parameter.fault(value); !fault.empty()) throw Error(fault);
  }
}

std::optional<std::int64_t> FindId(Database& database, const std::string& sql, const std::string& value) {
  const RecordSet rows = database.Query("row", ParseColumns("id:integer"), sql, {value});
  return rows.IsEmpty() ? std::nullopt : std::optional(rows.AsInteger(0));
}

std::int64_t RequireIbanRow(Database& database, const std::string& iban) {
  if (const auto id = FindId(database, "SELECT id FROM poduzece_ibani WHERE iban = :iban", iban)) return *id;
  throw Error("the company has no account " + iban);
}

// Null where no text is given.
Value FindNamed(Database& database, std::string_view what, const std::string& sql, std::string_view text) {
  if (TrimBlanks(text).empty()) return {};
  if (const auto id = FindId(database, sql, FoldKey(text))) return *id;
  throw Error("there is no " + std::string(what) + " " + InQuotes(text));
}

}  // namespace

std::span<const CompanyParameter> CompanyParameterTable() { return kParameters; }

CompanyData::CompanyData(Database& database) : database_(database) { Reload(); }

void CompanyData::Set(std::string_view assignment) {
  parameters_.SetAssignment(assignment);
  const std::size_t equals = assignment.find('=');
  const std::string_view name = TrimBlanks(assignment.substr(0, equals));
  const auto same = [name](const auto& set) { return SameName(set.first, name); };
  std::erase_if(set_, same);
  set_.emplace_back(name, assignment.substr(equals + 1));
}

void CompanyData::Reload() {
  const RecordSet stored = ReadPlace(database_, kPlaces[0]);
  parameters_ = {};
  for (const RecordRow& row : stored.Rows()) parameters_.Set(row.AsTextView(0), row.AsTextView(1));
  for (const auto& [name, value] : set_) parameters_.Set(name, value);
}

const std::string* CompanyData::FindSet(std::string_view name) const {
  const auto same = [name](const auto& set) { return SameName(set.first, name); };
  const auto found = std::find_if(set_.begin(), set_.end(), same);
  return found == set_.end() ? nullptr : &found->second;
}

std::optional<std::string> CompanyData::Parameter(std::string_view name) const {
  std::string text;
  if (const std::string* const set = FindSet(name)) {
    text = *set;
  } else {
    const RecordSet stored = ReadPlace(database_, kPlaces[0]);
    if (const auto row = FindName(stored, name)) text = row->AsTextView(1);
  }
  if (TrimBlanks(text).empty()) return std::nullopt;
  return text;
}

std::optional<bool> CompanyData::Feature(std::string_view code) const {
  if (const std::string* const set = FindSet(code)) return ToBoolean(Value(*set));
  const RecordSet stored = ReadPlace(database_, kPlaces[1]);
  const auto row = FindName(stored, code);
  return row ? std::optional(row->AsBoolean(1)) : std::nullopt;
}

// A set value stands in place of the stored one.
void CompanyData::AppendRow(RecordSet& answer, std::vector<Value> row) const {
  if (const std::string* const set = FindSet(std::get<std::string>(row[0]))) row[1] = *set;
  answer.AppendRecord(row);
}

void CompanyData::AppendAdditional(RecordSet& answer) const {
  const RecordSet stored =
      database_.Query("parametri", ParseColumns("naziv,vrijednost,opis"),
                      "SELECT naziv, vrijednost, opis FROM dodatni_parametri ORDER BY naziv");
  for (const RecordRow& row : stored.Rows()) {
    AppendRow(answer, {row.AsVariant(0), row.AsVariant(1), row.AsVariant(2)});
  }
}

void CompanyData::AppendAll(RecordSet& answer) const {
  for (const StoredPlace& place : kPlaces) {
    const RecordSet stored = ReadPlace(database_, place);
    for (const RecordRow& row : stored.Rows()) {
      Value value = row.AsVariant(1);
      if (const bool* const flag = std::get_if<bool>(&value)) value = std::string(*flag ? "true" : "false");
      AppendRow(answer, {row.AsVariant(0), value, row.AsVariant(2), std::string(place.group)});
    }
  }
  for (const AccountField& field : AccountFields()) {
    const RecordSet stored = database_.Query(
        "racun", ParseColumns(field.is_flag ? "vrijednost:boolean" : "vrijednost"),
        "SELECT " + std::string(field.column) + " FROM integracije_racuni WHERE user_id = ''");
    Value value = stored.IsEmpty() ? Value() : stored.AsVariant(0);
    if (field.is_flag) value = std::string(stored.AsBoolean(0) ? "true" : "false");
    if (field.is_secret) value = std::string(stored.AsText(0).empty() ? "" : "(postavljen)");
    if (auto* const text = std::get_if<std::string>(&value)) {
      Secrets secrets;
      secrets.AddThoseOf(*text);
      *text = secrets.Blanked(*text);
    }
    answer.AppendRecord(
        {std::string(field.name), value, std::string(field.summary), std::string(kAccountGroup)});
  }
}

void CompanyData::RequireNamed() const {
  RequireCompanyNamed([this](std::string_view name) { return Parameter(name).has_value(); });
}

void RequireCompanyNamed(const std::function<bool(std::string_view name)>& is_set) {
  std::string missing;
  for (const std::string_view name : kNames) {
    if (!is_set(name)) missing.append(missing.empty() ? "" : " ").append(name).append("=...");
  }
  if (missing.empty()) return;
  throw Error("the company is not named yet; set it first: mox company set " + missing);
}

std::string CompanyData::RequireIban() const {
  const RecordSet main = database_.Query("iban", ParseColumns("iban"),
                                         "SELECT iban FROM poduzece_ibani ORDER BY glavni DESC, id LIMIT 1");
  if (main.IsEmpty())
    throw Error("the company has no bank account yet; add it first: mox company iban add IBAN");
  return main.AsText(0);
}

// --- storing ---

void StoreCompanyValue(Database& database, std::string_view name, std::string_view value) {
  value = TrimBlanks(value);
  CheckValue(name, value);
  for (const AccountField& field : AccountFields()) {
    if (SameName(field.name, name)) return StoreAccountField(database, field, Value(std::string(value)));
  }
  for (const StoredPlace& place : kPlaces) {
    const RecordSet stored = ReadPlace(database, place);
    const auto row = FindName(stored, name);
    if (!row) continue;
    const bool is_flag = place.value == "allow";
    if (is_flag) {
      if (const std::string fault = FlagFault(value); !fault.empty()) throw Error(fault);
    }
    const Value sent = is_flag         ? Value(SameName(value, "true"))
                       : value.empty() ? Value()
                                       : Value(std::string(value));
    database.Execute("UPDATE " + std::string(place.table) + " SET " + std::string(place.value) +
                         " = :value WHERE id = :id",
                     {sent, row->AsInteger(3)});
    return;
  }
  throw Error("there is no parameter of that name");
}

std::string NormalIban(std::string_view text) {
  std::string iban;
  for (const char c : text) {
    if (c != ' ') iban += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  if (iban.starts_with("IBAN")) iban.erase(0, 4);
  constexpr std::size_t kLongest = 34;
  if (iban.size() > kLongest || !CheckIBANvalidity(iban))
    throw Error("the IBAN " + InQuotes(text) + " is not valid");
  return iban;
}

void AddCompanyIban(Database& database, std::string_view text, std::string_view bank,
                    std::string_view currency) {
  const std::string iban = NormalIban(text);
  if (FindId(database, "SELECT id FROM poduzece_ibani WHERE iban = :iban", iban)) {
    throw Error("the company has the account " + iban + " already");
  }
  const Value bank_id = FindNamed(database, "bank", "SELECT id FROM banke WHERE fold(naziv) = :naziv", bank);
  const Value currency_id =
      FindNamed(database, "currency", "SELECT id FROM valuta WHERE fold(oznaka) = :oznaka", currency);
  database.Execute(
      "INSERT INTO poduzece_ibani (iban, banka_id, valuta_id, glavni) "
      "VALUES (:iban, :banka_id, :valuta_id, NOT EXISTS (SELECT 1 FROM poduzece_ibani))",
      {iban, bank_id, currency_id});
}

void MakeCompanyIbanMain(Database& database, std::string_view text) {
  const std::int64_t id = RequireIbanRow(database, NormalIban(text));
  database.Execute("UPDATE poduzece_ibani SET glavni = (id = :id)", {id});
}

void RemoveCompanyIban(Database& database, std::string_view text) {
  const std::string iban = NormalIban(text);
  const std::int64_t id = RequireIbanRow(database, iban);
  const RecordSet row = database.Query(
      "iban", ParseColumns("others:boolean,slip"),
      "SELECT glavni AND EXISTS (SELECT 1 FROM poduzece_ibani o WHERE o.id <> i.id), "
      "(SELECT MIN(naziv) FROM virman WHERE iban_id = i.id) FROM poduzece_ibani i WHERE i.id = :id",
      {id});
  if (row.AsBoolean(0)) {
    throw Error(iban +
                " is the main account; make another one the main one first: mox company iban main IBAN");
  }
  if (!row.IsNull(1)) throw Error(iban + " is used by the payment slip " + InQuotes(row.AsText(1)));
  database.Execute("DELETE FROM poduzece_ibani WHERE id = :id", {id});
}

}  // namespace mox

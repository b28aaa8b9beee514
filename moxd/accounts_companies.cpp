#include <algorithm>

#include "connect/server_address.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"

namespace mox {

void RequireText(std::string_view what, std::string_view text, std::size_t longest) {
  const bool plain = !text.empty() && TrimBlanks(text) == text && VisibleText(text) == text;
  if (plain && CountCharacters(text) <= longest) return;
  throw Error(std::string(what) + " " + InQuotes(text) + " does not have 1 to " + std::to_string(longest) +
              " characters without control characters and blanks at its ends");
}

std::int64_t RequireCompany(Database& database, std::string_view name) {
  const auto id = FindCompany(database, name);
  if (!id) throw Error("there is no company " + InQuotes(name));
  return *id;
}

namespace {

constexpr std::size_t kLongestAddress = 1000;

void RequireCompanyName(std::string_view name) {
  if (IsCompanyName(name)) return;
  throw Error(InQuotes(name) + ": " + std::string(kCompanyNameRule));
}

void RequireAddress(std::string_view address) {
  RequireText("the address", address, kLongestAddress);
  static_cast<void>(DatabaseLocation(address));
}

}  // namespace

void RequireCompany(const CompanyInfo& company) {
  RequireCompanyName(company.name);
  RequireAddress(company.address);
}

namespace {

std::optional<MoveInfo> FindMove(Database& database, std::int64_t company) {
  const RecordSet rows = database.Query(
      "selidbe", ParseColumns("sa_adrese,na_adresu,oznaka"),
      "SELECT sa_adrese, na_adresu, oznaka FROM imenik_selidbe WHERE poduzece_id = :id", {company});
  if (rows.IsEmpty()) return std::nullopt;
  return MoveInfo{std::string(rows.AsTextView(0)), std::string(rows.AsTextView(1)),
                  std::string(rows.AsTextView(2))};
}

void RequireAtRest(Database& database, std::int64_t company, std::string_view name) {
  if (const auto move = FindMove(database, company)) {
    throw Error("the company " + InQuotes(name) + " is being moved to " +
                DatabaseLocation(move->to).ToString() + "; moxd company move ends that, or takes it back");
  }
}

std::string AddressOfCompany(Database& database, std::int64_t company) {
  const RecordSet found = database.Query("adresa", ParseColumns("adresa"),
                                         "SELECT adresa FROM imenik_poduzeca WHERE id = :id", {company});
  return found.IsEmpty() ? std::string() : std::string(found.AsTextView(0));
}

void WriteAddress(Database& database, std::int64_t company, std::string_view address) {
  database.Execute("UPDATE imenik_poduzeca SET adresa = :adresa WHERE id = :id",
                   {std::string(address), company});
}

// An address without its password; whatever it is.
std::string Shown(std::string_view address) {
  try {
    return DatabaseLocation(address).ToString();
  } catch (const Error&) {
    return "?";
  }
}

DirectoryChange CompanyChange(std::string_view company, std::string what, std::string by = {}) {
  return {.by = std::move(by), .company = std::string(company), .change = std::move(what)};
}

void Insert(Database& database, std::string_view name, std::string_view address) {
  database.Execute("INSERT INTO imenik_poduzeca (naziv, adresa) VALUES (:naziv, :adresa)",
                   {std::string(name), std::string(address)});
}

}  // namespace

void Accounts::AddCompany(std::string_view name, std::string_view address) {
  const auto check = [&] { RequireCompany({std::string(name), std::string(address)}); };
  state_->Change(CompanyChange(name, "dodano: " + Shown(address)), check, [&](Database& database) {
    if (FindCompany(database, name)) throw Error("there is a company " + InQuotes(name) + " already");
    Insert(database, name, address);
  });
}

std::int64_t Accounts::TakeCompanies(const std::vector<CompanyInfo>& companies) {
  const auto check = [&] {
    for (const CompanyInfo& company : companies) RequireCompany(company);
  };
  const std::string what = "popis poduzeća: " + std::to_string(companies.size());
  return state_->Change(CompanyChange({}, what), check, [&](Database& database) {
    std::int64_t changed = 0;
    for (const CompanyInfo& company : companies) {
      const auto id = FindCompany(database, company.name);
      if (id && AddressOfCompany(database, *id) == company.address) continue;
      ++changed;
      Note(database, CompanyChange(company.name, "popis: " + Shown(company.address), state_->by),
           state_->now());
      if (!id) {
        Insert(database, company.name, company.address);
        continue;
      }
      RequireAtRest(database, *id, company.name);
      WriteAddress(database, *id, company.address);
    }
    return changed;
  });
}

void Accounts::SetAddress(std::string_view company, std::string_view address) {
  const auto check = [&] { RequireAddress(address); };
  state_->Change(CompanyChange(company, "adresa: " + Shown(address)), check, [&](Database& database) {
    const std::int64_t id = RequireCompany(database, company);
    RequireAtRest(database, id, company);
    WriteAddress(database, id, address);
  });
}

void Accounts::RemoveCompany(std::string_view name) {
  state_->Change(CompanyChange(name, "uklonjeno"), [&](Database& database) {
    const std::int64_t id = RequireCompany(database, name);
    RequireAtRest(database, id, name);
    database.Execute("UPDATE imenik_dnevnik SET za_poduzece = NULL WHERE za_poduzece = :id", {id});
    database.Execute("DELETE FROM imenik_uloge WHERE poduzece_id = :id", {id});
    database.Execute("DELETE FROM imenik_poduzeca WHERE id = :id", {id});
  });
}

std::vector<CompanyInfo> Accounts::Companies() {
  return state_->With([](Database& database) {
    const RecordSet rows = database.Query("poduzeca", ParseColumns("naziv,adresa"),
                                          "SELECT naziv, adresa FROM imenik_poduzeca ORDER BY fold(naziv)");
    std::vector<CompanyInfo> companies;
    for (const RecordRow& row : rows.Rows()) {
      companies.push_back({std::string(row.AsTextView(0)), std::string(row.AsTextView(1))});
    }
    return companies;
  });
}

// --- moves ---

std::optional<MoveInfo> Accounts::MoveOf(std::string_view company) {
  return state_->With(
      [&](Database& database) { return FindMove(database, RequireCompany(database, company)); });
}

MoveInfo Accounts::BeginMove(std::string_view company, std::string_view to) {
  constexpr std::size_t kIdLength = 16;
  const std::string move = DigestOf(NewToken()).substr(0, kIdLength);
  const auto check = [&] { RequireAddress(to); };
  return state_->Change(CompanyChange(company, "selidba na " + Shown(to)), check, [&](Database& database) {
    const std::int64_t id = RequireCompany(database, company);
    RequireAtRest(database, id, company);
    MoveInfo begun{AddressOfCompany(database, id), std::string(to), move};
    database.Execute(
        "INSERT INTO imenik_selidbe (poduzece_id, sa_adrese, na_adresu, oznaka) "
        "VALUES (:poduzece, :sa, :na, :oznaka)",
        {id, begun.from, begun.to, begun.id});
    return begun;
  });
}

void Accounts::NameNewPlace(std::string_view company) {
  state_->Write([&](Database& database) {
    const std::int64_t id = RequireCompany(database, company);
    const auto move = FindMove(database, id);
    if (!move || AddressOfCompany(database, id) == move->to) return;
    Note(database, CompanyChange(company, "preseljeno", state_->by), state_->now());
    WriteAddress(database, id, move->to);
  });
}

void Accounts::EndMove(std::string_view company, MoveEnd how) {
  const char* const what = how == MoveEnd::kMoved ? "selidba završena" : "selidba vraćena";
  state_->Change(CompanyChange(company, what), [&](Database& database) {
    database.Execute("DELETE FROM imenik_selidbe WHERE poduzece_id = :id",
                     {RequireCompany(database, company)});
  });
}

}  // namespace mox

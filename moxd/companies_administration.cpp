#include "moxd/companies_administration.h"

#include <algorithm>
#include <filesystem>
#include <istream>
#include <iterator>
#include <set>

#include "appserver/fold.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"
#include "moxd/move_company.h"

namespace mox {
namespace {

// The server finds a file wherever it is started itself. Raises Error for a file that is not there, and for
// no address.
std::string AddressOf(std::string_view text) {
  if (text.empty() || !DatabaseLocation(text).IsFile()) return std::string(text);
  const std::filesystem::path file = std::filesystem::absolute(text).lexically_normal();
  std::error_code failed;
  if (std::filesystem::is_regular_file(file, failed)) return file.string();
  throw Error(InQuotes(file.string()) +
              ": there is no such file; mox db init makes the database of a company");
}

// "NAME = ADDRESS" lines; empty ones and those that begin with '#' say nothing. Raises Error with all that is
// wrong, a line each.
std::vector<CompanyInfo> ReadCompanies(std::string_view text, const std::string& label) {
  std::vector<CompanyInfo> companies;
  std::set<std::string> names;
  std::string faults;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = TrimBlanks(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.starts_with('#')) continue;
    const std::size_t equals = std::min(line.find('='), line.size());
    CompanyInfo company{std::string(TrimBlanks(line.substr(0, equals))),
                        std::string(TrimBlanks(line.substr(std::min(equals + 1, line.size()))))};
    try {
      if (equals == line.size()) throw Error(InQuotes(line) + " is not NAME = ADDRESS");
      RequireCompany(company);
      company.address = AddressOf(company.address);
      if (!names.insert(FoldKey(company.name)).second)
        throw Error(InQuotes(company.name) + " is there twice");
      companies.push_back(std::move(company));
    } catch (const Error& error) {
      faults.append(faults.empty() ? "" : "\nmoxd: ").append(label).append(":");
      faults.append(std::to_string(number)).append(": ").append(error.what());
    }
  }
  if (!faults.empty()) throw Error(faults);
  return companies;
}

}  // namespace

void AddCompany(AdministrationCall& call) {
  call.accounts.AddCompany(call.words[0], AddressOf(call.words[1]));
}
void ChangeAddress(AdministrationCall& call) {
  call.accounts.SetAddress(call.words[0], AddressOf(call.words[1]));
}
void RemoveCompany(AdministrationCall& call) { call.accounts.RemoveCompany(call.words[0]); }

void ListCompanies(AdministrationCall& call) {
  std::vector<std::vector<std::string>> rows = {{"company", "address"}};
  for (const CompanyInfo& company : call.accounts.Companies()) {
    const auto move = call.accounts.MoveOf(company.name);
    const std::string moving = move ? ", being moved to " + DatabaseLocation(move->to).ToString() : "";
    rows.push_back({company.name, DatabaseLocation(company.address).ToString() + moving});
  }
  PrintTable(call.streams.out, rows);
}

void LoadCompanies(AdministrationCall& call) {
  const std::string& file = call.words[0];
  const bool is_input = file == "-";
  const std::string text =
      is_input ? std::string(std::istreambuf_iterator<char>(call.streams.in), {}) : ReadWholeFile(file);
  const std::vector<CompanyInfo> companies = ReadCompanies(text, is_input ? "standard input" : file);
  const std::int64_t changed = call.accounts.TakeCompanies(companies);
  call.streams.out << companies.size() << " companies, " << changed << " of them new or changed\n";
}

void MoveCompany(AdministrationCall& call) {
  const MoveWish wish{.user = call.Option("--as"), .reached = call.Option("--from")};
  const std::string& company = call.words[0];
  const auto tell = [&call](const MoveNews& news) { call.streams.out << news.text << std::endl; };
  if (call.options.contains("--back")) {
    if (call.words.size() > 1) throw Error("--back takes a move back, wherever it goes to");
    return TakeMoveBack(call.accounts, company, wish, tell);
  }
  if (call.words.size() < 2) throw Error("where is " + InQuotes(company) + " to be moved to?");
  MoveCompanyTo(call.accounts, company, call.words[1], wish, tell);
}

}  // namespace mox

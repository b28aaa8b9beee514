// Makes a directory for tests: directory_tool DIRECTORY USER PASSWORD ROLE COMPANY=ADDRESS...
// Prints a request that stores an invoice: directory_tool --invoice
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/host/memory_settings.h"
#include "mox/server/transactions.h"
#include "moxd/accounts.h"

namespace {

std::string InvoiceRequest() {
  mox::MemorySettings settings;
  mox::CompanyServer server(mox::Database::InMemory());
  const mox::ScopedApp app({.ini = &settings, .comunication = &server});
  mox::Document document("gotovinski-racun-usluga");
  document.SetHeader("datum", *mox::MakeDate(2024, 3, 1));
  mox::RecordSet& lines = *document.Services();
  lines.Append();
  for (const auto& [name, value] : {std::pair("kolicina", 1), {"mpc", 10}, {"tbr_stp", 25}}) {
    lines.FieldByName(name).SetFloat(value);
  }
  lines.Post();
  const std::vector<mox::RecordSet*> sets = document.StoreRequest();
  const std::vector<const mox::RecordSet*> sent(sets.begin(), sets.end());
  return mox::WriteRequest("DokumentInsert", sent).AsTokenizedString(false);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kFirstCompany = 5;
  if (argc == 2 && std::string_view(argv[1]) == "--invoice") {
    std::fputs(InvoiceRequest().c_str(), stdout);
    return 0;
  }
  if (argc <= kFirstCompany) return 2;
  try {
    mox::AccountSettings cheap;
    cheap.password_passes = 1;
    cheap.password_memory = 8192;
    mox::Accounts::Create(argv[1]);
    mox::Accounts accounts(argv[1], cheap);
    accounts.AddUser(argv[2], argv[3]);
    for (int i = kFirstCompany; i < argc; ++i) {
      const std::string word = argv[i];
      const std::size_t equals = word.find('=');
      const std::string company = word.substr(0, equals);
      accounts.AddCompany(company, word.substr(equals + 1));
      accounts.Grant(argv[2], company, {mox::FindRole(argv[4])});
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "directory_tool: %s\n", error.what());
    return 1;
  }
  return 0;
}

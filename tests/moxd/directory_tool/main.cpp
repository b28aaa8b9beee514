// Makes a directory for tests: directory_tool DIRECTORY USER PASSWORD ROLE COMPANY=ADDRESS...
#include <cstdio>
#include <exception>
#include <string>

#include "moxd/accounts.h"

int main(int argc, char** argv) {
  constexpr int kFirstCompany = 5;
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

#include <iostream>

#include "appserver/company_server.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/app.h"

int main() {
  mox::Database::Create("tvrtka.db");
  mox::CompanyServer server(mox::Database("tvrtka.db"));
  mox::ScopedApp app({.comunication = &server});
  std::cout << "rate " << mox::GetTecajByOznakaValute(*mox::MakeDate(2022, 12, 31), "EUR") << "\n";
}

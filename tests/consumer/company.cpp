#include <iostream>

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/foundation/app.h"
#include "mox/host/memory_settings.h"

int main() {
  mox::Database::Create("tvrtka.db");
  mox::CompanyServer server(mox::Database("tvrtka.db"));
  mox::MemorySettings settings;
  mox::ScopedApp app({.ini = &settings, .comunication = &server});
  mox::Document invoice("gotovinski-racun");
  mox::RecordSet& goods = *invoice.Goods();
  goods.Append();
  goods.FieldByName("naziv").SetText("Vijak M3");
  goods.Set(mox::field::kolicina, 3);
  goods.Set(mox::field::pc, mox::Currency::Parse("0.99"));
  goods.Set(mox::field::tbr_stp, 25);
  goods.Post();
  if (!invoice.Store()) return 1;
  for (const mox::RecordRow& line : goods.Rows()) {
    std::cout << line.AsText(line.IndexOf("naziv")) << ": " << line[mox::field::ukupno].ToString() << "\n";
  }
  mox::RecordSet& taxes = *invoice.Recapitulation();
  std::cout << "base " << taxes[mox::field::osnovica].ToString() << ", tax "
            << taxes[mox::field::porez].ToString() << ", to be paid " << invoice.ToBePaid()->ToString()
            << ", stored as " << server.LastWrite().stored->AsText(0) << "\n";
}

#include <iostream>

#include "mox/documents/document.h"
#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"

int main() {
  mox::MemorySettings settings;
  mox::CompanyParameterModule company;
  mox::ScopedApp app({.ini = &settings, .comunication = &company});

  mox::Document invoice("gotovinski-racun");
  mox::RecordSet& goods = *invoice.Goods();
  goods.Append();
  goods.FieldByName("naziv").SetText("Vijak M3");
  goods.Set(mox::field::kolicina, 3);
  goods.Set(mox::field::pc, mox::Currency::Parse("0.99"));
  goods.Set(mox::field::tbr_stp, 25);
  goods.Post();
  invoice.Recapitulate();

  for (const mox::RecordRow& line : goods.Rows()) {
    std::cout << line.AsText(line.IndexOf("naziv")) << ": " << line[mox::field::ukupno].ToString() << "\n";
  }
  mox::RecordSet& taxes = *invoice.Recapitulation();                // a row for each rate
  std::cout << "base " << taxes[mox::field::osnovica].ToString()    // 2.98
            << ", tax " << taxes[mox::field::porez].ToString()      // 0.74
            << ", total " << invoice.ToBePaid()->ToString()         // 3.72
            << ", rounding " << goods[mox::field::rbi3].ToString()  // -0.01
            << "\n";
}

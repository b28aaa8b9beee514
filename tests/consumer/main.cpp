#include <iostream>

#include "mox/calculations/document_lines.h"
#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"
#include "mox/host/memory_settings.h"

int main() {
  mox::MemorySettings settings;
  mox::ScopedApp app({.ini = &settings});

  mox::RecordSet lines;
  for (auto name : {"kolicina", "rbp1", "rbp2", "rbp3", "tbr_stp"}) {
    lines.DefineField(name, mox::FieldKind::kFloat);
  }
  for (auto name : {"pc", "pov_nak"}) lines.DefineField(name, mox::FieldKind::kCurrency);
  for (auto name : {"pci", "rbi1", "rbi2", "rbi3", "rabatIznos", "pov_naki", "mpc", "mpci", "osnovica",
                    "pdvi", "ukupno"}) {
    lines.DefineField({.name = name, .kind = mox::FieldKind::kCurrency, .calculated = true});
  }
  lines.SetOnCalcFields([](mox::RecordSet& line) { mox::GotovinskiRacunStavkeCalcFields(line, 2); });
  lines.Open();

  lines.Append();
  lines.Set(mox::field::kolicina, 3);
  lines.Set(mox::field::pc, mox::Currency::Parse("0.99"));
  lines.Set(mox::field::tbr_stp, 25);
  lines.Post();

  std::cout << "base " << lines[mox::field::osnovica].ToString()    // 2.98
            << ", tax " << lines[mox::field::pdvi].ToString()       // 0.74
            << ", total " << lines[mox::field::ukupno].ToString()   // 3.72
            << ", rounding " << lines[mox::field::rbi3].ToString()  // -0.01
            << "\n";
}

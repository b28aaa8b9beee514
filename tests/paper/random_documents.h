#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/documents/storno.h"
#include "mox/host/memory_settings.h"
#include "paper/page.h"
#include "tests/fakes/record_sets.h"
#include "tests/paper/made_up_seller.h"

namespace mox {

/// A company of its own in memory, and documents of all kinds in it whose lines are as users enter them.
class RandomDocuments : public testing::Test {
 protected:
  RandomDocuments() {
    Database& database = server_.database();
    MakeUpSeller(database);
    database.Execute(
        "INSERT INTO par (sifra, naziv, oib, adresa, email) "
        "VALUES ('1', 'Čašćenje i žđer d.o.o.', '98765432106', 'Šetalište 3', 'kupac@primjer.hr')");
  }

  std::int64_t Between(std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution<std::int64_t>(least, most)(engine_);
  }

  /// Prices and amounts of up to four decimals, usual rates; in a kind that cancels others all quantities are
  /// below 0.
  double ValueOf(const VocabularyEntry& entry, bool cancels) {
    constexpr double kRates[] = {0, 5, 13, 25};
    if (entry.name == field::tbr_stp.text) return kRates[Between(0, 3)];
    switch (entry.measure) {
      case Measure::kQuantity:
        return static_cast<double>(Between(1, 20'000)) / (cancels ? -1000 : 1000);
      case Measure::kPercent:
        return Between(0, 1) == 0 ? 0 : static_cast<double>(Between(0, 400)) / 10;
      default:
        return static_cast<double>(Between(0, 5'000'000)) / 10'000;
    }
  }

  void Fill(RecordSet& lines, std::int64_t count, bool cancels) {
    for (std::int64_t line = 1; line <= count; ++line) {
      lines.Append();
      lines.FieldByName("sifra").SetText("Š" + std::to_string(line));
      const bool is_long = Between(0, 4) == 0;
      lines.FieldByName("naziv").SetText(
          "Roba-" + std::to_string(line) + "-čćđšž" +
          (is_long ? std::string(" vrlo duga naziva, koji ne stane u red, "
                                 "0123456789012345678901234567890123456789012345678901234567890")
                   : ""));
      lines.FieldByName("jm").SetText("kom");
      for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
        const FieldDef& field = lines.Definition(i);
        const VocabularyEntry* const entry = FindVocabularyEntry(field.name);
        if (entry != nullptr && !field.calculated) lines.SetFloat(i, ValueOf(*entry, cancels));
      }
      lines.Post();
    }
  }

  /// The id of a stored document with so many lines of each sort.
  std::int64_t Store(const DocumentKind& kind, std::int64_t lines) {
    Document document(kind);
    document.SetHeader("datum", *MakeDate(2026, 3, 2));
    document.SetHeader("par_id", std::int64_t{1});
    for (RecordSet* const sort : {document.Goods(), document.Services()}) {
      if (sort != nullptr) Fill(*sort, lines, kind.is_storno);
    }
    EXPECT_TRUE(document.Store()) << kind.name << ": " << server_.WriteRefusal();
    return server_.LastWrite().stored.value().AsInteger(0);
  }

  CompanyServer server_{Database::InMemory()};
  PaperTemplate paper_;

 private:
  std::mt19937_64 engine_{20'260'302};  // NOLINT: the same documents in every run
  MemorySettings settings_;
  ScopedApp app_{{.ini = &settings_, .comunication = &server_}};
};

}  // namespace mox

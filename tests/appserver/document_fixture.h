#pragma once

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/foundation/app.h"
#include "mox/host/memory_settings.h"
#include "tests/appserver/scratch_database.h"

namespace mox {

/// A company on each engine, with documents to store in it.
class DocumentTest : public ScratchDatabase {
 protected:
  // The id of a pro-forma invoice of one line.
  std::int64_t StoreDocument(CompanyServer& server) {
    MemorySettings settings;
    const ScopedApp app({.ini = &settings, .comunication = &server});
    Document document("predracun");
    document.SetHeader("datum", *MakeDate(2024, 3, 1));
    EnterLine(*document.Goods(), {{"kolicina", 1}, {"pc", 10}, {"tbr_stp", 25}});
    EXPECT_TRUE(document.Store());
    return server.LastWrite().stored.value().AsInteger(0);
  }

  // Of 12.50, which partner 1 pays later.
  static Document Invoice(const Value& due = {}, std::int64_t partner = 1) {
    Document document("racun-usluga");
    document.SetHeader("datum", *MakeDate(2024, 3, 1));
    document.SetHeader("par_id", partner);
    document.SetHeader("datum_dospijeca", due);
    EnterLine(*document.Services(), {{"kolicina", 1}, {"pc", 10}, {"tbr_stp", 25}});
    return document;
  }
  static bool StoreInvoice(CompanyServer& server, const Value& due = {}, std::int64_t partner = 1) {
    MemorySettings settings;
    const ScopedApp app({.ini = &settings, .comunication = &server});
    return Invoice(due, partner).Store();
  }
};

}  // namespace mox

#include "appserver/client_services.h"

#include "appserver/import_journal.h"
#include "appserver/service_info.h"
#include "mox/foundation/find_row.h"

namespace mox {
namespace {

void FillTableColumns(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  for (const FieldDef& column : database.TableColumns(inputs.As<std::string>("tablica"))) {
    answer.AppendRecord({column.name, std::string(KindName(column.kind))});
  }
}

void FillTransactionFields(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  const ServiceInfo* const transaction = FindRow(NamedTransactions(), inputs.As<std::string>("transakcija"));
  if (transaction == nullptr) return;
  for (const RecordSetInfo& record_set : RecordSetsOf(*transaction, database)) {
    for (const FieldDef& field : record_set.columns) {
      answer.AppendRecord({record_set.name, field.name, std::string(KindName(field.kind))});
    }
  }
}

void FillStoredImport(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  const auto before =
      FindStoredImport(database, inputs.As<std::string>("profil"), inputs.As<std::string>("sazetak"));
  if (before) answer.AppendRecord({before->id, before->description});
}

const NamedService kServices[] = {
    {"Kat\\StupciTablice",
     Right::kRead,
     "tablica",
     "the columns of a table of the database; none where there is no such one",
     {{"adsStupci", "stupac,vrsta", "", FillTableColumns}}},

    {"Kat\\PoljaTransakcije",
     Right::kRead,
     "transakcija",
     "the fields that the record sets of a transaction have",
     {{"adsPolja", "skup,polje,vrsta", "", FillTransactionFields}}},

    {"DnevnikUvoza\\Prijasnji",
     Right::kRead,
     "profil,sazetak",
     "the last import of a file's content by a profile that was not taken back",
     {{"adsUvoz", "id:integer,opis", "", FillStoredImport}}},
};

}  // namespace

std::span<const NamedService> ClientServices() { return kServices; }

}  // namespace mox

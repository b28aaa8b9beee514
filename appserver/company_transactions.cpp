#include "appserver/company_transactions.h"

#include "appserver/company_data.h"

// What changes the company's own data.

namespace mox {
namespace {

std::string TextIn(RecordSet& records, std::string_view name) {
  const auto field = records.FindField(name);
  return field ? field->AsText() : std::string();
}

[[noreturn]] void Refuse(const RecordSet& records, std::size_t row, std::string_view field,
                         const Error& error) {
  throw WriteRefused({"", records.Name(), row, std::string(field), error.what()});
}

std::optional<RecordSet> StoreParameters(const NamedTransaction& /*transaction*/, Database& database,
                                         SentRecordSets& sent) {
  RecordSet& values = *sent.Find("Parametri");
  std::size_t row = 0;
  for (values.First(); !values.Eof(); values.Next()) {
    ++row;
    const std::string name = values.FieldByName("naziv").AsText();
    try {
      StoreCompanyValue(database, name, values.FieldByName("vrijednost").AsText());
    } catch (const DatabaseError&) {
      throw;
    } catch (const Error& error) {
      Refuse(values, row, name, error);
    }
  }
  return std::nullopt;
}

// Runs a change for each account that was sent.
template <typename Change>
std::optional<RecordSet> ForEachIban(SentRecordSets& sent, const Change& change) {
  RecordSet& ibans = *sent.Find("Ibani");
  std::size_t row = 0;
  for (ibans.First(); !ibans.Eof(); ibans.Next()) {
    ++row;
    try {
      change(ibans.FieldByName("iban").AsText(), ibans);
    } catch (const DatabaseError&) {
      throw;
    } catch (const Error& error) {
      Refuse(ibans, row, "iban", error);
    }
  }
  return std::nullopt;
}

std::optional<RecordSet> InsertIban(const NamedTransaction& /*transaction*/, Database& database,
                                    SentRecordSets& sent) {
  return ForEachIban(sent, [&](const std::string& iban, RecordSet& row) {
    AddCompanyIban(database, iban, TextIn(row, "banka"), TextIn(row, "valuta"));
  });
}

std::optional<RecordSet> MainIban(const NamedTransaction& /*transaction*/, Database& database,
                                  SentRecordSets& sent) {
  return ForEachIban(sent, [&](const std::string& iban, RecordSet&) { MakeCompanyIbanMain(database, iban); });
}

std::optional<RecordSet> DeleteIban(const NamedTransaction& /*transaction*/, Database& database,
                                    SentRecordSets& sent) {
  return ForEachIban(sent, [&](const std::string& iban, RecordSet&) { RemoveCompanyIban(database, iban); });
}

const NamedTransaction kTransactions[] = {
    {"ParametriPoduzecaUpdate",
     "changes parameters, additional features and the e-invoice account by their names (naziv, vrijednost)",
     {{"Parametri", {"parametri_poduzeca"}, true, "naziv,vrijednost"}},
     StoreParameters},
    {"PoduzeceIbanInsert",
     "adds bank accounts of the company (iban, banka, valuta); the first one is its main one",
     {{"Ibani", {"poduzece_ibani"}, true, "iban,banka,valuta"}},
     InsertIban},
    {"PoduzeceIbanMain",
     "makes a bank account the company's main one (iban)",
     {{"Ibani", {"poduzece_ibani"}, true, "iban"}},
     MainIban},
    {"PoduzeceIbanDelete",
     "takes bank accounts of the company away (iban)",
     {{"Ibani", {"poduzece_ibani"}, true, "iban"}},
     DeleteIban},
};

}  // namespace

std::span<const NamedTransaction> CompanyTransactionTable() { return kTransactions; }

}  // namespace mox

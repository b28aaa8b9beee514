#include "appserver/company_transactions.h"

#include "appserver/company_data.h"

// What changes the company's own data.

namespace mox {
namespace {

std::string TextIn(const RecordRow& record, std::string_view name) {
  const auto field = record.FindFieldIndex(name);
  return field ? record.AsText(*field) : std::string();
}

[[noreturn]] void Refuse(const RecordSet& records, std::size_t row, std::string_view field,
                         const Error& error) {
  throw WriteRefused({"", records.Name(), row, std::string(field), error.what()});
}

std::optional<RecordSet> StoreParameters(const NamedTransaction& /*transaction*/, Database& database,
                                         const SentRecordSets& sent) {
  const RecordSet& values = *sent.Find("Parametri");
  std::size_t row = 0;
  for (const RecordRow& value : values.Rows()) {
    ++row;
    const std::string name = value.AsText(value.IndexOf("naziv"));
    try {
      StoreCompanyValue(database, name, value.AsText(value.IndexOf("vrijednost")));
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
std::optional<RecordSet> ForEachIban(const SentRecordSets& sent, const Change& change) {
  const RecordSet& ibans = *sent.Find("Ibani");
  std::size_t row = 0;
  for (const RecordRow& account : ibans.Rows()) {
    ++row;
    try {
      change(account.AsText(account.IndexOf("iban")), account);
    } catch (const DatabaseError&) {
      throw;
    } catch (const Error& error) {
      Refuse(ibans, row, "iban", error);
    }
  }
  return std::nullopt;
}

std::optional<RecordSet> InsertIban(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  return ForEachIban(sent, [&](const std::string& iban, const RecordRow& account) {
    AddCompanyIban(database, iban, TextIn(account, "banka"), TextIn(account, "valuta"));
  });
}

std::optional<RecordSet> MainIban(const NamedTransaction& /*transaction*/, Database& database,
                                  const SentRecordSets& sent) {
  return ForEachIban(sent,
                     [&](const std::string& iban, const RecordRow&) { MakeCompanyIbanMain(database, iban); });
}

std::optional<RecordSet> DeleteIban(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  return ForEachIban(sent,
                     [&](const std::string& iban, const RecordRow&) { RemoveCompanyIban(database, iban); });
}

const NamedTransaction kTransactions[] = {
    {"ParametriPoduzecaUpdate",
     Right::kAdminister,
     "changes parameters, additional features and the e-invoice account by their names (naziv, vrijednost)",
     {{"Parametri", {"parametri_poduzeca"}, true, "naziv,vrijednost"}},
     StoreParameters},
    {"PoduzeceIbanInsert",
     Right::kAdminister,
     "adds bank accounts of the company (iban, banka, valuta); the first one is its main one",
     {{"Ibani", {"poduzece_ibani"}, true, "iban,banka,valuta"}},
     InsertIban},
    {"PoduzeceIbanMain",
     Right::kAdminister,
     "makes a bank account the company's main one (iban)",
     {{"Ibani", {"poduzece_ibani"}, true, "iban"}},
     MainIban},
    {"PoduzeceIbanDelete",
     Right::kAdminister,
     "takes bank accounts of the company away (iban)",
     {{"Ibani", {"poduzece_ibani"}, true, "iban"}},
     DeleteIban},
};

}  // namespace

std::span<const NamedTransaction> CompanyTransactionTable() { return kTransactions; }

}  // namespace mox

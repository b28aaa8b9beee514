#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "mox/host/company_parameters.h"

namespace mox {

/// Who the company is and how it works: its parameters and additional features, those of the database, and
/// before them those that were set on this object. Whatever depends on one of them asks here.
class CompanyData {
 public:
  /// The database must outlive the object.
  explicit CompanyData(Database& database);

  /// "NAME=VALUE" stands before the parameter, the additional parameter and the additional feature of that
  /// name as long as this object lives. Raises Error when there is no '=' or no name.
  void Set(std::string_view assignment);

  /// The parameters as the fields of one record, each in the kind of its text; null where there are none.
  /// They are those of the database when it was last read: at first, and by Reload().
  RecordSet* Parameters() { return parameters_.CompanyParameters(); }
  void Reload();

  /// A parameter's text as it stands now; none where it is unknown or blank.
  std::optional<std::string> Parameter(std::string_view name) const;
  /// Whether an additional feature is allowed; none where it is unknown. Raises ConversionError for a set
  /// value that is neither true nor false.
  std::optional<bool> Feature(std::string_view code) const;
  /// Appends naziv, vrijednost and opis of each additional parameter, by name.
  void AppendAdditional(RecordSet& answer) const;
  /// Appends naziv, vrijednost, opis and skupina of everything that StoreCompanyValue knows. A key is not
  /// shown, only whether there is one.
  void AppendAll(RecordSet& answer) const;

  /// Something leaves the house in the company's name: raises Error that says what must be set first.
  void RequireNamed() const;
  /// The main bank account. Raises Error that says how to add one.
  std::string RequireIban() const;

 private:
  const std::string* FindSet(std::string_view name) const;
  void AppendRow(RecordSet& answer, std::vector<Value> row) const;

  Database& database_;
  std::vector<std::pair<std::string, std::string>> set_;
  CompanyParameterModule parameters_;
};

/// The group of the company parameters in the list of all that a company is told.
inline constexpr std::string_view kCompanyGroup = "poduzeće";

/// What documents that leave the house say of the company must be set: raises Error that names what is not.
void RequireCompanyNamed(const std::function<bool(std::string_view name)>& is_set);

/// What a company is told of itself when it is made or changed.
struct CompanyParameter {
  std::string_view name;
  std::string_view summary;
  /// What is wrong with a value; empty where nothing is.
  std::string (*fault)(std::string_view value);
};

/// The parameters that the library and the services read.
std::span<const CompanyParameter> CompanyParameterTable();

/// Stores a parameter, an additional feature, an additional parameter or a field of the account with the
/// intermediary of e-invoices; a blank value takes a parameter's away. Runs in the caller's transaction.
/// Raises Error that says what is wrong with the value, or that there is no such name.
void StoreCompanyValue(Database& database, std::string_view name, std::string_view value);

/// The account number without blanks, in capitals and without a leading "IBAN". Raises Error for one that is
/// not valid (ISO 13616).
std::string NormalIban(std::string_view text);
/// Adds a bank account of the company, the first one being its main one. Runs in the caller's transaction.
/// Raises Error for an account that is not valid or is there already, and for an unknown bank or currency.
void AddCompanyIban(Database& database, std::string_view iban, std::string_view bank = {},
                    std::string_view currency = {});
/// Raise Error for an account that the company does not have.
void MakeCompanyIbanMain(Database& database, std::string_view iban);
/// Raises Error also for the main one of several accounts, and for one that payment slips use.
void RemoveCompanyIban(Database& database, std::string_view iban);

}  // namespace mox

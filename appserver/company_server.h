#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_data.h"
#include "appserver/database.h"
#include "appserver/import_catalogue.h"
#include "mox/foundation/app.h"
#include "mox/foundation/secrets.h"

namespace mox {

/// Why a write request was refused: in which record set, at which record (from 1) and field, where these are
/// known, and what the database or the rule said.
struct WriteFailure {
  std::string transaction;
  std::string record_set;
  std::size_t row = 0;
  std::string field;
  std::string message;

  /// All of it on one line.
  std::string ToString() const;
};

/// What the last write request did.
struct WriteOutcome {
  bool committed = false;  ///< or would have been, in a rehearsal
  /// Of a refused one.
  std::optional<WriteFailure> failure;
  /// Keys and numbers that the server gave, where the transaction gives any.
  std::optional<RecordSet> stored;
};

/// A named service or transaction, for people.
struct ServiceInfo {
  std::string_view name;
  /// "skl_id:integer,val_ozn?:text"; those with a '?' may be left out. Of a transaction its record sets,
  /// "Zaglavlje,Stavke?".
  std::string_view inputs;
  /// The record sets that it answers, "adsSkl".
  std::string_view answers;
  std::string_view summary;
};

/// An input of a service, or a record set of a transaction.
struct ServiceInput : FieldDef {
  bool may_be_left_out = false;
};
/// Of `ServiceInfo::inputs`. Raises Error for another text.
std::vector<ServiceInput> ParseInputs(std::string_view inputs);

/// The application server in the host's own process: answers named services from a company database and
/// stores named transactions in it. The company parameters are those of the database; parameters set on this
/// object come before them.
class CompanyServer : public TdmComunication {
 public:
  using Log = std::function<void(std::string_view line)>;

  /// `log` hears of unknown services, refused requests and failures.
  explicit CompanyServer(Database database, Log log = nullptr);

  Database& database() { return database_; }
  /// The SQL texts that the service "ImportGrid" runs.
  ImportCatalogue& import_catalogue() { return import_catalogue_; }
  const CompanyData& company() const { return company_; }
  /// "NAME=VALUE" stands before the company parameter and the additional feature of that name.
  void SetParameter(std::string_view assignment) { company_.Set(assignment); }

  /// Adds the keys of the company's accounts, which nobody is to see.
  void AddSecrets(Secrets& secrets);

  RecordSet* CompanyParameters() override { return company_.Parameters(); }
  /// Null for an unknown service. Raises DatabaseError when the database fails, Error naming the service and
  /// an input that is missing, unknown or of another kind, or an SQL text that is not in the catalogue.
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override;
  /// 0 when the request was refused and nothing stored; LastWrite() tells why, and the log was told. Raises
  /// DatabaseUnavailable when the database failed, which is no refusal.
  int WriteDataService(const TAstaParamList& request) override;
  std::string WriteRefusal() const override;
  /// Write requests are carried out from now on, and rolled back in the end: whether they would be stored.
  void SetRehearsing(bool rehearsing) { rehearsing_ = rehearsing; }

  const WriteOutcome& LastWrite() const { return last_write_; }

 private:
  std::unique_ptr<TAstaParamList> Answer(const TAstaParamList& request, std::string_view service);
  std::optional<RecordSet> Store(const TAstaParamList& request, WriteFailure& failure);
  void Tell(std::string_view line) const;

  Database database_;
  Log log_;
  ImportCatalogue import_catalogue_;
  CompanyData company_;
  WriteOutcome last_write_;
  bool rehearsing_ = false;
};

/// The read services and the transactions that a company server has.
std::span<const ServiceInfo> ReadServices();
std::span<const ServiceInfo> NamedTransactions();

}  // namespace mox

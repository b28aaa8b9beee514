#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/company_access.h"
#include "appserver/company_data.h"
#include "appserver/database.h"
#include "appserver/import_catalogue.h"
#include "appserver/requester.h"
#include "appserver/write_outcome.h"
#include "mox/foundation/secrets.h"

namespace mox {

struct JournalledWrite;  // in write_journal.h

/// The application server in the host's own process: answers named services from a company database and
/// stores named transactions in it. The company parameters are those of the database; parameters set on this
/// object come before them.
class CompanyServer : public CompanyAccess {
 public:
  using Log = std::function<void(std::string_view line)>;

  /// `log` hears of unknown services, refused requests and failures.
  explicit CompanyServer(Database database, Log log = nullptr);

  Database& database() { return database_; }
  /// The SQL texts that the service "ImportGrid" runs.
  ImportCatalogue& import_catalogue() { return import_catalogue_; }
  const CompanyData& company() const { return company_; }
  /// Who asks from now on; until then it is somebody without a name, who may do everything.
  void SetRequester(Requester requester) { requester_ = std::move(requester); }
  void SetParameter(std::string_view assignment) override { company_.Set(assignment); }
  void AddSecrets(Secrets& secrets) override;
  void RequireNamed() override { company_.RequireNamed(); }

  RecordSet* CompanyParameters() override { return company_.Parameters(); }
  /// Null for an unknown service. Raises DatabaseError when the database fails, Error naming the service and
  /// an input that is missing, unknown or of another kind, or an SQL text that is not in the catalogue, and
  /// NotAllowed when the requester has no right to it.
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override;
  /// 0 when the request was refused and nothing stored; LastWrite() tells why, and the log was told. Raises
  /// DatabaseUnavailable when the database failed, which is no refusal.
  ///
  /// With a key of its own where the database is on a server: a request whose answer was lost is looked for
  /// under it when the server is there again, and answered as stored, or raises DatabaseUnavailable that says
  /// that nothing was stored or, where the server stays away, that it is not known.
  int WriteDataService(const TAstaParamList& request) override;
  /// A request that is sent again by the same user under the same key is not carried out again, and
  /// answered as it was then, stored or refused, also after this program has ended; an empty key is none.
  /// Raises NotAllowed when the requester has no right to the transaction, and KeyReused when the key is that
  /// of another request.
  int WriteDataService(const TAstaParamList& request, std::string_view key);
  std::string WriteRefusal() const override;
  /// The database was opened for reading alone: from now on writing raises DatabaseUnavailable that says why.
  void SetUnwritable(std::string reason) { unwritable_ = std::move(reason); }
  void SetRehearsing(bool rehearsing) override { rehearsing_ = rehearsing; }
  const WriteOutcome& LastWrite() const override { return last_write_; }

 private:
  std::unique_ptr<TAstaParamList> Answer(const TAstaParamList& request, std::string_view service);
  WriteOutcome CarryOut(const TAstaParamList& request, std::string_view key, JournalledWrite& write);
  int Write(const TAstaParamList& request, std::string_view key, bool key_is_own);
  void ReadCompany();
  WriteOutcome FindLost(const JournalledWrite& write);
  void Refuse(const JournalledWrite& write, WriteFailure failure, bool is_kept);
  void JournalForbidden(JournalledWrite write, const std::string& why);
  void Tell(std::string_view line) const;

  Database database_;
  Log log_;
  ImportCatalogue import_catalogue_;
  CompanyData company_;
  WriteOutcome last_write_;
  std::string unwritable_;  // why; empty where the database may be written
  Requester requester_;
  bool rehearsing_ = false;
};

}  // namespace mox

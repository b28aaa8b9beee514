#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "appserver/declared_inputs.h"
#include "appserver/rights.h"

namespace mox {

/// A named service or transaction, for people.
struct ServiceInfo {
  std::string_view name;
  Right right;  ///< that whoever asks must have
  /// "skl_id:integer,val_ozn?:text"; those with a '?' may be left out. Of a transaction its record sets,
  /// "Zaglavlje,Stavke?".
  std::string_view inputs;
  /// The record sets that it answers, "adsSkl".
  std::string_view answers;
  std::string_view summary;
};

/// Those that the company server answers itself.
inline constexpr ServiceInfo kImportGridService = {
    "ImportGrid", Right::kRead, "params1:text,params2:text,params3?:text", "adsList",
    "which values stand in the database, for look-ups in the catalogue"};
inline constexpr ServiceInfo kImportChoicesService = {
    "ImportGrid\\Izbor", Right::kRead, "params1:text,najvise:integer", "adsList",
    "the values that a look-up of the catalogue finds, at most so many"};
inline constexpr ServiceInfo kRetailSizesService = {
    "Lunari\\KalkulirajVelicine", Right::kRead, "params1:text,params2:text", "adsList",
    "the Croatian sizes of retail articles, which params2 has as records"};

/// The read services and the transactions of a company, those of its server among them.
std::span<const ServiceInfo> ReadServices();
std::span<const ServiceInfo> NamedTransactions();

/// "Posluzitelj\\Korisnici": what the server program answers of itself, the users of a company. A database
/// has none, so that a company server refuses them.
std::span<const ServiceInfo> DirectoryServices();
/// "KorisnikUlogeUpis", "KorisnikPrijaveKraj".
std::span<const ServiceInfo> DirectoryTransactions();
/// The columns of the record set that one of these answers or takes.
Columns DirectoryColumns(const ServiceInfo& service);
/// Why a company server refuses them.
inline constexpr std::string_view kNoUsers = "only a server has users; a database alone has none";

/// A record set of an answer or of a transaction, for people.
struct RecordSetInfo {
  std::string name;
  bool may_be_left_out = false;
  /// None where a request decides which there are.
  Columns columns;
};
/// What a read service answers, or a transaction takes: of the latter the fields that are stored, those that
/// name rows of other tables last. The database gives the columns of its tables.
std::vector<RecordSetInfo> RecordSetsOf(const ServiceInfo& service, Database& database);

}  // namespace mox

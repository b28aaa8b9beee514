#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mox/foundation/error.h"

namespace mox {

/// A company database that cannot be opened, read or written. what() says which one, and why, for people.
class DatabaseError : public Error {
 public:
  using Error::Error;
};

/// The same where nothing was refused and the database itself failed: another program has kept it locked, it
/// is read-only or damaged, the disk is full, the server is gone.
class DatabaseUnavailable : public DatabaseError {
 public:
  using DatabaseError::DatabaseError;
};

/// The same where the company was there and is no longer: it has been moved, or is not yet open where it is
/// moved to. Nothing was done; the directory of companies says where it is.
class CompanyGone : public DatabaseUnavailable {
 public:
  using DatabaseUnavailable::DatabaseUnavailable;
};

/// The same where nothing says that it has ever been there.
class NoSuchCompany : public CompanyGone {
 public:
  using CompanyGone::CompanyGone;
};

/// The same where the database's server does not answer, or the connection to it was lost.
class ServerUnreachable : public DatabaseUnavailable {
 public:
  using DatabaseUnavailable::DatabaseUnavailable;
};

/// The same where its server takes no more connections, or this process may not open more files: it can be
/// had once others are closed.
class NoRoomLeft : public DatabaseUnavailable {
 public:
  using DatabaseUnavailable::DatabaseUnavailable;
};

/// Where a company's database is: in a file, or in a schema of a PostgreSQL database.
class DatabaseLocation {
 public:
  enum class Kind : std::uint8_t { kFile, kPostgresql };

  /// "tvrtka.db" is a file. "postgresql://USER@HOST:PORT/DATABASE?company=NAME" is a company in a PostgreSQL
  /// database: any address that libpq takes, also "postgresql:///DATABASE?host=/run/postgresql&company=NAME"
  /// by a socket. NAME is of letters a to z, digits, '-' and '_', at most 50, without regard to letter case.
  /// Raises DatabaseError for an address that names no company, or one by another name.
  DatabaseLocation(std::string_view text);  // NOLINT(google-explicit-constructor): wherever a file can stand
  DatabaseLocation(const std::string& text);  // NOLINT(google-explicit-constructor)
  DatabaseLocation(const char* text);         // NOLINT(google-explicit-constructor)

  Kind kind() const { return kind_; }
  bool IsFile() const { return kind_ == Kind::kFile; }
  /// As it was given, but for passwords, which are "***": for messages and logs.
  const std::string& ToString() const { return shown_; }

  /// Of a file; empty otherwise.
  const std::string& path() const { return path_; }
  /// Of a PostgreSQL database, for libpq, which may hold a password; empty otherwise. Where it does not say
  /// how long to wait for a connection, or for a machine that is silent since, that is ten seconds.
  const std::string& connection() const { return connection_; }
  /// In small letters; empty for a file.
  const std::string& company() const { return company_; }
  /// The schema that the company is in, "mox_NAME"; empty for a file.
  std::string schema() const;

 private:
  void ParseAddress(std::string_view text);

  Kind kind_ = Kind::kFile;
  std::string shown_;
  std::string path_;
  std::string connection_;
  std::string company_;
};

/// Whether a text is meant as an address of a PostgreSQL database, whatever it says.
bool IsPostgresqlAddress(std::string_view text);

}  // namespace mox

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database_location.h"
#include "appserver/postgresql.h"

namespace mox {

/// One of the two servers between which a company moves: a connection of its own, whose names are those of
/// the company's schema whether that is there or not. Raises DatabaseError that names the location.
class MoveSide {
 public:
  /// `user` stands in the place of the address's; empty for that one.
  MoveSide(const DatabaseLocation& location, const std::string& user);
  ~MoveSide();
  MoveSide(const MoveSide&) = delete;
  MoveSide& operator=(const MoveSide&) = delete;

  const DatabaseLocation& location() const { return location_; }
  const std::string& schema() const { return schema_; }
  /// For libpq, with the user.
  const std::string& address() const { return address_; }

  void Run(const std::string& sql);
  /// The first value of the answer; empty where there is none.
  std::string Ask(const std::string& sql);
  std::int64_t AskNumber(const std::string& sql);
  /// The first two columns of each row.
  std::vector<std::pair<std::string, std::string>> AskPairs(const std::string& sql);
  /// False where a lock was waited for in vain.
  bool TryRun(const std::string& sql);
  void RollBack() noexcept;

  bool HasSchema();
  /// What the comment of a schema says.
  std::string MarkOf(const std::string& schema);
  /// The schema whose comment begins so; empty where there is none.
  std::string FindMarked(const std::string& beginning);
  std::vector<std::string> Tables();

 private:
  PostgresqlResult Send(const std::string& sql);
  [[noreturn]] void Refuse(const soci::soci_error& error);

  DatabaseLocation location_;
  std::string schema_;
  std::string address_;
  PGconn* connection_ = nullptr;
};

/// How many rows a table has, and what they come to: the same for the same rows in any order.
using TableDigests = std::map<std::string, std::string>;
TableDigests DigestsOf(MoveSide& side);

/// Names the tables that differ, and how; empty where none does.
std::string DifferenceOf(const TableDigests& from, const TableDigests& to);

/// A text as SQL has it.
std::string QuotedText(std::string_view text);

}  // namespace mox

#pragma once

#include <string>

#include "appserver/company_move.h"
#include "moxd/accounts.h"

namespace mox {

/// What is asked of a move, beside where it goes to.
struct MoveWish {
  std::string user = {};     ///< who may copy between the servers; empty for the users of the addresses
  std::string reached = {};  ///< the old server's address as the new one reaches it; empty for the same
  std::chrono::milliseconds longest_comparison = kLongestComparison;
};

/// Moves a company of the directory to another PostgreSQL address while it is in use, or goes on with a move
/// to that address which was interrupted. Raises Error where that cannot be, and DatabaseError; the directory
/// names the place where the company is.
void MoveCompanyTo(Accounts& accounts, const std::string& company, const std::string& address,
                   const MoveWish& wish, const CompanyMove::Tell& tell);
/// Takes a move back that was interrupted; the company is where it was.
void TakeMoveBack(Accounts& accounts, const std::string& company, const MoveWish& wish,
                  const CompanyMove::Tell& tell);

}  // namespace mox

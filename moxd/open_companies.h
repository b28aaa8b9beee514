#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "appserver/company_server.h"

namespace mox {

/// The databases of companies that all workers together have open. A server of databases takes so many
/// connections, and a process may open so many files: of what nobody uses, so much is kept as `most` leaves,
/// what was used last first, and no longer than it is of use.
class OpenCompanies {
 private:
  using Clock = std::chrono::steady_clock;
  struct Company {
    std::string address;
    std::unique_ptr<CompanyServer> server;
    unsigned renewals = 0;  // before it was opened
    Clock::time_point used = {};
  };

 public:
  /// One of them, for one request. It is closed behind it unless it is kept.
  class Lease {
   public:
    Lease(OpenCompanies& of, std::list<Company> taken) : of_(of), taken_(std::move(taken)) {}
    ~Lease();
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    /// Null until it is opened.
    std::unique_ptr<CompanyServer>& server() { return taken_.front().server; }
    /// For the next request.
    void Keep();

   private:
    OpenCompanies& of_;
    std::list<Company> taken_;  // none once it is kept
  };

  OpenCompanies(std::size_t most, std::chrono::seconds longest_unused)
      : most_(most), longest_unused_(longest_unused) {}

  /// One that is open and free, or else none, with room made for it.
  Lease Take(const std::string& address);
  /// One that nobody else gets.
  Lease TakeOwn() { return Take({}); }
  std::size_t Count() const;

  /// Close what is free: of an address; what was not used for too long; all.
  void Forget(const std::string& address);
  void CloseUnused();
  void CloseFree();
  /// Everything is opened anew before the next request.
  void Renew();

 private:
  template <typename Condition>
  void CloseWhere(const Condition& condition);

  const std::size_t most_;
  const std::chrono::seconds longest_unused_;
  mutable std::mutex mutex_;
  std::list<Company> free_;  // the one that was used last comes first
  std::size_t taken_ = 0;
  unsigned renewals_ = 0;
};

}  // namespace mox

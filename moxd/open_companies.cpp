#include "moxd/open_companies.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace mox {

// What is closed is closed without the lock: an engine may take its time for it.
OpenCompanies::Lease OpenCompanies::Take(const std::string& address) {
  std::list<Company> taken;
  std::list<Company> closed;
  {
    const std::scoped_lock lock(mutex_);
    const auto found = std::find_if(free_.begin(), free_.end(),
                                    [&](const Company& company) { return company.address == address; });
    if (found != free_.end()) {
      taken.splice(taken.end(), free_, found);
    } else {
      taken.push_back({address, nullptr, renewals_});
      while (!free_.empty() && free_.size() + taken_ >= most_) {
        closed.splice(closed.end(), free_, std::prev(free_.end()));
      }
    }
    ++taken_;
  }
  return {*this, std::move(taken)};
}

OpenCompanies::Lease::~Lease() {
  if (taken_.empty()) return;
  taken_.clear();
  const std::scoped_lock lock(of_.mutex_);
  --of_.taken_;
}

void OpenCompanies::Lease::Keep() {
  Company& company = taken_.front();
  company.used = Clock::now();
  const std::scoped_lock lock(of_.mutex_);
  if (company.renewals != of_.renewals_) return;
  of_.free_.splice(of_.free_.begin(), taken_);
  --of_.taken_;
}

std::size_t OpenCompanies::Count() const {
  const std::scoped_lock lock(mutex_);
  return free_.size() + taken_;
}

template <typename Condition>
void OpenCompanies::CloseWhere(const Condition& condition) {
  std::list<Company> closed;
  const std::scoped_lock lock(mutex_);
  for (auto company = free_.begin(); company != free_.end();) {
    const auto next = std::next(company);
    if (condition(*company)) closed.splice(closed.end(), free_, company);
    company = next;
  }
}

void OpenCompanies::Forget(const std::string& address) {
  CloseWhere([&](const Company& company) { return company.address == address; });
}

void OpenCompanies::CloseUnused() {
  const auto since = Clock::now() - longest_unused_;
  CloseWhere([&](const Company& company) { return company.used < since; });
}

void OpenCompanies::CloseFree() {
  CloseWhere([](const Company& /*company*/) { return true; });
}

void OpenCompanies::Renew() {
  {
    const std::scoped_lock lock(mutex_);
    ++renewals_;
  }
  CloseFree();
}

}  // namespace mox

#include "moxd/move_company.h"

#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

MovePlan PlanOf(const MoveInfo& move, const MoveWish& wish) {
  MovePlan plan{move.from, move.to, move.id};
  plan.user = wish.user;
  plan.reached = wish.reached;
  plan.longest_comparison = wish.longest_comparison;
  return plan;
}

void RequireServer(const DatabaseLocation& location) {
  if (!location.IsFile()) return;
  throw Error(location.ToString() +
              ": is a file; between a file and a server a company goes by mox db backup and mox db restore");
}

// Everything that stands in the way, before anything is done.
void RequirePossible(const MoveInfo& move, const MoveWish& wish) {
  RequireServer(move.from);
  RequireServer(move.to);
  std::string told;
  for (const std::string& obstacle : CompanyMove(PlanOf(move, wish), nullptr).Obstacles()) {
    told += (told.empty() ? "" : "\nmoxd: ") + obstacle;
  }
  if (!told.empty()) throw Error(told);
}

}  // namespace

void MoveCompanyTo(Accounts& accounts, const std::string& company, const std::string& address,
                   const MoveWish& wish, const CompanyMove::Tell& tell) {
  auto move = accounts.MoveOf(company);
  if (move && move->to != address) {
    throw Error("the company " + InQuotes(company) + " is being moved to " +
                DatabaseLocation(move->to).ToString() + "; end that, or take it back with --back");
  }
  if (!move) {
    RequirePossible({accounts.AddressOf(company).value_or(""), address, ""}, wish);
    move = accounts.BeginMove(company, address);
    if (tell)
      tell({MoveStep::kNoted, "from " + DatabaseLocation(move->from).ToString() + " to " +
                                  DatabaseLocation(move->to).ToString()});
  }
  CompanyMove running(PlanOf(*move, wish), tell);
  if (!running.HasLeft()) running.Copy();
  running.Switch([&] { accounts.NameNewPlace(company); });
  running.Finish();
  accounts.EndMove(company, MoveEnd::kMoved);
}

void TakeMoveBack(Accounts& accounts, const std::string& company, const MoveWish& wish,
                  const CompanyMove::Tell& tell) {
  const auto move = accounts.MoveOf(company);
  if (!move) throw Error("the company " + InQuotes(company) + " is not being moved");
  CompanyMove(PlanOf(*move, wish), tell).TakeBack();
  accounts.EndMove(company, MoveEnd::kTakenBack);
}

}  // namespace mox

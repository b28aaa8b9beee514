#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database_location.h"

namespace mox {

/// What has just been done of a move, in the order of its steps; kCopying is told again and again.
enum class MoveStep : std::uint8_t {
  kNoted,         ///< the directory knows of it
  kTablesMade,    ///< empty, where the company goes to
  kPublished,     ///< the changes of the company are kept for the other side
  kSubscribed,    ///< the other side takes them
  kCopying,       ///< so many tables have been copied
  kCopied,        ///< all rows are there, and changes follow
  kCompared,      ///< both sides were the same at one moment, while everybody worked
  kHeld,          ///< writers wait
  kCarried,       ///< the other side has everything, safely on its disk
  kLeft,          ///< the old side refuses everybody; from here on the company is on the new one
  kOpened,        ///< the new side may be opened
  kNamed,         ///< the directory names it
  kSwitched,      ///< how long writers waited
  kVerified,      ///< what was compared behind the switch was the same
  kUnsubscribed,  ///< nothing ties the two sides together any more
  kDropped        ///< the old side is gone, or stays under another name where that is said
};
struct MoveNews {
  MoveStep step;
  std::string text;  ///< for people
};

/// Comparing everything may keep writers waiting so long; what takes longer is compared beside them.
inline constexpr std::chrono::milliseconds kLongestComparison{500};

struct MovePlan {
  DatabaseLocation from;
  DatabaseLocation to;
  std::string id;         ///< of this move: small letters and digits, at most 32
  std::string user = {};  ///< who may copy, on both sides; empty for the users of the addresses
  std::string reached =
      {};  ///< the source's address as the target's server reaches it, where it is another one
  std::chrono::milliseconds longest_comparison = kLongestComparison;
};

/// A company on its way from one PostgreSQL server to another one, while it is in use, by logical
/// replication.
///
/// What has been done stands in the two databases, so that another object with the same plan goes on where
/// one was interrupted, wherever that was: until kLeft the company is at its old place and TakeBack() leaves
/// no trace of the move, from then on it is at the new one. Nobody can open the new side before kOpened, nor
/// write to the old one after kLeft. All raise DatabaseError that says on which side and why.
class CompanyMove {
 public:
  using Tell = std::function<void(const MoveNews& news)>;
  /// Connects to both sides. Raises DatabaseError, also where another program is moving the company.
  CompanyMove(MovePlan plan, Tell tell);
  ~CompanyMove();
  CompanyMove(const CompanyMove&) = delete;
  CompanyMove& operator=(const CompanyMove&) = delete;

  /// All that stands in the way of beginning, a line each.
  std::vector<std::string> Obstacles();
  /// Whether the company is at its new place already.
  bool HasLeft();
  /// Makes the tables and copies their rows, until the other side follows what is written.
  void Copy();
  /// Compares both sides and moves the writers over. `name` has the directory name the new side; it is called
  /// again where an earlier attempt ended behind kLeft. Raises DatabaseError where the sides differ: before
  /// kLeft nothing was switched, behind it the old side stays.
  void Switch(const std::function<void()>& name);
  /// Unties the two sides, and drops the old one if it was the same as the new one.
  void Finish();
  /// Takes everything of the move away from both sides. Raises DatabaseError where the company has left.
  void TakeBack();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mox

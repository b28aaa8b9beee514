#include <memory>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

struct RoundArguments {
  std::string value;
  std::string digits;
};

void RunRound(const RoundArguments& arguments, Session& session) {
  const double value = NumberArgument("VALUE", arguments.value);
  const int digits = IntegerArgument("DIGITS", arguments.digits);
  try {
    session.out += ShortestNumber(MyRound(value, digits)) + "\n";
  } catch (const Error& error) {
    if (digits <= 0) throw;
    throw Error("DIGITS: " + arguments.digits + ": " + error.what());
  }
}

void Declare(Options& options) {
  auto arguments = std::make_shared<RoundArguments>();
  options.RequiredArgument("VALUE", arguments->value, "the number, with a decimal point");
  options.RequiredArgument("DIGITS", arguments->digits,
                           "power of ten, 0 or negative: 0 for units, -2 for\nhundredths");
  options.Run([arguments](Session& session) { RunRound(*arguments, session); });
}

}  // namespace

const Command kRoundCommand = {"round", "VALUE DIGITS", "Round a number as all calculations do (MyRound).",
                               R"(Example:
  mox round -2.675 -2        prints -2.68)",
                               Declare};

}  // namespace mox

// The commands that answer from their arguments alone.

#include <array>
#include <memory>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "mox/codes/amount_in_words.h"
#include "mox/codes/control_digits.h"
#include "mox/codes/dates.h"
#include "mox/codes/exchange_rates.h"

namespace mox {
namespace {

struct Argument {
  const char* name = nullptr;
  const char* meaning = nullptr;
};

constexpr std::size_t kMostArguments = 2;
using Texts = std::array<std::string, kMostArguments>;

struct Rule {
  std::array<Argument, kMostArguments> arguments;
  std::string (*answer)(const Texts& texts, Session& session);
};

template <const Rule& rule>
void Declare(Options& options) {
  auto texts = std::make_shared<Texts>();
  for (std::size_t i = 0; i < kMostArguments; ++i) {
    const Argument& argument = rule.arguments[i];
    if (argument.name == nullptr) break;
    options.RequiredArgument(argument.name, (*texts)[i], argument.meaning);
  }
  options.Run([texts](Session& session) { session.out += rule.answer(*texts, session); });
}

DateTime Moment(const Rule& rule, const Texts& texts, std::size_t index) {
  return DateTimeArgument(rule.arguments[index].name, texts[index]);
}

constexpr Rule kOib = {{{{"TEXT", "the number"}}}, [](const Texts& texts, Session& session) {
                         const std::string message = CheckOIBvalidity(texts[0]);
                         session.valid = message.empty();
                         return message.empty() ? "" : message + "\n";
                       }};

constexpr Rule kIban = {{{{"TEXT", "the account number"}}}, [](const Texts& texts, Session& session) {
                          session.valid = CheckIBANvalidity(texts[0]);
                          return std::string(session.valid ? "true\n" : "false\n");
                        }};

constexpr Rule kWords = {
    {{{"AMOUNT", "the amount, with a decimal point"}, {"CODE", "HRK or EUR"}}},
    [](const Texts& texts, Session&) {
      return BrojSlovima(CurrencyArgument(kWords.arguments[0].name, texts[0]), texts[1]) + "\n";
    }};

constexpr Rule kCurrency = {{{{"DATE", "a date"}}}, [](const Texts& texts, Session&) {
                              const Date date = DayOf(Moment(kCurrency, texts, 0));
                              return std::string(GetValutaOznakaByDate(date)) + "\n";
                            }};

constexpr Rule kWorkdays = {
    {{{"FROM", "a date, or a moment"}, {"TO", "a date, or a moment"}}}, [](const Texts& texts, Session&) {
      const DateTime from = Moment(kWorkdays, texts, 0);
      return std::to_string(WorkingDaysBetween(from, Moment(kWorkdays, texts, 1))) + "\n";
    }};

constexpr Rule kService = {{{{"START", "the first day"}, {"END", "the last day"}}},
                           [](const Texts& texts, Session&) {
                             const Date start = DayOf(Moment(kService, texts, 0));
                             const Staz staz = CalcStaz(start, DayOf(Moment(kService, texts, 1)));
                             return std::to_string(staz.days) + " " + std::to_string(staz.months) + " " +
                                    std::to_string(staz.years) + "\n";
                           }};

}  // namespace

const Command kOibCommand = {
    "oib", "TEXT", "Check a personal or company identification number (OIB).",
    R"(Prints why the number is not valid, with exit status 1; nothing for a valid one.

Example:
  mox oib 12345678903)",
    Declare<kOib>};

const Command kIbanCommand = {
    "iban", "TEXT", "Check an account number (IBAN).",
    R"(Prints true, or false with exit status 1. Blanks, small letters and the word IBAN are allowed.

Example:
  mox iban "HR12 1001 0051 8630 0016 0")",
    Declare<kIban>};

const Command kWordsCommand = {
    "words", "AMOUNT CODE", "Say an amount in Croatian words.",
    R"(The line is empty for zero, for a negative amount, above 999999999.99 and for any other code.

Example:
  mox words 1234.56 EUR      prints tisuću dvjesto trideset četiri eura i pedeset šest centi)",
    Declare<kWords>};

const Command kCurrencyCommand = {"currency", "DATE", "Tell the currency of a date in Croatia.",
                                  R"(Example:
  mox currency 2022-12-31    prints HRK)",
                                  Declare<kCurrency>};

const Command kWorkdaysCommand = {
    "workdays", "FROM TO", "Count the days from Monday to Friday between two dates, both included.",
    R"(With a time, whole days are stepped from FROM as long as TO is not passed. Holidays count.

Examples:
  mox workdays 2024-03-02 2024-03-10                     prints 5
  mox workdays 2024-03-04T12:00:00 2024-03-05T08:00:00   prints 1)",
    Declare<kWorkdays>};

const Command kServiceCommand = {"service", "START END",
                                 "Calculate a length of service, both days counted: DAYS MONTHS YEARS.",
                                 R"(Example:
  mox service 2020-03-15 2021-03-14    prints 28 11 0)",
                                 Declare<kService>};

}  // namespace mox

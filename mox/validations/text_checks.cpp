#include <charconv>
#include <cstdint>
#include <set>

#include "mox/foundation/text.h"
#include "mox/validations/dialogs_internal.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

constexpr std::string_view kBadData = "Netočan unos podataka!";
constexpr std::string_view kFiscalCharacters = "ABCČĆDĐEFGHIJKLMNOPRSŠTUVZŽQWXY0123456789 -_<>&()+*:#";

bool FaultAs(std::string_view text, std::string& message) {
  message = text;
  return Fault(kBadData, message);
}

// A decimal number without leading zeros or a plus sign.
bool IsWholeNumber(std::string_view text) {
  std::int64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && std::to_string(number) == text;
}

std::string_view TakeCharacter(std::string_view& text) {
  const std::string_view character = CutToCharacters(text, 1);
  text.remove_prefix(character.size());
  return character;
}

// The characters with their small letters.
const std::set<std::string, std::less<>>& FiscalCharacters() {
  static const auto characters = [] {
    std::set<std::string, std::less<>> both_cases;
    for (std::string_view rest = kFiscalCharacters; !rest.empty();) {
      const std::string_view capital = TakeCharacter(rest);
      both_cases.emplace(capital);
      both_cases.insert(FoldCase(capital));
    }
    return both_cases;
  }();
  return characters;
}

}  // namespace

std::string EmailFault(std::string_view text) {
  const bool valid = text.empty() || (text.find('@') != std::string_view::npos &&
                                      text.find('.') != std::string_view::npos && CountCharacters(text) >= 6);
  return valid ? "" : "E-mail nije pravilno formatiran";
}

std::string TelefonFaxFault(std::string_view text) {
  // only ASCII passes, so that bytes are characters
  const bool valid = text.empty() || (text.size() >= 9 && text.size() <= 14 && text.front() == '+' &&
                                      IsWholeNumber(text.substr(1)));
  return valid ? ""
               : "Broj telefona i/ili telefaksa mora biti početi s \"+\", potom 8 do 13 brojeva, bez "
                 "razmaka između brojeva";
}

std::string FiskalniNazivFault(std::string_view text, std::string_view suffix) {
  constexpr std::size_t kNoBlankAt = 20;
  for (std::string_view rest = text; !rest.empty();) {
    if (FiscalCharacters().contains(TakeCharacter(rest))) continue;
    return "Fiskalni naziv (podržani znakovi, mala i velika slova): " + std::string(kFiscalCharacters) +
           std::string(suffix);
  }
  const std::size_t blank = text.find(' ');
  if (blank == std::string_view::npos) return {};
  if (text.find("  ") == std::string_view::npos && CountCharacters(text.substr(0, blank)) + 1 != kNoBlankAt) {
    return {};
  }
  return "U nazivu ne smije biti: više razmaka (space) zaredom,  razmak na 20 poziciji!";
}

bool CheckEmail(std::string_view text, std::string& message) {
  const std::string fault = EmailFault(text);
  return fault.empty() || FaultAs(fault, message);
}

bool CheckTelefonFax(std::string_view text, std::string& message) {
  const std::string fault = TelefonFaxFault(text);
  return fault.empty() || FaultAs(fault, message);
}

bool CheckFiskalniNaziv(std::string_view text, std::string_view suffix) {
  const std::string fault = FiskalniNazivFault(text, suffix);
  return fault.empty() || Fault("Netočan unos podatka!", fault);
}

void CheckObrSast(const RecordSet& person) {
  const auto text_of = [&person](std::string_view name) {
    const auto field = person.FindField(name);
    return field ? field->AsText() : std::string();
  };
  if (CountCharacters(text_of("ime")) < 2 || CountCharacters(text_of("prezime")) < 2) {
    Fault("Nepotpuni podaci", "Polje \"Ime\" i/ili \"Prezime\" nije ispravno popunjeno");
    throw Abort();
  }
  std::string message;
  if (!CheckTelefonFax(text_of("telefon"), message) || !CheckTelefonFax(text_of("fax"), message) ||
      !CheckEmail(text_of("email"), message)) {
    throw Abort();
  }
}

}  // namespace mox

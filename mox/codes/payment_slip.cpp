#include "mox/codes/payment_slip.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mox/codes/control_digits.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kAllowed = " ,.:-+?'/()";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLetter(char c) { return IsCapital(c) || (c >= 'a' && c <= 'z'); }

// Letters with marks that the code has no place for, and the letters without them.
struct Plain {
  std::string_view letters;
  std::string_view plain;
};
constexpr Plain kPlain[] = {
    {"ÀÁÂÃÄÅĀĂĄ", "A"}, {"àáâãäåāăą", "a"}, {"Æ", "AE"},     {"æ", "ae"},        {"Ç", "C"},
    {"ç", "c"},         {"Ď", "D"},         {"ď", "d"},      {"ÈÉÊËĒĔĖĘĚ", "E"}, {"èéêëēĕėęě", "e"},
    {"ĞĢ", "G"},        {"ğģ", "g"},        {"ÌÍÎÏĪİ", "I"}, {"ìíîïīı", "i"},    {"ŁĹĽ", "L"},
    {"łĺľ", "l"},       {"ÑŃŇ", "N"},       {"ñńň", "n"},    {"ÒÓÔÕÖØŐ", "O"},   {"òóôõöøő", "o"},
    {"Œ", "OE"},        {"œ", "oe"},        {"ŔŘ", "R"},     {"ŕř", "r"},        {"ŚŞȘ", "S"},
    {"śşș", "s"},       {"ß", "ss"},        {"ŢŤȚ", "T"},    {"ţťț", "t"},       {"ÙÚÛÜŪŮŰ", "U"},
    {"ùúûüūůű", "u"},   {"Ý", "Y"},         {"ýÿ", "y"},     {"ŹŻ", "Z"},        {"źż", "z"},
    {"&", "+"},         {"’‘`´", "'"},      {"–—‑", "-"},    {"„“”«»\"", "'"}};
constexpr std::string_view kCroatian = "ČĆĐŠŽčćđšž";

std::size_t CharacterSize(std::string_view text) { return CutToCharacters(text, 1).size(); }

bool Holds(std::string_view letters, std::string_view letter) {
  for (; !letters.empty(); letters.remove_prefix(CharacterSize(letters))) {
    if (letters.substr(0, CharacterSize(letters)) == letter) return true;
  }
  return false;
}

std::string_view Reduced(std::string_view letter) {
  const char c = letter.front();
  if (IsLetter(c) || IsDigit(c) || kAllowed.find(c) != std::string_view::npos) return letter;
  if (Holds(kCroatian, letter)) return letter;
  for (const Plain& plain : kPlain) {
    if (Holds(plain.letters, letter)) return plain.plain;
  }
  return " ";
}

std::string Reduce(std::string_view text) {
  std::string reduced;
  for (; !text.empty(); text.remove_prefix(CharacterSize(text))) {
    const std::string_view letter = Reduced(text.substr(0, CharacterSize(text)));
    if (letter == " " && (reduced.empty() || reduced.back() == ' ')) continue;
    reduced += letter;
  }
  return std::string(TrimBlanks(reduced));
}

[[noreturn]] void Refuse(std::string_view field, const std::string& reason) {
  throw Error("the code of the payment slip: " + std::string(field) + ": " + reason);
}

// --- what the fields with a form of their own must be; empty where they are ---

std::string AnyFault(const std::string& /*text*/) { return {}; }

std::string NeededFault(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

std::string IbanFault(const std::string& text) {
  constexpr std::size_t kSize = 21;
  const bool valid = text.size() == kSize && text.starts_with("HR") && CheckIBANvalidity(text);
  return valid ? std::string() : '"' + text + "\" is no Croatian account";
}

std::string ModelFault(const std::string& text) {
  const bool valid = text.size() == 4 && text.starts_with("HR") && IsDigit(text[2]) && IsDigit(text[3]);
  return valid ? std::string() : '"' + text + "\" is not HR and two digits";
}

std::string PurposeFault(const std::string& text) {
  const bool valid = text.empty() || (text.size() == 4 && std::all_of(text.begin(), text.end(), IsCapital));
  return valid ? std::string() : '"' + text + "\" is not four capitals";
}

struct SlipField {
  std::string_view name;
  std::size_t most;  // characters
  std::string (*fault)(const std::string& text) = AnyFault;
  bool may_be_left_out = false;
};
constexpr bool kMayBeLeftOut = true;

// After the amount, in the order of the code.
constexpr auto kFields = std::to_array<SlipField>({{"platitelj_naziv", 30, AnyFault, kMayBeLeftOut},
                                                   {"platitelj_adresa", 27, AnyFault, kMayBeLeftOut},
                                                   {"platitelj_mjesto", 27, AnyFault, kMayBeLeftOut},
                                                   {"primatelj_naziv", 25, NeededFault},
                                                   {"primatelj_adresa", 25},
                                                   {"primatelj_mjesto", 27},
                                                   {"primatelj_iban", 21, IbanFault},
                                                   {"model", 4, ModelFault},
                                                   {"poziv_na_br", 22},
                                                   {"sifra_namjene", 4, PurposeFault},
                                                   {"opis_placanja", 35}});

std::string AmountDigits(Currency amount) {
  constexpr std::size_t kDigits = 15;
  constexpr std::int64_t kCent = Currency::kScale / 100;
  if (amount.Sign() <= 0) Refuse("iznos", amount.ToString() + " is not above 0");
  if (amount.scaled() % kCent != 0) Refuse("iznos", amount.ToString() + " has parts of a cent");
  const std::string cents = std::to_string(amount.ToCents());
  if (cents.size() > kDigits) Refuse("iznos", amount.ToString() + " has more than 15 digits");
  return std::string(kDigits - cents.size(), '0') + cents;
}

}  // namespace

std::string PaymentReference(std::string_view kind, std::int64_t number, std::int64_t year) {
  // What was printed once is paid later: a kind keeps its number, and a new one gets the next.
  constexpr std::pair<std::string_view, int> kNumbers[] = {{"otpremnica-racun", 1},
                                                           {"racun-usluga", 2},
                                                           {"racun-usluga-inozemstvo", 3},
                                                           {"bez-gotovinski-racun-servis", 4},
                                                           {"predracun", 5},
                                                           {"gotovinski-racun", 6},
                                                           {"gotovinski-racun-usluga", 7},
                                                           {"gotovinski-racun-usluga-marina", 8},
                                                           {"gotovinski-racun-servis", 9},
                                                           {"mal-gotovinski-racun", 10}};
  std::string reference = std::to_string(number) + '-';
  for (const auto& [name, of_kind] : kNumbers) {
    if (name == kind) reference += std::to_string(of_kind) + '-';
  }
  return reference + std::to_string(year);
}

std::string ReferenceFault(std::string_view model, std::string_view reference) {
  constexpr std::size_t kMostDigits = 12;
  const std::string shown = '"' + std::string(reference) + '"';
  if (model == "HR99") {
    return reference.empty() ? "" : shown + " is given, but the model HR99 has no reference";
  }
  if (reference.empty()) return "must not be empty under the model " + std::string(model);
  const std::size_t most_parts = model == "HR00" || model == "HR01" ? 3 : 4;
  std::size_t parts = 1;
  std::size_t digits = 0;
  for (std::size_t i = 0; i <= reference.size(); ++i) {
    if (i < reference.size() && IsDigit(reference[i])) {
      ++digits;
      continue;
    }
    if (i < reference.size() && reference[i] != '-')
      return shown + " has other characters than digits and hyphens";
    if (digits == 0 || digits > kMostDigits) return shown + " has a part that is not 1 to 12 digits";
    digits = 0;
    parts += i < reference.size() ? 1U : 0U;
  }
  if (parts <= most_parts) return {};
  return shown + " has " + std::to_string(parts) + " parts, the model " + std::string(model) +
         " has at most " + std::to_string(most_parts);
}

SlipCode PaymentSlipCode(const RecordRow& slip) {
  constexpr std::string_view kCurrency = "EUR";
  const auto text = [&slip](std::string_view field) { return slip.AsText(slip.IndexOf(field)); };
  if (text("valuta") != kCurrency) Refuse("valuta", '"' + text("valuta") + "\" is not EUR");
  SlipCode made{.text = "HRVHUB30\n", .left_out = {}};
  std::string& code = made.text;
  code.append(kCurrency)
      .append("\n")
      .append(AmountDigits(slip.AsCurrency(slip.IndexOf("iznos"))))
      .append("\n");
  for (const SlipField& field : kFields) {
    std::string value = Reduce(text(field.name));
    const std::size_t size = CountCharacters(value);
    if (const std::string fault = field.fault(value); !fault.empty()) Refuse(field.name, fault);
    if (size > field.most) {
      const std::string reason = '"' + value + "\" has " + std::to_string(size) +
                                 " characters, the code has room for " + std::to_string(field.most);
      if (!field.may_be_left_out) Refuse(field.name, reason);
      made.left_out.push_back(std::string(field.name) + ": " + reason);
      value.clear();
    }
    if (field.name == "poziv_na_br") {
      const std::string fault = ReferenceFault(Reduce(text("model")), value);
      if (!fault.empty()) Refuse(field.name, fault);
    }
    code.append(value).append("\n");
  }
  return made;
}

}  // namespace mox

#include "sheets/heading.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

using Meaning = Heading::Meaning;
using Row = std::vector<std::string>;

constexpr std::size_t kMostTitles = 5;
constexpr std::size_t kMostQuoted = 3;

// Columns that are not for data: those of a sheet of faults, and the working columns.
constexpr std::string_view kOwnHeadings[] = {"Redak", "Greška", "V_TEMP", "VALIDACIJA", "ERR_MSG"};

// Words that columns are called by where sheets come from; as ComparableHeading has them.
constexpr std::string_view kUsualWords[] = {
    "sifra",    "naziv",     "ime",         "prezime",   "opis",        "vrsta",        "kolicina",
    "cijena",   "cena",      "iznos",       "datum",     "adresa",      "mjesto",       "kraj",
    "grad",     "posta",     "drzava",      "telefon",   "mobitel",     "valuta",       "konto",
    "racun",    "jedinica",  "grupa",       "skupina",   "broj",        "stevilka",     "oznaka",
    "napomena", "opomba",    "stopa",       "popust",    "rabat",       "barkod",       "stranka",
    "kupac",    "dobavljac", "artikl",      "artikel",   "proizvod",    "usluga",       "partner",
    "tvrtka",   "id",        "oib",         "code",      "name",        "text",         "description",
    "title",    "type",      "kind",        "quantity",  "qty",         "price",        "amount",
    "date",     "address",   "city",        "town",      "country",     "phone",        "email",
    "mail",     "currency",  "account",     "unit",      "group",       "number",       "no",
    "note",     "notes",     "remark",      "rate",      "discount",    "barcode",      "item",
    "product",  "customer",  "supplier",    "vendor",    "company",     "key",          "value",
    "category", "zip",       "street",      "status",    "surname",     "lastname",     "firstname",
    "vat",      "tax",       "nummer",      "nr",        "bezeichnung", "beschreibung", "typ",
    "menge",    "preis",     "betrag",      "adresse",   "ort",         "stadt",        "land",
    "währung",  "einheit",   "gruppe",      "bemerkung", "kunde",       "lieferant",    "firma",
    "vorname",  "nachname",  "strasse",     "straße",    "plz",         "schlüssel",    "codice",
    "nome",     "cognome",   "descrizione", "tipo",      "quantità",    "prezzo",       "importo",
    "data",     "indirizzo", "città",       "paese",     "telefono",    "conto",        "unità",
    "gruppo",   "numero",    "nota",        "cliente",   "fornitore",   "articolo",     "prodotto",
    "servizio"};

std::size_t Filled(const Row& row) {
  return static_cast<std::size_t>(std::count_if(
      row.begin(), row.end(), [](const std::string& cell) { return !TrimBlanks(cell).empty(); }));
}

bool HasDigit(std::string_view text) { return text.find_first_of("0123456789") != std::string_view::npos; }

// Digits with what stands between those of numbers and dates.
bool IsDigits(std::string_view text) {
  return HasDigit(text) && text.find_first_not_of("0123456789.,-/ ") == std::string_view::npos;
}

bool HasDigits(const Row& row) { return std::any_of(row.begin(), row.end(), HasDigit); }

bool IsUsualWord(std::string_view word) {
  return std::find(std::begin(kUsualWords), std::end(kUsualWords), ComparableHeading(word)) !=
         std::end(kUsualWords);
}

// "Product code": one of its words is usual.
bool HasUsualWord(std::string_view cell) {
  constexpr std::string_view kBetweenWords = " \t_-./()*:";
  for (std::size_t at = 0; (at = cell.find_first_not_of(kBetweenWords, at)) != std::string_view::npos;) {
    const std::size_t end = std::min(cell.find_first_of(kBetweenWords, at), cell.size());
    if (IsUsualWord(cell.substr(at, end - at))) return true;
    at = end;
  }
  return false;
}

bool HasSmallLetter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

std::vector<std::string_view> FilledBelow(std::span<const Row> rows, std::size_t column) {
  std::vector<std::string_view> cells;
  for (const Row& row : rows.subspan(1)) {
    if (column < row.size() && !TrimBlanks(row[column]).empty()) cells.push_back(TrimBlanks(row[column]));
  }
  return cells;
}

// A word above digits alone, or above codes alone: capitals of one length, three of them at least.
bool StandsAboveOthers(std::string_view word, const std::vector<std::string_view>& below) {
  if (below.empty()) return false;
  const bool above_codes = below.size() > 2 && HasSmallLetter(word) && word.size() != below.front().size() &&
                           std::all_of(below.begin(), below.end(), [&](std::string_view cell) {
                             return cell.size() == below.front().size() && !HasSmallLetter(cell);
                           });
  return above_codes || std::all_of(below.begin(), below.end(), IsDigits);
}

// Words alone, most of them such as columns are called by, or one of them above what is none. A word that
// stands alone, and a row without others, is a heading only where there is nothing else in it.
bool LooksForeign(std::span<const Row> rows) {
  const Row& first = rows.front();
  const std::size_t filled = Filled(first);
  if (filled == 0 || HasDigits(first)) return false;
  const auto count = [&](bool (*is)(std::string_view)) {
    return static_cast<std::size_t>(std::count_if(first.begin(), first.end(), is));
  };
  if (rows.size() < 2 || filled == 1) return count(IsUsualWord) == filled && filled + rows.size() > 2;
  if (2 * count(HasUsualWord) > filled) return true;
  for (std::size_t column = 0; column < first.size(); ++column) {
    const std::string_view word = TrimBlanks(first[column]);
    if (!word.empty() && StandsAboveOthers(word, FilledBelow(rows, column))) return true;
  }
  return false;
}

std::string Quote(const Heading& heading, Meaning meaning) {
  std::string quoted;
  std::size_t count = 0;
  for (const Heading::Cell& cell : heading.cells) {
    if (cell.meaning != meaning || ++count > kMostQuoted) continue;
    quoted += (quoted.empty() ? "\"" : ", \"") + cell.text + "\"";
  }
  return count > kMostQuoted ? quoted + " and others" : quoted;
}

}  // namespace

std::size_t Heading::Count(Meaning meaning) const {
  return static_cast<std::size_t>(
      std::count_if(cells.begin(), cells.end(), [&](const Cell& cell) { return cell.meaning == meaning; }));
}

bool Heading::HasTwoOfAColumn() const {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].meaning != Meaning::kColumn) continue;
    for (std::size_t k = 0; k < i; ++k) {
      if (cells[k].meaning == Meaning::kColumn && cells[k].column == cells[i].column) return true;
    }
  }
  return false;
}

HeadingReader::HeadingReader(std::span<const SheetColumn> columns, const ColumnMap& map) : columns_(columns) {
  for (const MappedHeading& mapped : map) {
    const auto column = std::find_if(columns.begin(), columns.end(),
                                     [&](const SheetColumn& c) { return SameName(c.name, mapped.column); });
    const bool found = column != columns.end();
    known_.push_back({ComparableHeading(mapped.heading), found ? Meaning::kColumn : Meaning::kLeftOut,
                      found ? static_cast<std::size_t>(column - columns.begin()) : 0});
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    known_.push_back({ComparableHeading(columns[i].name), Meaning::kColumn, i});
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    known_.push_back({ComparableHeading(columns[i].caption), Meaning::kColumn, i});
  }
  for (const std::string_view own : kOwnHeadings)
    known_.push_back({ComparableHeading(own), Meaning::kLeftOut, 0});
}

Heading HeadingReader::Read(std::span<const std::string> row) const {
  Heading heading;
  for (const std::string& text : row) {
    Heading::Cell& cell = heading.cells.emplace_back();
    cell.text = TrimBlanks(text);
    if (cell.text.empty()) continue;
    const std::string comparable = ComparableHeading(cell.text);
    const auto known =
        std::find_if(known_.begin(), known_.end(), [&](const Known& k) { return k.heading == comparable; });
    cell.meaning = Meaning::kUnknown;
    if (known == known_.end() || comparable.empty()) continue;
    cell.meaning = known->meaning;
    cell.column = known->column;
  }
  return heading;
}

bool HeadingReader::IsHeading(const Heading& heading, bool one_column) const {
  const std::size_t known = heading.Count(Meaning::kColumn);
  const std::size_t unknown = heading.Count(Meaning::kUnknown);
  if (known == 1 && unknown == 0) return one_column;
  return known > 1 && known > unknown;
}

std::optional<std::size_t> HeadingReader::Find(std::span<const Row> rows) const {
  if (rows.empty()) return std::nullopt;
  const bool one_column = columns_.size() == 1 || std::all_of(rows.begin(), rows.end(), [](const Row& row) {
                            return Filled(row) <= 1;
                          });
  for (std::size_t i = 0; i < std::min(rows.size(), kMostTitles + 1); ++i) {
    const Heading heading = Read(rows[i]);
    if (IsHeading(heading, one_column)) return i;
    if (Filled(rows[i]) > 1) break;
  }
  // One word of many cells may well be the same as a heading where others have digits.
  const Heading first = Read(rows.front());
  const std::size_t known = first.Count(Meaning::kColumn);
  const std::size_t unknown = first.Count(Meaning::kUnknown);
  if (known > 1 || (known == 1 && (unknown < 2 || !HasDigits(rows.front())))) {
    const std::string others = unknown > 0 ? Quote(first, Meaning::kUnknown) : "nothing else";
    throw UnclearHeading("the first row may be a heading, for it has " + Quote(first, Meaning::kColumn) +
                         ", and may be none, for it has " + others);
  }
  if (LooksForeign(rows)) {
    throw UnclearHeading("the first row looks like a heading, but " + Quote(first, Meaning::kUnknown) +
                         (first.Count(Meaning::kUnknown) == 1 ? " is no column" : " are no columns"));
  }
  return std::nullopt;
}

std::size_t HeadingReader::FindAnnounced(std::span<const Row> rows) const {
  for (std::size_t i = 0; i < std::min(rows.size(), kMostTitles + 1); ++i) {
    if (Read(rows[i]).Count(Meaning::kColumn) > 0) return i;
    if (Filled(rows[i]) > 1) break;
  }
  return 0;
}

}  // namespace mox

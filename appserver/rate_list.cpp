#include "appserver/rate_list.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "mox/foundation/exchange_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr int kFirstEuroYear = 2023;

// A row of the list by the names of its columns; `number` counts from 1.
struct ListRow {
  std::size_t number = 0;
  std::map<std::string, std::string, std::less<>> values;
};

class Reader {
 public:
  explicit Reader(const std::string& label) : label_(label) {}

  std::vector<ListRow> Rows(std::string_view text) const {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (!IsValidUtf8(text)) throw Error(label_ + ": the text is not valid UTF-8");
    text = TrimBlanks(text);
    return text.starts_with('[') || text.starts_with('{') ? JsonRows(text) : CsvRows(text);
  }

  Date DateOf(const ListRow& row) const {
    const std::string text = Needed(row, "datum_primjene");
    try {
      return std::get<Date>(ParsePlain(IsoOf(text), FieldKind::kDate));
    } catch (const Error&) {
      Refuse(row, "datum_primjene", '"' + text + "\" is not a date");
    }
  }

  double RateOf(const ListRow& row, Date date) const {
    const std::string text = Needed(row, "srednji_tecaj");
    const auto unit = row.values.find("jedinica");
    const std::string units = unit == row.values.end() || unit->second.empty() ? "1" : unit->second;
    const bool is_power = units.front() == '1' && units.find_first_not_of('0', 1) == std::string::npos;
    if (!is_power) Refuse(row, "jedinica", '"' + units + "\" is not 1, 10, 100, ...");
    if (units != "1" && ToCivil(date).year >= kFirstEuroYear) {
      Refuse(row, "jedinica", '"' + units + "\": rates for one euro have no unit");
    }
    try {
      std::string number = text;
      std::replace(number.begin(), number.end(), ',', '.');
      if (text.find_first_not_of("0123456789,") != std::string::npos) throw ConversionError("");
      const double rate = ParseNumber(number + "e-" + std::to_string(units.size() - 1));
      if (rate > 0) return rate;
    } catch (const Error&) {
      // said below
    }
    Refuse(row, "srednji_tecaj", '"' + text + "\" is not a rate above 0 with a decimal comma");
  }

  std::string Needed(const ListRow& row, std::string_view column) const {
    const auto value = row.values.find(column);
    if (value == row.values.end()) Refuse(row, column, "is missing");
    if (value->second.empty()) Refuse(row, column, "must not be empty");
    return value->second;
  }

 private:
  [[noreturn]] void Refuse(const ListRow& row, std::string_view column, const std::string& reason) const {
    throw Error(label_ + ": row " + std::to_string(row.number) + ": " + std::string(column) + ": " + reason);
  }

  // "2.1.2023." as "2023-01-02".
  static std::string IsoOf(const std::string& text) {
    std::vector<std::string> parts;
    std::string_view rest = text;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find('.'), rest.size());
      parts.emplace_back(TrimBlanks(rest.substr(0, end)));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (parts.size() != 3) return text;
    const auto padded = [](std::string part, std::size_t width) {
      return part.insert(0, width - std::min(part.size(), width), '0');
    };
    return padded(parts[2], 4) + "-" + padded(parts[1], 2) + "-" + padded(parts[0], 2);
  }

  std::vector<ListRow> JsonRows(std::string_view text) const {
    const auto list = nlohmann::json::parse(text, nullptr, false);
    if (!list.is_array()) throw Error(label_ + ": the text is not a JSON array");
    std::vector<ListRow> rows;
    for (const auto& object : list) {
      ListRow& row = rows.emplace_back();
      row.number = rows.size();
      if (!object.is_object())
        throw Error(label_ + ": row " + std::to_string(row.number) + " is not an object");
      for (const auto& [name, value] : object.items()) {
        if (value.is_null() || value.is_structured()) continue;
        row.values[name] = TrimBlanks(value.is_string() ? value.get<std::string>() : value.dump());
      }
    }
    return rows;
  }

  std::vector<ListRow> CsvRows(std::string_view text) const {
    std::vector<std::string> names;
    std::vector<ListRow> rows;
    const char separator = text.substr(0, text.find('\n')).find(';') == std::string_view::npos ? ',' : ';';
    while (!text.empty()) {
      const std::vector<std::string> cells = TakeLine(text, separator);
      if (names.empty()) {
        names = cells;
        continue;
      }
      if (cells.size() == 1 && cells[0].empty()) continue;
      ListRow& row = rows.emplace_back();
      row.number = rows.size();
      if (cells.size() != names.size()) {
        throw Error(label_ + ": row " + std::to_string(row.number) + " has " + std::to_string(cells.size()) +
                    " cells, the heading " + std::to_string(names.size()));
      }
      for (std::size_t i = 0; i < cells.size(); ++i) row.values[names[i]] = cells[i];
    }
    return rows;
  }

  static std::vector<std::string> TakeLine(std::string_view& text, char separator) {
    std::vector<std::string> cells(1);
    bool quoted = false;
    while (!text.empty()) {
      const char c = text.front();
      text.remove_prefix(1);
      if (c == '"') {
        if (quoted && text.starts_with('"')) {
          cells.back() += c;
          text.remove_prefix(1);
        } else {
          quoted = !quoted;
        }
      } else if (!quoted && c == separator) {
        cells.emplace_back();
      } else if (!quoted && c == '\n') {
        break;
      } else {
        cells.back() += c;
      }
    }
    for (std::string& cell : cells) cell = TrimBlanks(cell);
    return cells;
  }

  const std::string& label_;
};

}  // namespace

RecordSet ReadRateList(std::string_view text, const std::string& label) {
  const Reader reader(label);
  RecordSet rates("Tecajevi");
  rates.DefineField("datum", FieldKind::kDate);
  rates.DefineField("val_ozn", FieldKind::kText);
  rates.DefineField("tecaj", FieldKind::kFloat);
  rates.Open();
  for (const ListRow& row : reader.Rows(text)) {
    const Date date = reader.DateOf(row);
    rates.AppendRecord({date, reader.Needed(row, "valuta"), reader.RateOf(row, date)});
  }
  if (rates.IsEmpty()) throw Error(label + ": the list has no rates");
  return rates;
}

}  // namespace mox

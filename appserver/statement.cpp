#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "appserver/row_copy.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

// Up to here a double holds four decimals: half of the last one is more than its error.
constexpr std::int64_t kMostScaled = 4'500'000'000'000'000;
constexpr double kMostAmount = 450'000'000'000.0;

void StoreText(ValueSlot& slot, std::string_view text) {
  if (text.find('\0') != std::string_view::npos)
    throw ConversionError("the text holds a NUL character, which a database does not store");
  slot.text = text;
}

void StoreNumber(ValueSlot& slot, double number) {
  if (!std::isfinite(number)) throw Overflow("only finite numbers are stored");
  slot.number = number;
}

void StoreAmount(ValueSlot& slot, Currency amount) {
  if (amount.scaled() > kMostScaled || amount.scaled() < -kMostScaled)
    throw Overflow("the amount " + amount.ToString() + " is beyond 450 thousand million");
  slot.number = amount.ToDouble();
}

// Years have four digits, so that texts sort as the moments do.
void StoreMoment(ValueSlot& slot, Date day, std::string_view text) {
  const int year = ToCivil(day).year;
  if (year < 1 || year > 9999)
    throw Overflow("the year " + std::to_string(year) + " is not one of 1 to 9999");
  slot.text = text;
}

void StoreBytes(ValueSlot& slot, std::string_view bytes) {
  slot.bytes->trim(0);
  if (!bytes.empty()) slot.bytes->write(0, bytes.data(), bytes.size());
}

std::string BytesOf(ValueSlot& slot) {
  std::string bytes(slot.bytes->get_len(), '\0');
  if (!bytes.empty()) slot.bytes->read(0, bytes.data(), bytes.size());
  return bytes;
}

void Store(ValueSlot& slot, const Value& value) {
  switch (slot.kind) {
    case FieldKind::kText:
      return StoreText(slot, ToText(value));
    case FieldKind::kInteger:
      slot.integer = ToInteger(value);
      return;
    case FieldKind::kBoolean:
      slot.integer = ToBoolean(value) ? 1 : 0;
      return;
    case FieldKind::kFloat:
      return StoreNumber(slot, ToFloat(value));
    case FieldKind::kCurrency:
      return StoreAmount(slot, ToCurrency(value));
    case FieldKind::kDate:
      return StoreMoment(slot, ToDate(value), FormatIsoDate(ToDate(value)));
    case FieldKind::kDateTime:
      return StoreMoment(slot, DayOf(ToDateTime(value)), FormatIsoDateTime(ToDateTime(value)));
    case FieldKind::kBinary:
      return StoreBytes(slot, ToText(value));
  }
}

void StoreField(ValueSlot& slot, const RecordRow& row, std::size_t field) {
  switch (slot.kind) {
    case FieldKind::kText:
      return StoreText(slot, row.AsTextView(field));
    case FieldKind::kInteger:
      slot.integer = row.AsInteger(field);
      return;
    case FieldKind::kBoolean:
      slot.integer = row.AsBoolean(field) ? 1 : 0;
      return;
    case FieldKind::kFloat:
      return StoreNumber(slot, row.AsFloat(field));
    case FieldKind::kCurrency:
      return StoreAmount(slot, row.AsCurrency(field));
    case FieldKind::kBinary:
      return StoreBytes(slot, row.AsTextView(field));
    default:
      return Store(slot, row.AsVariant(field));
  }
}

Currency AmountOf(double number) {
  if (!(std::abs(number) <= kMostAmount))
    throw Overflow("the database holds the amount " + ShortestNumber(number) + ", which is not exact");
  return Currency::FromReal(number);
}

template <typename Moment>
Moment Required(const std::optional<Moment>& moment, const std::string& text) {
  if (!moment) throw ConversionError("the database holds \"" + text + "\", which is no date");
  return *moment;
}

// Some engines put a blank between the day and the time, and leave out what is 0 at the end.
std::string& AsIso(std::string& moment) {
  constexpr std::size_t kAfterDay = 10;
  constexpr std::size_t kAfterSeconds = 19;
  constexpr std::size_t kWithMilliseconds = 23;
  if (moment.size() > kAfterDay && moment[kAfterDay] == ' ') moment[kAfterDay] = 'T';
  if (moment.size() > kAfterSeconds) moment.resize(kWithMilliseconds, '0');
  return moment;
}

void WriteField(RecordSet& answer, std::size_t field, ValueSlot& slot) {
  switch (slot.kind) {
    case FieldKind::kText:
      return answer.SetText(field, slot.text);
    case FieldKind::kInteger:
      return answer.SetInteger(field, slot.integer);
    case FieldKind::kBoolean:
      return answer.SetBoolean(field, slot.integer != 0);
    case FieldKind::kFloat:
      return answer.SetFloat(field, slot.number);
    case FieldKind::kCurrency:
      return answer.SetCurrency(field, AmountOf(slot.number));
    case FieldKind::kDate:
      return answer.SetDate(field, Required(ParseIsoDate(slot.text), slot.text));
    case FieldKind::kDateTime:
      return answer.SetDateTime(field, Required(ParseIsoDateTime(AsIso(slot.text)), slot.text));
    case FieldKind::kBinary:
      return answer.SetText(field, BytesOf(slot));
  }
}

void AppendRow(RecordSet& answer, std::vector<ValueSlot>& row) {
  answer.Append();
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i].indicator == soci::i_ok) WriteField(answer, i, row[i]);
  }
  answer.Post();
}

// Calls exchange with the part of the slot that its kind uses.
template <typename Slot, typename Exchange>
void WithMember(Slot& slot, const Exchange& exchange) {
  switch (slot.kind) {
    case FieldKind::kInteger:
    case FieldKind::kBoolean:
      return exchange(slot.integer);
    case FieldKind::kFloat:
    case FieldKind::kCurrency:
      return exchange(slot.number);
    case FieldKind::kBinary:
      return exchange(*slot.bytes);
    default:
      return exchange(slot.text);
  }
}

std::vector<ValueSlot> SlotsOf(std::span<const FieldKind> kinds, DatabaseConnection& connection) {
  std::vector<ValueSlot> slots(kinds.size());
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    slots[i].kind = kinds[i];
    if (kinds[i] != FieldKind::kBinary) continue;
    if (!connection.dialect().StoresBinaries()) throw Error("a PostgreSQL database stores no binaries");
    slots[i].bytes = std::make_unique<soci::blob>(connection.session());
  }
  return slots;
}

bool ChangesRows(std::string_view sql) {
  const std::string_view word = TrimBlanks(sql);
  return SameName(word.substr(0, 6), "INSERT") || SameName(word.substr(0, 6), "UPDATE") ||
         SameName(word.substr(0, 6), "DELETE");
}

}  // namespace

// --- the statement of the database ---

Statement::Impl::Impl(DatabaseConnection& opened, std::string_view text, std::span<const FieldKind> kinds)
    : connection(opened),
      asked(text),
      sql(ReplaceFold(text, [&](std::string_view part) { return opened.dialect().Fold(part); })),
      names(FindParameters(sql)),
      changes_rows(ChangesRows(sql)) {
  if (SplitStatements(sql).size() != 1) throw Error("not one SQL statement: " + sql);
  if (names.names.size() != kinds.size()) {
    throw Error("an SQL statement of " + std::to_string(names.names.size()) + " parameters is given " +
                std::to_string(kinds.size()) + ": " + sql);
  }
  parameters = SlotsOf(kinds, connection);
  Prepare();
}

void Statement::Impl::Prepare() {
  statement = std::make_unique<soci::statement>(connection.session());
  bound = false;
  connection.Run([&] {
    statement->alloc();
    statement->prepare(sql);
  });
  ended = true;
}

bool Statement::Impl::Answers(std::string_view sql_asked, std::span<const FieldKind> kinds) const {
  return asked == sql_asked &&
         std::equal(kinds.begin(), kinds.end(), parameters.begin(), parameters.end(),
                    [](FieldKind kind, const ValueSlot& slot) { return kind == slot.kind; });
}

bool Statement::Impl::Empty() {
  constexpr std::size_t kLongest = 4096;  // of a text; lists of values make long ones, seldom twice
  const auto is_binary = [](const ValueSlot& slot) { return slot.bytes != nullptr; };
  if (!ended || asked.size() > kLongest || std::any_of(parameters.begin(), parameters.end(), is_binary) ||
      std::any_of(answer.begin(), answer.end(), is_binary)) {
    return false;
  }
  connection.dialect().Reset(*statement);
  for (std::vector<ValueSlot>* const slots : {&parameters, &answer}) {
    for (ValueSlot& slot : *slots) {
      slot.indicator = soci::i_null;
      if (slot.text.capacity() > kLongest) slot.text = std::string();
      slot.text.clear();
    }
  }
  return true;
}

ValueSlot& Statement::Impl::Parameter(std::size_t index) {
  if (index >= parameters.size())
    throw Error("there is no parameter " + std::to_string(index + 1) + ": " + sql);
  return parameters[index];
}

void Statement::Impl::RequireColumns(std::size_t expected, bool is_executed) {
  const std::optional<std::size_t> columns = connection.dialect().ColumnCount(*statement, is_executed);
  if (!columns || expected == 0 || *columns == expected) return;
  throw Error("an SQL statement answers " + std::to_string(*columns) + " columns where " +
              std::to_string(expected) + " are expected: " + sql);
}

void Statement::Impl::Expect(std::span<const FieldKind> kinds) {
  const bool same = std::equal(kinds.begin(), kinds.end(), answer.begin(), answer.end(),
                               [](FieldKind kind, const ValueSlot& slot) { return kind == slot.kind; });
  if (bound && same) return;
  if (bound) Prepare();
  ended = false;
  RequireColumns(kinds.size(), false);
  answer = SlotsOf(kinds, connection);
  connection.Run([&] {
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      // By name where one name stands for several places, as not every engine counts those once.
      const std::string name = names.repeated ? names.names[i] : std::string();
      WithMember(std::as_const(parameters[i]), [&](const auto& member) {
        statement->exchange(soci::use(member, parameters[i].indicator, name));
      });
    }
    for (ValueSlot& slot : answer) {
      WithMember(slot, [&](auto& member) { statement->exchange(soci::into(member, slot.indicator)); });
    }
    statement->define_and_bind();
  });
  bound = true;
  ended = true;
}

bool Statement::Impl::Execute() {
  ended = false;
  const bool has_row = connection.Run([&] { return statement->execute(true); });
  RequireColumns(answer.size(), true);
  ended = !has_row;
  return has_row;
}

bool Statement::Impl::Fetch() {
  const bool has_row = connection.Run([&] { return statement->fetch(); });
  ended = !has_row;
  return has_row;
}

// --- what its users see ---

Statement::Statement(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Statement::Statement(Statement&& other) noexcept = default;
Statement& Statement::operator=(Statement&& other) noexcept = default;
Statement::~Statement() {
  if (impl_) impl_->connection.kept().Keep(std::move(impl_));
}

void Statement::BindNull(std::size_t index) { impl_->Parameter(index).indicator = soci::i_null; }

void Statement::Bind(std::size_t index, const Value& value) {
  ValueSlot& slot = impl_->Parameter(index);
  const auto* const text = std::get_if<std::string>(&value);
  const bool holds_text = slot.kind == FieldKind::kText || slot.kind == FieldKind::kBinary;
  const bool blank = text != nullptr && !holds_text && TrimBlanks(*text).empty();
  if (std::holds_alternative<std::monostate>(value) || blank) return BindNull(index);
  Store(slot, value);
  slot.indicator = soci::i_ok;
}

void Statement::BindText(std::size_t index, std::string_view text) {
  ValueSlot& slot = impl_->Parameter(index);
  if (slot.kind != FieldKind::kText) return Bind(index, std::string(text));
  StoreText(slot, text);
  slot.indicator = soci::i_ok;
}

void Statement::Bind(std::size_t index, const RecordRow& row, std::size_t field) {
  ValueSlot& slot = impl_->Parameter(index);
  if (row.IsNull(field)) return BindNull(index);
  if (row.Definition(field).kind != slot.kind) return Bind(index, row.AsVariant(field));
  StoreField(slot, row, field);
  slot.indicator = soci::i_ok;
}

Executed Statement::Impl::Run() {
  ended = false;
  const Executed executed =
      connection.Run([&] { return connection.dialect().Execute(*statement, parameters); });
  ended = true;
  return executed;
}

std::int64_t Statement::Execute() {
  const Executed executed = impl_->Run();
  return impl_->changes_rows ? executed.changed : 0;
}

void Statement::ExecuteAhead(Refused refused) {
  DatabaseConnection& connection = impl_->connection;
  if (connection.SendsAhead()) {
    return connection.SendAhead(std::move(refused), [this, &connection] {
      connection.dialect().SendAhead(*impl_->statement, impl_->parameters);
    });
  }
  try {
    impl_->Run();
  } catch (const DatabaseUnavailable&) {
    throw;
  } catch (const DatabaseError& error) {
    if (refused) refused(error);
    throw;
  }
}

std::int64_t Statement::ExecuteForKey() {
  const Executed executed = impl_->Run();
  if (!executed.answer) impl_->connection.Refuse("the statement answered no key: " + impl_->sql);
  return *executed.answer;
}

void Statement::AddTo(RowCopy& rows) const { rows.Add(impl_->parameters); }

void Statement::ExecuteInto(RecordSet& answer) {
  std::vector<FieldKind> kinds;
  kinds.reserve(answer.FieldCount());
  for (std::size_t i = 0; i < answer.FieldCount(); ++i) kinds.push_back(answer.Definition(i).kind);
  impl_->Expect(kinds);
  try {
    for (bool row = impl_->Execute(); row; row = impl_->Fetch()) AppendRow(answer, impl_->answer);
  } catch (...) {
    impl_->connection.dialect().Reset(*impl_->statement);
    if (answer.State() == DataSetState::kInsert) answer.Cancel();
    throw;
  }
}

}  // namespace mox

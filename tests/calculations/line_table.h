#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"
#include "mox/host/memory_settings.h"

namespace mox {

/// The host of a test: settings in memory, and dialogs that are only written down.
class TestHost : public AppDialogs {
 public:
  TestHost() : app_({.ini = &settings, .dialogs = this}) {}
  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override;
  void ShowMessage(std::string_view text) override { dialogs.emplace_back(text); }

  MemorySettings settings;
  std::vector<std::string> dialogs;  ///< "kind|caption|heading|message"

 private:
  ScopedApp app_;
};

/// A function of one line, called with arguments that are texts.
class LineFunction {
 public:
  template <typename... Args>
  LineFunction(const char* name, void (*function)(RecordSet&, Args...))
      : name_(name), call_([function](RecordSet& lines, const std::vector<std::string>& texts) {
          [&]<std::size_t... I>(std::index_sequence<I...>) {
            function(lines, Argument<Args>(texts.at(I))...);
          }
          (std::index_sequence_for<Args...>());
        }) {}
  const char* Name() const { return name_; }
  void operator()(RecordSet& lines, const std::vector<std::string>& texts) const { call_(lines, texts); }

 private:
  template <typename T>
  static T Argument(const std::string& text) {
    if constexpr (std::is_same_v<T, Currency>) {
      return Currency::Parse(text);
    } else {
      return static_cast<T>(std::stoi(text));
    }
  }

  const char* name_;
  std::function<void(RecordSet&, const std::vector<std::string>&)> call_;
};

/// A section of a file of the folder cases/: what follows "= " on its first line, and the lines after it.
struct Section {
  std::string file;
  std::string title;
  std::string rows;
};
std::vector<Section> ReadSections(const std::vector<std::string>& files);
std::string NameOfSection(const testing::TestParamInfo<Section>& info);

/// The rows of a table: a line that begins with an arrow goes on with a row, and so do all up to its first
/// arrow; one that begins with "#" is a comment.
std::vector<std::string> RowsOf(const std::string& table);

/// How a function finds the line: edited, edited with a quantity of another kind than usual, inside the
/// calculate-fields event, browsed.
enum class Way : std::uint8_t { kEdit, kOtherKind, kCalcFields, kBrowse };

/// Runs every row of a table through every function, in all ways but the last. A row is a line such as
///
///   (2) PC_CALC_DIGIT=3 pc=0.333 kolicina=3 -> pci=1 mpc=0.417 ...
///
/// with the arguments in parentheses, settings in capitals, what the line holds and what it holds afterwards;
/// a row may go on before and after its arrows, and a line that begins with "#" is a comment. A field
/// that is not given is null, one given as "absent" is not in the record set. Whatever the right side does
/// not name must stay as it was, unless it ends in "..."; a text after "!" is that of the error. In the
/// calculate-fields event only the fields that the right side names are calculated ones. The first row must
/// name every field that the functions need: the lack of any is to raise FieldNotFound.
void ExpectRows(const std::vector<LineFunction>& functions, const std::string& table);

/// The same in one way only, without the look for lacking fields.
void ExpectRowsIn(Way way, const LineFunction& function, const std::string& table);

/// A table for one member of a family: `placeholder` in it stands for the name that differs.
std::string With(std::string table, std::string_view placeholder, std::string_view name);

/// An open set from "a=1 b=2; a=3": its records, over all the fields that are named, in order of first
/// appearance; the first record is current. Names of the vocabulary have their usual kind, others hold texts.
/// A name alone declares a field.
RecordSet Records(std::string_view text);

/// The records as texts: "160.00 40.00 25 25,00% 200.00; ...".
std::string Show(RecordSet& records);
std::string Show(const Value& value);

}  // namespace mox

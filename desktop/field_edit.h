#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QWidget>
#include <functional>
#include <optional>
#include <string>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// A line of text over one field of the only record of a set. What is entered goes into the record when the
/// line is left; a text that is no value of the field is told below it, and stays. F4 opens the look-up form
/// of a field that names something.
class FieldEdit : public QWidget {
 public:
  FieldEdit(RecordSet& record, std::string_view field, QWidget* parent = nullptr);
  /// What is typed and not taken goes with it: the record may be gone already.
  ~FieldEdit() override;

  /// The field is the key of rows that people know by code and name: it shows their name, and takes a part of
  /// any text, which the look-up form completes. `key_of` says the key of the record that was chosen.
  void SetLookUp(LookUpForm form, std::string_view shown,
                 std::function<std::optional<Value>(const RecordSet& chosen)> key_of);
  /// What the field's key stands for, as a record that was chosen before has it.
  void ShowName(const QString& name);
  void SetOnChanged(std::function<void()> changed) { on_changed_ = std::move(changed); }
  void SetReadOnly(bool read_only);
  QLineEdit& Line() { return line_; }
  /// Takes what is entered; false where it is no value.
  bool Take();
  /// The same without a question: a name that the look-up form would have to complete is not taken. What is
  /// not taken, for people; empty where all is.
  QString TakeTyped();
  /// Shows what stands in the record.
  void ReadAnew();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct LookUp {
    LookUpForm form;
    std::string shown;
    std::function<std::optional<Value>(const RecordSet&)> key_of;
  };
  bool IsByKey() const;
  void OpenLookUp();
  bool Write(const Value& value);
  void Fault(const QString& text);

  RecordSet& record_;
  std::size_t field_;
  std::optional<LookUp> look_up_;
  QString name_;  // what the key stands for
  QLineEdit line_;
  std::function<void()> on_changed_;
  bool choosing_ = false;
};

}  // namespace mox

#pragma once

#include <QHBoxLayout>
#include <QTimer>
#include <QVBoxLayout>
#include <QVariant>
#include <QWidget>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/editing_page.h"
#include "desktop/later.h"
#include "desktop/named_label.h"
#include "desktop/record_set_view.h"

class QPushButton;

namespace mox {

class DesktopHost;

/// A page of the main window: a bar of what narrows rows down, the rows, and a bar of buttons with a note.
/// Its record set is filled anew when the page asks the server.
class RecordPage : public QWidget, public EditingPage {
 public:
  RecordPage(DesktopHost& host, const QString& title, RecordSet empty, QWidget* parent = nullptr);
  ~RecordPage() override;

  /// Asks for the rows anew; the current one stays current. A row that is being typed is stored before; false
  /// where that was refused, and the row stays. Where the user ends it, or it fails, rows and filters are
  /// those that were there.
  bool Reload();
  /// Shows nothing until it is read, as another user may not see it. A row that is being typed is thrown
  /// away.
  virtual void Clear();
  /// What was to be read is not wanted any more, as the page closes.
  void Forget();
  bool MayClose() override;

 protected:
  /// Asks the server and shows its answer. Until Show() nothing is changed by which later rows are stored.
  virtual void Read() = 0;
  /// The answer's rows, fields and labels take the place of those that are shown.
  void Show(RecordSet answer, const std::vector<std::string_view>& fields);
  /// After a row was stored, which is another one now: reads it anew, or once the next one that is being
  /// typed is left. Until that is read nothing else is edited, as others' changes would be overwritten
  /// unnoticed.
  void ReadSoon();
  bool IsStale() const { return stale_; }
  /// As Reload(), but raises Abort where the user ends it.
  bool ReadAnew();
  /// After something was done, which is told: reads the rows anew.
  void ReadAgain(const QString& done);
  QPushButton* AddButton(const QString& text, const std::function<void()>& action,
                         const QKeySequence& key = {});
  QHBoxLayout* Filters() { return &filters_; }
  DesktopHost& Host() const { return host_; }
  QBoxLayout& Buttons() { return buttons_; }
  void SetNote(const QString& note) { note_.setText(note); }
  /// Rows are chosen whole, and nothing is changed in them.
  void OnlyShow();
  RecordSet& Rows() { return rows_; }
  RecordSetModel& Model() { return model_; }
  RecordSetView& View() { return view_; }
  /// A field of the current row; null where there is none.
  Value Current(std::string_view field) const;
  /// The sum of a currency column of the rows that are shown.
  Currency Sum(std::string_view field) const;

 private:
  void ReadNow();
  std::vector<QWidget*> FilterWidgets() const;
  void KeepFilters();
  void PutFiltersBack();

  DesktopHost& host_;
  RecordSet rows_;
  RecordSetModel model_;
  RecordSetView view_;
  QVBoxLayout* layout_;
  QHBoxLayout filters_;
  QHBoxLayout buttons_;
  NamedLabel note_;
  std::vector<QVariant> shown_;  // what the filters were when the rows came
  bool fits_ = false;            // the columns, to rows
  bool reading_ = false;
  bool waits_ = false;  // for the row that is being typed
  bool stale_ = false;  // what was stored is not read yet
  int listener_ = 0;
  Later read_;
  QTimer read_soon_;  // until no mouse button is pressed
};

}  // namespace mox

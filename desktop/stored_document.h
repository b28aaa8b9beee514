#pragma once

#include <QGridLayout>
#include <QTabWidget>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "desktop/field_edit.h"
#include "desktop/named_label.h"
#include "desktop/record_set_view.h"

namespace mox {

class DesktopHost;
struct PageSource;

/// A stored document: what it says, its lines, its tax by rate, what is paid of it, and the documents that
/// belong to it. Nothing of it can be edited; it is printed, paid, cancelled and sent from here.
class StoredDocumentPage : public QWidget {
 public:
  /// `open` shows another document. Raises Error for a document that there is not.
  StoredDocumentPage(DesktopHost& host, std::int64_t id, std::function<void(std::int64_t)> open);
  ~StoredDocumentPage() override;

  std::int64_t Id() const { return id_; }
  /// Reads it anew.
  void Reload();

 private:
  // Rows that are shown and not edited.
  struct Shown {
    explicit Shown(const QString& title);
    void Show(RecordSet answer, const std::vector<std::string_view>& fields);
    RecordSet rows;
    RecordSetModel model;
    RecordSetView view;
  };

  QWidget* MakeSide();
  void ShowFacts(const PageSource& source);
  void ShowLines(Shown& shown, RecordSet lines, bool services, const PageSource& source);
  void ShowTotals(const PageSource& source, const std::optional<RecordSet>& listed);
  void OpenLink();

  DesktopHost& host_;
  std::int64_t id_;
  std::function<void(std::int64_t)> open_;
  RecordSet header_;
  QGridLayout* facts_;
  QTabWidget tabs_;
  Shown goods_;
  Shown services_;
  Shown links_;
  QWidget side_;  // before what stands on it, which goes first
  Shown taxes_;
  NamedLabel total_;
  NamedLabel paid_;
  NamedLabel note_;
};

}  // namespace mox

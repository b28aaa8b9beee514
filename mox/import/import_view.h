#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace mox {

class TfrmImportGrid;
class TfrmStatus;

/// The screen of an import grid: real windows, a terminal, or a test's log. It shows what the form holds and
/// hands the user's actions to it; every decision is the form's.
class ImportGridView {
 public:
  virtual ~ImportGridView() = default;
  /// Shows the form until its modal result is other than kMrNone.
  virtual void ShowModal(TfrmImportGrid& form) = 0;
  /// The indicator, a button or a column looks different.
  virtual void FormChanged(const TfrmImportGrid& /*form*/) {}
  /// There are other faults, which the user is not told of yet.
  virtual void FaultsChanged(const TfrmImportGrid& /*form*/) {}
  /// The form has another modal result; other than kMrNone it is to be closed.
  virtual void ModalResultChanged(const TfrmImportGrid& /*form*/) {}
  /// The status window came, went or moved on; its text is painted when `repaint` is asked for.
  virtual void StatusChanged(const TfrmStatus& /*status*/, bool /*repaint*/) {}
};

/// The status window: a line of text and a progress bar.
class TfrmStatus {
 public:
  explicit TfrmStatus(ImportGridView& view) : view_(&view) {}

  bool Visible() const { return visible_; }
  const std::string& Text() const { return text_; }
  std::int64_t Position() const { return position_; }
  std::int64_t Maximum() const { return maximum_; }

  void Show(std::string_view text, std::int64_t maximum) {
    visible_ = true;
    text_ = text;
    position_ = 0;
    maximum_ = maximum;
    view_->StatusChanged(*this, true);
  }
  void SetMaximum(std::int64_t maximum) { maximum_ = maximum; }
  void SetPosition(std::int64_t position) {
    position_ = position;
    view_->StatusChanged(*this, false);
  }
  void SetText(std::string text) { text_ = std::move(text); }
  void Refresh() { view_->StatusChanged(*this, true); }
  void Hide() {
    visible_ = false;
    view_->StatusChanged(*this, false);
  }

 private:
  ImportGridView* view_;
  bool visible_ = false;
  std::string text_;
  std::int64_t position_ = 0;
  std::int64_t maximum_ = 0;
};

/// Shows a status window for its own lifetime.
class [[nodiscard]] StatusWindow {
 public:
  StatusWindow(TfrmStatus& status, std::string_view text, std::int64_t maximum) : status_(status) {
    status_.Show(text, maximum);
  }
  ~StatusWindow() { status_.Hide(); }
  StatusWindow(const StatusWindow&) = delete;
  StatusWindow& operator=(const StatusWindow&) = delete;

 private:
  TfrmStatus& status_;
};

}  // namespace mox

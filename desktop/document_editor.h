#pragma once

#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <vector>

#include "desktop/drafts.h"
#include "desktop/editing_page.h"
#include "desktop/field_edit.h"
#include "desktop/later.h"
#include "desktop/named_label.h"
#include "desktop/record_set_view.h"
#include "mox/documents/document.h"

namespace mox {

class DesktopHost;
struct StockShortage;

/// A document that is being entered: header, lines of goods and of services, tax by rate and total beside
/// them. Every line shows its amounts while it is typed. F9 stores it.
class DocumentEditor : public QWidget, public EditingPage {
 public:
  DocumentEditor(DesktopHost& host, Document document, Draft draft, QWidget* parent = nullptr);
  ~DocumentEditor() override;

  const Document& Content() const { return document_; }
  /// Whether it may be closed: stored, empty, or the user throws it away. Its draft goes with it.
  bool MayClose() override;
  /// Its draft is as it stands on the screen, with what is being typed.
  bool MayEnd() override;
  /// Stores what was entered. False where a check or the server refused it, or the user did.
  bool Store();
  bool IsStored() const { return stored_; }
  /// "Gotovinski račun 12/2026", or the kind alone.
  QString Title() const;
  void SetOnStored(std::function<void()> stored) { on_stored_ = std::move(stored); }
  /// Called with the id of the stored document when the user wants to see it.
  void SetOnShow(std::function<void(std::int64_t id)> show) { on_show_ = std::move(show); }
  /// The settings of decimals are others now.
  void ReadFormats();
  /// The document stays, but so that another program may find it again: as when this one ends. False where
  /// that cannot be, which is told beside it.
  bool SaveDraft();

 private:
  // The lines of one sort on the screen.
  struct Sheet {
    RecordSet* lines;
    std::unique_ptr<RecordSetModel> model;
    RecordSetView* view = nullptr;  // the tabs' own
    int listener = 0;
  };

  QWidget* MakeHeader();
  QWidget* MakeTotals();
  QWidget* MakeButtons();
  void AddSheet(RecordSet* lines, const LineSchema& schema, const QString& title);
  void Wrote(Sheet& sheet, std::size_t field);
  bool LookUpLine(Sheet& sheet, std::string_view field);
  void TakeArticle(Sheet& sheet);
  void Changed();
  void Recount();
  void ShowTotal();
  bool TakeAll();
  bool CheckLines();
  QString TakeTyped();
  bool AskForPayment();
  bool SendToServer();
  void ShowShortage(const StockShortage& shortage);
  void StoreOrShow();
  void ShowStored(const RecordSet& stored);
  RecordSet TotalsOfLines();
  bool HasSupplierTotals() const;
  void ShowSupplierTotals();
  void EnterSupplierTotals();
  bool AgreesWithSupplier();

  DesktopHost& host_;
  Document document_;
  Draft draft_;
  std::vector<std::unique_ptr<Sheet>> sheets_;
  std::vector<FieldEdit*> header_;
  std::unique_ptr<RecordSetModel> recap_model_;
  RecordSetView* recap_view_ = nullptr;
  QTabWidget tabs_;
  NamedLabel total_;
  NamedLabel words_;
  NamedLabel note_;
  QPushButton store_{QStringLiteral("Pohrani (F9)")};
  Later take_article_;
  QTimer recount_;
  QTimer save_;
  QString number_;  // of a stored document
  bool stored_ = false;
  bool changed_ = false;
  std::function<void()> on_stored_;
  std::function<void(std::int64_t)> on_show_;
  std::int64_t id_ = 0;  // of a stored document
};

}  // namespace mox

#include "mox/import/import_grid.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/import/import_profiles.h"

namespace mox {
namespace {

constexpr std::string_view kFilterCaption = "Filter prikaza...";
constexpr std::size_t kSourceSize = 100;
constexpr int kHiddenWidth = 300;
constexpr int kColumnWidth = 100;

// A grid without columns has sets without fields, which stay closed.
void OpenWithFields(RecordSet& set) {
  if (set.FieldCount() > 0) set.Open();
}

}  // namespace

TfrmImportGrid::TfrmImportGrid(ImportGridView& view, std::string_view profile_key)
    : view_(view),
      profile_key_(profile_key),
      source_("adsForImport"),
      target_(TypedRows({})),
      status_(view),
      filter_button_{.caption = std::string(kFilterCaption),
                     .hint = "Pozicionirajte se na kolonu te kliknite na botun"},
      preracun_velicina_button_{.caption = "Preračun veličina"},
      generiranje_sifri_button_{.caption = "Generiranje šifri"},
      ws_katalog_button_{.caption = "WS Katalog"},
      provjera_i_uvoz_button_{.caption = "Provjera i uvoz podataka", .modal_result = kMrOk},
      odustani_button_{.caption = "Odustani", .modal_result = kMrCancel, .cancel = true} {
  source_.AddListener([this](const RecordSet&, const RecordSetChange& change) { SourceChanged(change); });
}

bool CallImportGrid(std::string_view profile_key, ImportGridView& view) {
  TfrmImportGrid form(view, profile_key);
  const bool imported = form.ShowModal() == kMrOk;
  if (imported) {
    ShowVelorDialog(TVCustomDialogType::kInformation, "Obavijest", "Uvoz podataka",
                    "Uvoz podataka uspješno izvršen.");
  }
  return imported;
}

bool CallImportGrid(std::string_view profile_key) {
  const std::unique_ptr<ImportGridView> view = App().Forms().NewImportGridView();
  return CallImportGrid(profile_key, *view);
}

int TfrmImportGrid::ShowModal() {
  SetModalResult(kMrNone);
  OnShow();
  view_.ShowModal(*this);
  return modal_result_;
}

void TfrmImportGrid::OnShow() {
  const ImportProfile* const profile = FindImportProfile(profile_key_);
  if (profile != nullptr) PrepareProfile(profile->key);
  OpenWithFields(source_);
  OpenWithFields(target_);
  const bool retail_articles = profile != nullptr && profile->has_article_tools;
  preracun_velicina_button_.visible = retail_articles;
  generiranje_sifri_button_.visible = retail_articles;
  ws_katalog_button_.visible = retail_articles;
  UpdateIndicator();
}

// --- the grid and its sets ---

void TfrmImportGrid::ImportFieldDefinition(std::size_t index, std::string_view field_name,
                                           std::string_view caption, std::string_view field_type,
                                           std::string_view size, std::string_view required,
                                           std::string_view lookup, std::string_view lookup_sql,
                                           std::string_view unique, std::string_view unique_sql) {
  if (index >= fields_.size()) {
    throw Error("there is no import field at position " + std::to_string(index) + " of " +
                std::to_string(fields_.size()));
  }
  fields_[index] = {std::string(field_name), std::string(caption),  std::string(field_type),
                    std::string(size),       std::string(required), std::string(lookup),
                    std::string(lookup_sql), std::string(unique),   std::string(unique_sql)};
}

void TfrmImportGrid::CreateGrid() {
  columns_.clear();
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (!fields_[i].IsDefined()) continue;
    const bool data = i >= kFirstDataPosition;
    columns_.push_back(
        {i, fields_[i].field_name, fields_[i].caption, data ? kColumnWidth : kHiddenWidth, data});
  }
}

void TfrmImportGrid::CreateDataSetFrom() {
  RecordSet set(source_.Name());
  for (const ImportFieldDef& field : fields_) {
    if (field.IsDefined()) set.DefineField(field.field_name, FieldKind::kText, kSourceSize);
  }
  OpenWithFields(set);
  source_.CleanClone(set);
}

void TfrmImportGrid::CreateDataSetTo() { target_ = TypedRows(fields_); }

void TfrmImportGrid::SourceChanged(const RecordSetChange& change) {
  using enum RecordSetChange::Kind;
  if (change.kind != kMoved && change.kind != kCell && change.kind != kRecord) {
    faults_.Follow(source_);
    sheet_faults_.Follow(source_);
  }
  UpdateIndicator();
}

GridRows TfrmImportGrid::KeepRows() {
  source_.PostPending();
  GridRows kept{RecordSet(source_.Name()),
                {faults_.All().begin(), faults_.All().end()},
                {sheet_faults_.All().begin(), sheet_faults_.All().end()}};
  kept.rows.CleanClone(source_);
  return kept;
}

void TfrmImportGrid::RestoreRows(const GridRows& kept) {
  {
    const ControlsGuard controls(source_);
    source_.Cancel();
    source_.Clear();
    source_.DataTransfer(kept.rows);
    source_.First();
    faults_.Assign(kept.faults, source_);
    sheet_faults_.Assign(kept.sheet_faults, source_);
  }
  if (!kept.faults.empty()) ShowFaultTexts();
}

void TfrmImportGrid::UpdateIndicator() {
  const std::size_t count = source_.RecordCount();
  lbl_indicator_ = std::to_string(count > 0 ? source_.Position() + 1 : 0) + "/" + std::to_string(count);
  view_.FormChanged(*this);
}

void TfrmImportGrid::SetModalResult(int result) {
  if (std::exchange(modal_result_, result) != result) view_.ModalResultChanged(*this);
}

const GridStyle* TfrmImportGrid::RowStyle(std::size_t row) const {
  const RecordRow cells = source_.RowAt(row);
  const bool faulty = !cells.IsNull(kValidacijaPosition) && !cells.AsBoolean(kValidacijaPosition);
  return faulty ? &kNeispravno : nullptr;
}

const GridStyle* TfrmImportGrid::RowStyle() const {
  return source_.RowCount() > 0 ? RowStyle(source_.CurrentRow()) : nullptr;
}

void TfrmImportGrid::SetOrigin(const ImportOrigin& origin) {
  RecordSet set("adsUvoz");
  for (const char* const name : {"profil", "korisnik", "datoteka", "sazetak"}) {
    set.DefineField(name, FieldKind::kText);
  }
  set.DefineField("ponovno", FieldKind::kBoolean);
  set.Open();
  set.AppendRecord({profile_key_, origin.user, origin.file, origin.digest, origin.again});
  origin_ = std::move(set);
}

// --- the display filter ---

void TfrmImportGrid::FilterClick() {
  if (source_.IsFiltered()) {
    source_.SetFiltered(false);
    filter_button_.caption = kFilterCaption;
  } else {
    const std::string expression = FilterExpression();
    if (expression.empty()) return;
    source_.SetFilter(expression);
    source_.SetFiltered(true);
    filter_button_.caption = "Isključi filter...";
  }
  view_.FormChanged(*this);
}

std::string TfrmImportGrid::FilterExpression() const {
  constexpr std::string_view kTitle = "Filter - jednako, slično";
  const auto answer = InputBox(kTitle, "Unesite (\"=\" ili \"like\")", "=");
  if (answer != "=" && answer != "like") return {};
  const auto text = InputBox("Filter", "Unesite tekst:", "");
  const auto column = std::find_if(columns_.begin(), columns_.end(), [&](const GridColumn& candidate) {
    return candidate.visible && candidate.position == focused_;
  });
  if (!text || column == columns_.end()) return {};
  const std::string wrapped = answer == "like" ? "%" + *text + "%" : *text;
  return column->field_name + " " + *answer + "'" + wrapped + "'";
}

}  // namespace mox

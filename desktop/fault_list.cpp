#include "desktop/fault_list.h"

#include <iterator>

#include "desktop/croatian.h"
#include "desktop/qt_text.h"

namespace mox {
namespace {

constexpr const char16_t* kTitles[] = {u"Redak", u"Kolona", u"Vrijednost", u"Što nije u redu"};

QString WantedKind(const ImportFieldDef& field) {
  if (field.field_type == field_type::kDate) return QStringLiteral("nije datum");
  if (field.field_type == field_type::kBoolean) return QStringLiteral("nije da ili ne (true, false)");
  if (field.field_type == field_type::kText) return QStringLiteral("nije dopušten tekst");
  return QStringLiteral("nije broj");
}

}  // namespace

QString FaultText(const ImportFault& fault, const ImportFieldDef& field) {
  const QString value = QStringLiteral("„%1” ").arg(ToQt(fault.value));
  switch (fault.pass) {
    case ImportPass::kRequired:
      return QStringLiteral("obavezan podatak nije upisan");
    case ImportPass::kLookup:
      return value + QStringLiteral("ne postoji u bazi");
    case ImportPass::kUnique:
      return value + QStringLiteral("već postoji u bazi");
    case ImportPass::kFormat:
      return value + WantedKind(field) + QStringLiteral(" (%1)").arg(InCroatian(fault.reason));
    case ImportPass::kStore:
      break;
  }
  return QStringLiteral("poslužitelj nije prihvatio: %1").arg(ToQt(fault.reason));
}

void FaultListModel::ReadAnew() {
  beginResetModel();
  count_ = static_cast<int>(form_.Faults().size());
  endResetModel();
}

int FaultListModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count_; }

int FaultListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(std::size(kTitles));
}

QVariant FaultListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return QString::fromUtf16(kTitles[section]);
}

QVariant FaultListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || role != Qt::DisplayRole) return {};
  const std::size_t row = static_cast<std::size_t>(index.row());
  if (row >= form_.Faults().size()) return {};
  const ImportFault& fault = form_.Faults()[row];
  const ImportFieldDef& field = form_.Fields()[fault.column];
  switch (index.column()) {
    case 0:
      return QVariant::fromValue(fault.row);
    case 1:
      return ToQt(field.caption);
    case 2:
      return ToQt(fault.value);
    default:
      return FaultText(fault, field);
  }
}

}  // namespace mox

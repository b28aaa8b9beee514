#include "sheets/grid_sheet.h"

#include <algorithm>

#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

std::vector<ImportFieldDef> DataFields(const TfrmImportGrid& form) {
  std::vector<ImportFieldDef> fields;
  for (const GridColumn& column : form.Columns()) {
    if (column.position >= kFirstDataPosition) fields.push_back(form.Fields()[column.position]);
  }
  return fields;
}

std::vector<SheetColumn> SheetColumnsOf(std::span<const ImportFieldDef> fields, std::size_t most_characters) {
  std::vector<SheetColumn> columns;
  for (const ImportFieldDef& field : fields) {
    const bool text = field.field_type == field_type::kText;
    const std::size_t width =
        text ? std::min(most_characters, static_cast<std::size_t>(ParseInteger(field.size)))
             : most_characters;
    columns.push_back({field.field_name, field.caption, width, ToBoolean(field.required)});
  }
  return columns;
}

std::vector<ImportFault> GridFaultsOf(const SheetText& sheet) {
  std::vector<ImportFault> faults;
  for (const SheetFault& fault : sheet.faults) {
    faults.push_back(
        {fault.row + 1, fault.column + kFirstDataPosition, ImportPass::kFormat, fault.value, fault.reason});
  }
  return faults;
}

}  // namespace mox

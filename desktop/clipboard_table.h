#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace mox {

/// Rows of cells as spreadsheets put them on the clipboard: a line a row, a tab between cells. A cell with a
/// tab or a line break inside stands in quotes, in which a quote is doubled; a quote elsewhere is a text.
std::vector<QStringList> ReadClipboardTable(const QString& text);
QString WriteClipboardTable(const std::vector<QStringList>& rows);

}  // namespace mox

#pragma once

#include <QString>
#include <QStringList>
#include <vector>

class QMimeData;

namespace mox {

/// Rows of cells as spreadsheets put them on the clipboard: a line a row, a tab between cells. A cell with a
/// tab or a line break inside stands in quotes, in which a quote is doubled; a quote elsewhere is a text.
std::vector<QStringList> ReadClipboardTable(const QString& text);
/// The text of such a table on the clipboard; of a page that has nothing but a table in HTML, that table's.
/// Empty where there is no text.
QString ClipboardText(const QMimeData* clipboard);
/// Why the text is nothing to be pasted, in a sentence: too large, or no text at all. Empty where it is.
QString FaultOfPasted(const QString& text, qsizetype most_rows = 200'000);
QString WriteClipboardTable(const std::vector<QStringList>& rows);

}  // namespace mox

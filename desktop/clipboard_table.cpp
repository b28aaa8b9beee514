#include "desktop/clipboard_table.h"

#include <QMimeData>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextTable>
#include <algorithm>

namespace mox {
namespace {

constexpr qsizetype kMostPasted = qsizetype{64} * 1024 * 1024;  // characters
constexpr qsizetype kLongestCell = 32'767;                      // as spreadsheets have it
constexpr qsizetype kMostHtml = qsizetype{8} * 1024 * 1024;

qsizetype LongestCell(const QString& text) {
  qsizetype longest = 0;
  qsizetype begin = 0;
  for (qsizetype at = 0; at <= text.size(); ++at) {
    if (at < text.size() && text[at] != u'\t' && text[at] != u'\n') continue;
    longest = std::max(longest, at - begin);
    begin = at + 1;
  }
  return longest;
}

// The first table of a page, as a spreadsheet would have put it there.
QString TableOfHtml(const QString& html) {
  QTextDocument page;
  page.setHtml(html);
  for (QTextFrame* const frame : page.rootFrame()->childFrames()) {
    const auto* const table = qobject_cast<QTextTable*>(frame);
    if (table == nullptr) continue;
    std::vector<QStringList> rows(static_cast<std::size_t>(table->rows()));
    for (int row = 0; row < table->rows(); ++row) {
      for (int column = 0; column < table->columns(); ++column) {
        const QTextTableCell cell = table->cellAt(row, column);
        const bool begins = cell.row() == row && cell.column() == column;
        QTextCursor text = cell.firstCursorPosition();
        text.setPosition(cell.lastPosition(), QTextCursor::KeepAnchor);
        rows[static_cast<std::size_t>(row)].append(begins ? text.selectedText().trimmed() : QString());
      }
    }
    return WriteClipboardTable(rows);
  }
  return page.toPlainText();
}

}  // namespace

QString ClipboardText(const QMimeData* clipboard) {
  if (clipboard == nullptr) return {};
  if (clipboard->hasText() && !clipboard->text().isEmpty()) return clipboard->text();
  if (!clipboard->hasHtml()) return {};
  const QString html = clipboard->html();
  return html.size() > kMostHtml ? QString() : TableOfHtml(html);
}

QString FaultOfPasted(const QString& text, qsizetype most_rows) {
  if (text.isEmpty()) return QStringLiteral("U međuspremniku nema teksta.");
  if (text.size() > kMostPasted) {
    return QStringLiteral(
               "Međuspremnik ima %1 MB; to je previše za lijepljenje. Spremite podatke kao tablicu i "
               "uvezite je.")
        .arg(text.size() / (qsizetype{1024} * 1024));
  }
  if (text.contains(QChar(0))) return QStringLiteral("U međuspremniku nije tekst.");
  const qsizetype rows = text.count(u'\n');
  if (rows > most_rows) {
    return QStringLiteral("Međuspremnik ima %1 redaka; najviše se lijepi %2 odjednom.")
        .arg(rows)
        .arg(most_rows);
  }
  if (LongestCell(text) > kLongestCell) {
    return QStringLiteral("U međuspremniku je ćelija dulja od %1 znakova.").arg(kLongestCell);
  }
  return {};
}

namespace {

const QChar kQuote = u'"';

bool NeedsQuotes(const QString& cell) {
  return cell.contains(u'\t') || cell.contains(u'\n') || cell.contains(u'\r') || cell.startsWith(kQuote);
}

// The end of a quoted cell that begins at `from`: behind its closing quote, which a tab, a line break or the
// end of the text follows. -1 where there is none, so that the quote is a text.
qsizetype EndOfQuoted(const QString& text, qsizetype from) {
  for (qsizetype i = from + 1; i < text.size(); ++i) {
    if (text[i] != kQuote) continue;
    if (i + 1 < text.size() && text[i + 1] == kQuote) {
      ++i;
      continue;
    }
    const bool closes =
        i + 1 == text.size() || text[i + 1] == u'\t' || text[i + 1] == u'\n' || text[i + 1] == u'\r';
    return closes ? i + 1 : -1;
  }
  return -1;
}

}  // namespace

std::vector<QStringList> ReadClipboardTable(const QString& text) {
  std::vector<QStringList> rows;
  QStringList row;
  qsizetype at = 0;
  while (at < text.size()) {
    const qsizetype quoted = text[at] == kQuote ? EndOfQuoted(text, at) : -1;
    qsizetype end = quoted < 0 ? at : quoted;
    while (end < text.size() && text[end] != u'\t' && text[end] != u'\n' && text[end] != u'\r') ++end;
    row.append(quoted < 0 ? text.mid(at, end - at)
                          : text.mid(at + 1, quoted - at - 2).replace(QStringLiteral("\"\""), kQuote));
    at = end + 1;
    if (end < text.size() && text[end] == u'\t') {
      if (at == text.size()) row.append(QString());
      continue;
    }
    if (end < text.size() && text[end] == u'\r' && at < text.size() && text[at] == u'\n') ++at;
    rows.push_back(std::exchange(row, {}));
  }
  if (!row.isEmpty()) rows.push_back(row);
  return rows;
}

QString WriteClipboardTable(const std::vector<QStringList>& rows) {
  QString text;
  for (const QStringList& row : rows) {
    for (qsizetype i = 0; i < row.size(); ++i) {
      if (i > 0) text += u'\t';
      const QString& cell = row[i];
      text +=
          NeedsQuotes(cell) ? kQuote + QString(cell).replace(kQuote, QStringLiteral("\"\"")) + kQuote : cell;
    }
    text += u'\n';
  }
  return text;
}

}  // namespace mox

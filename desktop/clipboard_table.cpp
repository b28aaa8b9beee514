#include "desktop/clipboard_table.h"

namespace mox {
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

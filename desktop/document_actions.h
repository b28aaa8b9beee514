#pragma once

#include <QBoxLayout>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>

#include "mox/foundation/record_set.h"

namespace mox {

class DesktopHost;

/// A stored document that is worked with, on the list or on a page of its own.
struct DocumentActions {
  DesktopHost& host;
  QWidget* page;
  std::function<std::int64_t()> document;  ///< its id; raises Error where none is chosen
  std::function<void()> changed;           ///< it is not as it was shown any more
  std::function<void(const QString&)> note;
};

/// Printing, paying, cancelling, sending as an e-invoice and the codes of a stored document, each with its
/// button and its key.
void AddDocumentButtons(QBoxLayout& bar, const DocumentActions& actions);

/// What the list of documents says of one: what is paid of it and what is still open, too. None where there
/// is no such document.
std::optional<RecordSet> ListedDocument(std::int64_t id);

}  // namespace mox

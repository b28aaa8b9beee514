#pragma once

#include <QDialog>
#include <cstdint>

namespace mox {

/// The two-dimensional codes of a stored document: through which a buyer verifies a receipt, and which a
/// telephone pays.
class CodeDialog : public QDialog {
 public:
  /// Raises Error for a document that may not go out (MakePage).
  CodeDialog(std::int64_t id, QWidget* parent);
};

}  // namespace mox

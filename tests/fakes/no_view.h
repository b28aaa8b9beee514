#pragma once

#include "mox/import/import_grid.h"

namespace mox {

/// Shows nothing, and leaves the form to its test.
struct NoView : ImportGridView {
  void ShowModal(TfrmImportGrid& /*form*/) override {}
};

}  // namespace mox

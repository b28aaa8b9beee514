#pragma once

#include <string>

#include "paper/paper_template.h"

namespace mox {

/// The template of a file, else that of the setting PREDLOZAK, else the one that holds where a company has
/// none. Raises Error for a file that cannot be read and for a faulty template.
PaperTemplate TemplateOf(const std::string& file);

}  // namespace mox

#include "cli/print_template.h"

#include "mox/foundation/files.h"

namespace mox {

PaperTemplate TemplateOf(const std::string& file) {
  return file.empty() ? InstalledTemplate() : PaperTemplate(ReadWholeFile(file), file);
}

}  // namespace mox

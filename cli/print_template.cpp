#include "cli/print_template.h"

namespace mox {

PaperTemplate TemplateOf(const std::string& file) {
  return file.empty() ? InstalledTemplate() : TemplateOfFile(file);
}

}  // namespace mox

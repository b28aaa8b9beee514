#include "cli/print_template.h"

#include "mox/foundation/app.h"
#include "mox/foundation/files.h"

namespace mox {

PaperTemplate TemplateOf(const std::string& file) {
  const std::string path = file.empty() ? App().Ini().ReadString("GENERAL", "PREDLOZAK", "") : file;
  return path.empty() ? PaperTemplate() : PaperTemplate(ReadWholeFile(path), path);
}

}  // namespace mox

# Writes OUTPUT, a source file that holds the texts of FILES, which lie in FOLDER, byte for byte.

set(texts "")
set(rows "")
set(index 0)
foreach(file IN LISTS FILES)
  file(READ "${FOLDER}/${file}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "((0x..,){24})" "\\1\n    " bytes "${bytes}")
  string(APPEND texts "const unsigned char kText${index}[] = {\n    ${bytes}0};\n\n")
  string(APPEND rows "      {\"${file}\", View(kText${index})},\n")
  math(EXPR index "${index} + 1")
endforeach()

file(
  WRITE "${OUTPUT}"
  "// Generated from the files of the database schema.

#include \"appserver/migrations.h\"

namespace mox {
namespace {

${texts}template <std::size_t N>
std::string_view View(const unsigned char (&text)[N]) {
  return {reinterpret_cast<const char*>(text), N - 1};
}

}  // namespace

const std::vector<SchemaFile>& EmbeddedFiles() {
  static const std::vector<SchemaFile> files = {
${rows}  };
  return files;
}

}  // namespace mox
"
)

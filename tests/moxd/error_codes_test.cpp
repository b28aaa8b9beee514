#include <gmock/gmock.h>

#include <map>
#include <string>

#include "mox/foundation/files.h"
#include "moxd/error_reply.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

// Rows "| `code`, `other` | 503 | ...": the codes that the page for operators tells, each with its status.
std::map<std::string, unsigned> ToldCodes() {
  std::map<std::string, unsigned> told;
  const std::string page = ReadWholeFile(SourceDir() + "/docs/OPERATIONS.md");
  for (std::size_t row = page.find("\n| `"); row != std::string::npos; row = page.find("\n| `", row + 1)) {
    const std::size_t codes_end = page.find(" | ", row);
    const std::string status = page.substr(codes_end + 3, 5);
    if (status.find_first_not_of("0123456789") != 3 || !status.ends_with(" |")) continue;
    for (std::size_t at = page.find('`', row); at < codes_end; at = page.find('`', at + 1)) {
      const std::size_t end = page.find('`', at + 1);
      told.emplace(page.substr(at + 1, end - at - 1), static_cast<unsigned>(std::stoul(status)));
      at = end;
    }
  }
  return told;
}

TEST(ErrorCodesOfTheServer, AreThoseThatOperatorsAreToldOf) {
  std::map<std::string, unsigned> answered;
  for (const ErrorCode& code : ErrorCodes()) answered.emplace(code.code, code.status);
  EXPECT_EQ(answered, ToldCodes());
}

}  // namespace
}  // namespace mox

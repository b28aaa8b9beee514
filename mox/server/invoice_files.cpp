#include "mox/server/invoice_files.h"

#include <filesystem>
#include <system_error>

#include "mox/foundation/app.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/server/request_sender.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "adsB2C_";
constexpr std::string_view kAnswerPrefix = "adsB2C ";
constexpr std::string_view kLock = "adsB2C.lock";

}  // namespace

InvoiceFiles InvoiceFilesOf(std::int64_t doc_id) {
  std::string company;
  if (App().HasCompany()) company = App().Company().CompanyPath();
  if (!company.empty()) company = DigestText(company) + '_';
  return InvoiceFilesBeside(
      FileInStateFolder(std::string(kPrefix) + company + std::to_string(doc_id) + ".txt"));
}

InvoiceFiles InvoiceFilesBeside(const std::string& invoice_file) {
  const auto beside = [&](const char* ending) {
    return fs::path(invoice_file).replace_extension(ending).string();
  };
  return {invoice_file, beside(".xml"), beside(".try")};
}

std::string InvoiceAnswerName(std::string_view url, std::string_view invoice) {
  return std::string(kAnswerPrefix) + DigestText(std::string(url) + '\n' + std::string(invoice));
}

bool IsAnswerToAnother(std::string_view answer_name, std::string_view url, std::string_view invoice) {
  return answer_name.starts_with(kAnswerPrefix) && answer_name != InvoiceAnswerName(url, invoice);
}

FileLock LockInvoiceFiles() {
  const std::string path = FileInStateFolder(kLock);
  AppPlatform& platform = App().Platform();
  for (;;) {
    if (auto lock = FileLock::Try(path)) return std::move(*lock);
    if (platform.IsTerminated()) throw Abort();
    platform.ProcessMessages();
  }
}

void RemoveLeftInvoices(const std::string& folder) {
  const auto is_left = [](const fs::path& file) {
    const std::string ending = file.extension().string();  // ".tmp": it was being written
    return file.filename().string().starts_with(kPrefix) && (ending == ".txt" || ending == ".tmp");
  };
  std::error_code error;
  std::optional<FileLock> lock;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (!is_left(entry->path())) continue;
    if (!lock) lock = FileLock::Try(folder + std::string(kLock));
    if (!lock) return;
    RemoveFile(entry->path().string());
  }
}

}  // namespace mox

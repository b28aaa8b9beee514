#include "mox/server/invoice_files.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/server/request_sender.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "adsB2C_";
constexpr std::string_view kAnswerPrefix = "adsB2C ";
constexpr std::string_view kLock = "adsB2C.lock";
constexpr std::string_view kAttemptEnding = ".try";

// Of kAsk nothing is said: so did earlier programs.
constexpr std::pair<AttemptStep, std::string_view> kSteps[] = {
    {AttemptStep::kPost, "novi"}, {AttemptStep::kPostAgain, "potvrdeno"}, {AttemptStep::kAskOnly, "upit"}};

// How the names of the company's files begin.
std::string CompanyPrefix() {
  std::string company;
  if (App().HasCompany()) company = App().Company().CompanyPath();
  if (!company.empty()) company = DigestText(company) + '_';
  return std::string(kPrefix) + company;
}

}  // namespace

InvoiceFiles InvoiceFilesOf(std::int64_t doc_id) {
  return InvoiceFilesBeside(FileInStateFolder(CompanyPrefix() + std::to_string(doc_id) + ".txt"));
}

InvoiceFiles InvoiceFilesBeside(const std::string& invoice_file) {
  const auto beside = [&](const char* ending) {
    return fs::path(invoice_file).replace_extension(ending).string();
  };
  return {invoice_file, beside(".xml"), beside(kAttemptEnding.data())};
}

std::optional<InvoiceAttempt> ReadAttempt(const std::string& file) {
  if (std::error_code error; !fs::exists(file, error)) return std::nullopt;
  const std::string text = ReadWholeFile(file);
  const std::size_t end = std::min(text.find('\n'), text.size());
  InvoiceAttempt attempt{text.substr(0, end)};
  const std::string_view word = TrimBlanks(std::string_view(text).substr(end));
  for (const auto& [step, name] : kSteps) {
    if (word == name) attempt.step = step;
  }
  return attempt;
}

void WriteAttempt(const std::string& file, const InvoiceAttempt& attempt) {
  std::string text = attempt.name + '\n';
  for (const auto& [step, name] : kSteps) {
    if (attempt.step == step) text.append(name).append("\n");
  }
  ReplaceFile(file, text, FileAccess::kOwnerOnly);
}

std::vector<std::int64_t> DocumentsWithAttempts() {
  std::vector<std::int64_t> documents;
  const std::string prefix = CompanyPrefix();
  std::error_code error;
  for (fs::directory_iterator entry(FileInStateFolder(""), error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!name.starts_with(prefix) || entry->path().extension() != kAttemptEnding) continue;
    const std::string id = name.substr(prefix.size(), name.size() - prefix.size() - kAttemptEnding.size());
    if (!id.empty() && id.size() < 18 && id.find_first_not_of("0123456789") == std::string::npos) {
      documents.push_back(std::stoll(id));
    }
  }
  std::sort(documents.begin(), documents.end());
  return documents;
}

std::string InvoiceAnswerName(std::string_view url, std::string_view invoice) {
  return std::string(kAnswerPrefix) + DigestText(std::string(url) + '\n' + std::string(invoice));
}

bool IsAnswerToAnother(std::string_view answer_name, std::string_view url, std::string_view invoice) {
  return answer_name.starts_with(kAnswerPrefix) && answer_name != InvoiceAnswerName(url, invoice);
}

bool IsAcceptedAnswer(const RecordSet& answer) {
  constexpr std::int64_t kDeliveryFailed = 50;
  const auto integer = [&answer](std::string_view name) -> std::int64_t {
    const auto field = answer.FindFieldIndex(name);
    try {
      return field && !answer.IsNull(*field) ? ParseInteger(TrimBlanks(answer.AsText(*field))) : 0;
    } catch (const Error&) {
      return 0;
    }
  };
  return !answer.FindFieldIndex("statusCode") && integer("electronicId") > 0 &&
         integer("statusId") != kDeliveryFailed;
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

// The request sender: draws the QR codes of receipts and posts invoices to the intermediary, on behalf of the
// program in whose folder it lies. It is handed everything as parameters and leaves its results as files,
// each written to a temporary name and renamed.

#include <curl/curl.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <optional>

#include "mox/foundation/digest.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/foundation/visible_text.h"
#include "mox/host/settings_file.h"
#include "mox/host/system_platform.h"
#include "mox/server/invoice_files.h"
#include "sender/http_post.h"
#include "sender/invoice_answer.h"
#include "sender/one_at_a_time.h"
#include "sender/parameters.h"
#include "sender/qr_picture.h"

namespace mox {
namespace {

constexpr const char* kUsage = R"(usage: CallAPIRequestSender.exe -servicetype SERVICE ...

  GenerateQRCode     -data TEXT   the QR code of a text to QRCodeLastBill.bmp in the program's folder, or in that of
                                  the user's state where the program's is not his
  GenerateKeksQRCode -data TEXT   the same to QRCodeLastBill.jpg
  MojEracunB2C       -url ADDRESS -link FILE.txt -docId ID -method POST
                                  posts the JSON in FILE.txt and writes the answer to FILE.xml

Settings in section GENERAL of CallAPIRequestSender.ini in either folder: CONNECT_TIMEOUT and TIMEOUT in seconds
(10, 60), ANSWER_LIMIT in bytes (1048576), CA_FILE with certificate authorities, QUERY_URL where the intermediary
tells of a document that may have been sent.

Exit status: 0 done, 1 refused or failed, 2 wrong usage.
)";

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

std::string InStateFolder(const char* name) { return SystemPlatform().StateFolder() + name; }

ExitStatus Draw(const Parameters& parameters, const char* file, PictureFormat format) {
  ReplaceFile(InStateFolder(file), QrPicture(parameters.Required("-data"), format));
  return kDone;
}

ExitStatus DrawReceiptCode(const Parameters& parameters) {
  return Draw(parameters, "QRCodeLastBill.bmp", PictureFormat::kBmp);
}

ExitStatus DrawPaymentCode(const Parameters& parameters) {
  return Draw(parameters, "QRCodeLastBill.jpg", PictureFormat::kJpeg);
}

struct SenderSettings {
  PostLimits limits;
  std::string query_url;
};

// Those of the user come before those of the program.
SenderSettings ReadSettings() {
  constexpr std::string_view kSection = "GENERAL";
  constexpr const char* kName = "CallAPIRequestSender.ini";
  const SystemPlatform platform;
  std::string file = platform.StateFolder() + kName;
  if (!std::filesystem::exists(file)) file = platform.ApplicationFolder() + kName;
  const SettingsFile settings(file);
  PostLimits limits;
  const auto positive = [&](std::string_view key, auto& limit) {
    const int value = settings.ReadInteger(kSection, key, 0);
    if (value > 0) limit = static_cast<std::decay_t<decltype(limit)>>(value);
  };
  positive("CONNECT_TIMEOUT", limits.connect_seconds);
  positive("TIMEOUT", limits.seconds);
  positive("ANSWER_LIMIT", limits.answer_bytes);
  limits.ca_file = settings.ReadString(kSection, "CA_FILE", "");
  return {limits, settings.ReadString(kSection, "QUERY_URL", "")};
}

// The name of an answer that nobody took, of an attempt that was cut short, where it says that the
// intermediary has an invoice.
std::optional<std::string> AcceptedAnswer(const std::string& answer_file) {
  try {
    RecordSet answer;
    answer.LoadFromFile(answer_file);
    if (IsAcceptedAnswer(answer)) return answer.Name();
  } catch (const Error&) {
    return std::nullopt;
  }
  return std::nullopt;
}

// An accepted answer to another invoice than the one at hand is the only trace of an e-invoice: it is moved
// to a name of its own. Any other old answer goes.
void ClearTheWay(const std::string& answer_file, const std::optional<std::string>& accepted) {
  if (!accepted) {
    if (!RemoveFile(answer_file)) throw Error(answer_file + ": an old answer cannot be removed");
    return;
  }
  const std::string aside =
      std::filesystem::path(answer_file).replace_extension(DigestText(*accepted) + ".xml").string();
  std::filesystem::rename(answer_file, aside);
  std::cerr << VisibleText(aside) << ": the answer to an invoice that was sent and never recorded\n";
}

// An invoice on its way.
struct Posting {
  std::string url;
  std::string json;
  std::string name;  // of its answer
  InvoiceFiles files;
  Secrets secrets;
  SenderSettings settings;
};

// Whatever happens on the way has its answer.
InvoiceAnswer Posted(const Posting& posting, const std::string& url, const std::string& json) {
  try {
    return ReadInvoiceAnswer(PostJson(url, json, posting.name, posting.settings.limits), posting.secrets);
  } catch (const PostFailure& failure) {
    const std::string status = std::to_string(failure.status());
    const std::string detail = " (" + posting.secrets.Blanked(failure.what()) + ")";
    switch (failure.kind()) {
      case PostFailure::Kind::kTimeOut:
        return {Refusal(status, "Posrednik nije odgovorio na vrijeme" + detail), !failure.sent()};
      case PostFailure::Kind::kTooLong:
        return {Refusal(status, "Odgovor posrednika je predugačak"), false};
      case PostFailure::Kind::kUnreachable:
        break;
    }
    return {Refusal(status, "Posrednik nije dostupan" + detail), !failure.sent()};
  }
}

// What the intermediary says of an invoice whose answer was lost, asked by the document's own number; none
// where it cannot be asked or does not tell. An e-invoice numbered 0 means that it has none.
std::optional<RecordSet> AskedAfter(const Posting& posting) {
  if (posting.settings.query_url.empty()) return std::nullopt;
  const std::string question = InvoiceQuestion(posting.json);
  if (question.empty()) return std::nullopt;
  InvoiceAnswer answer = Posted(posting, posting.settings.query_url, question);
  if (!answer.certain || answer.records.FindFieldIndex("statusCode")) return std::nullopt;
  return std::move(answer.records);
}

// The answer to an invoice. Before it is posted, a file says so, which goes when it is known what became of
// it: who finds the file left asks before he posts again.
InvoiceAnswer Exchanged(const Posting& posting) {
  const std::string& file = posting.files.attempt;
  const InvoiceAttempt attempt = ReadAttempt(file).value_or(InvoiceAttempt{posting.name, AttemptStep::kPost});
  const bool may_be_posted = attempt.step != AttemptStep::kAskOnly;
  if (attempt.step == AttemptStep::kAsk || !may_be_posted) {
    std::optional<RecordSet> known = AskedAfter(posting);
    if (known && IsAcceptedAnswer(*known)) return {std::move(*known)};
    if (!known || !may_be_posted) return {MaybeSent(), false};
  }
  WriteAttempt(file, {attempt.name, AttemptStep::kAsk});
  return Posted(posting, posting.url, posting.json);
}

ExitStatus PostInvoice(const Parameters& parameters) {
  Posting posting{parameters.Required("-url"),
                  {},
                  {},
                  InvoiceFilesBeside(parameters.Required("-link")),
                  {},
                  ReadSettings()};
  const InvoiceFiles& files = posting.files;
  const std::string& document = parameters.Required("-docId");
  if (parameters.Required("-method") != "POST") throw UsageError("-method is not POST");
  if (files.answer == files.invoice || files.attempt == files.invoice) {
    throw UsageError("-link is the answer's file");
  }

  WaitForOtherSenders(std::filesystem::absolute(files.invoice).parent_path().string());
  posting.json = ReadWholeFile(files.invoice);
  posting.name = InvoiceAnswerName(posting.url, posting.json);
  posting.secrets.Add(AccountKey(posting.json));
  posting.secrets.AddThoseOf(posting.url);
  posting.secrets.AddThoseOf(posting.settings.query_url);
  const std::optional<std::string> accepted = AcceptedAnswer(files.answer);
  if (accepted == posting.name) {
    RemoveFile(files.attempt);
    std::cerr << "document " << VisibleText(document) << ": sent before, its answer is kept\n";
    return kDone;
  }
  ClearTheWay(files.answer, accepted);
  InvoiceAnswer answer = Exchanged(posting);
  answer.records.SetName(posting.name);
  const RecordSet& records = answer.records;
  ReplaceFile(files.answer, records.SaveToString(), FileAccess::kOwnerOnly);
  if (answer.certain) RemoveFile(files.attempt);
  if (IsAcceptedAnswer(records)) return kDone;
  const auto message = records.FindField("message");
  std::cerr << "document " << VisibleText(document)
            << (answer.certain ? ": refused" : ": perhaps sent, which is not known")
            << (message ? ": " + VisibleText(message->AsText()) : "") << '\n';
  return kFailed;
}

struct Service {
  const char* name;
  ExitStatus (*serve)(const Parameters& parameters);
};

constexpr Service kServices[] = {
    {"GenerateQRCode", DrawReceiptCode},
    {"GenerateKeksQRCode", DrawPaymentCode},
    {"MojEracunB2C", PostInvoice},
};

ExitStatus Serve(const Parameters& parameters) {
  const std::string& name = parameters.Required("-servicetype");
  for (const Service& service : kServices) {
    if (name == service.name) return service.serve(parameters);
  }
  throw UsageError("there is no service " + name);
}

}  // namespace
}  // namespace mox

int main(int argc, char** argv) {
#if defined(SIGXFSZ)
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error like any other
#endif
  curl_global_init(CURL_GLOBAL_DEFAULT);
  try {
    return mox::Serve(mox::Parameters({argv + 1, argv + argc}));
  } catch (const mox::UsageError& error) {
    std::cerr << "CallAPIRequestSender: " << mox::VisibleMessage(error.what()) << "\n\n" << mox::kUsage;
    return mox::kWrongUsage;
  } catch (const std::filesystem::filesystem_error& error) {
    std::cerr << "CallAPIRequestSender: " << mox::VisibleMessage(error.path1().string()) << ": "
              << error.code().message() << '\n';
    return mox::kFailed;
  } catch (const std::exception& error) {
    std::cerr << "CallAPIRequestSender: " << mox::VisibleMessage(error.what()) << '\n';
    return mox::kFailed;
  }
}

// The request sender: draws the QR codes of receipts and posts invoices to the intermediary, on behalf of the
// program in whose folder it lies. It is handed everything as parameters and leaves its results as files,
// each written to a temporary name and renamed.

#include <curl/curl.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/host/settings_file.h"
#include "mox/host/system_platform.h"
#include "sender/http_post.h"
#include "sender/invoice_answer.h"
#include "sender/one_at_a_time.h"
#include "sender/parameters.h"
#include "sender/qr_picture.h"

namespace mox {
namespace {

constexpr const char* kUsage = R"(usage: CallAPIRequestSender.exe -servicetype SERVICE ...

  GenerateQRCode     -data TEXT   the QR code of a text to QRCodeLastBill.bmp in the program's folder
  GenerateKeksQRCode -data TEXT   the same to QRCodeLastBill.jpg
  MojEracunB2C       -url ADDRESS -link FILE.txt -docId ID -method POST
                                  posts the JSON in FILE.txt and writes the answer to FILE.xml

Settings in section GENERAL of CallAPIRequestSender.ini in the program's folder: CONNECT_TIMEOUT and TIMEOUT in
seconds (10, 60), ANSWER_LIMIT in bytes (1048576), CA_FILE with certificate authorities.

Exit status: 0 done, 1 refused or failed, 2 wrong usage.
)";

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

std::string InOwnFolder(const char* name) { return SystemPlatform().ApplicationFolder() + name; }

ExitStatus Draw(const Parameters& parameters, const char* file, PictureFormat format) {
  ReplaceFile(InOwnFolder(file), QrPicture(parameters.Required("-data"), format));
  return kDone;
}

ExitStatus DrawReceiptCode(const Parameters& parameters) {
  return Draw(parameters, "QRCodeLastBill.bmp", PictureFormat::kBmp);
}

ExitStatus DrawPaymentCode(const Parameters& parameters) {
  return Draw(parameters, "QRCodeLastBill.jpg", PictureFormat::kJpeg);
}

PostLimits ReadLimits() {
  constexpr std::string_view kSection = "GENERAL";
  const SettingsFile settings(InOwnFolder("CallAPIRequestSender.ini"));
  PostLimits limits;
  const auto positive = [&](std::string_view key, auto& limit) {
    const int value = settings.ReadInteger(kSection, key, 0);
    if (value > 0) limit = static_cast<std::decay_t<decltype(limit)>>(value);
  };
  positive("CONNECT_TIMEOUT", limits.connect_seconds);
  positive("TIMEOUT", limits.seconds);
  positive("ANSWER_LIMIT", limits.answer_bytes);
  limits.ca_file = settings.ReadString(kSection, "CA_FILE", "");
  return limits;
}

std::string DigestOf(const std::string& bytes) {
  std::uint64_t digest = 0xCBF2'9CE4'8422'2325;  // FNV-1a
  for (const char c : bytes) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100'0000'01B3;
  char text[32];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(digest));
  return text;
}

// The name under which the answer to an invoice is kept. It tells one invoice from any other, also from that
// of another company with the same document identifier.
std::string AnswerName(const std::string& url, const std::string& invoice) {
  return "adsB2C " + DigestOf(url + '\n' + invoice);
}

// The name of an answer that nobody took, of an attempt that was cut short, where it says that the
// intermediary has an invoice.
std::optional<std::string> AcceptedAnswer(const std::string& answer_file) {
  try {
    RecordSet answer;
    answer.LoadFromFile(answer_file);
    if (IsAccepted(answer)) return answer.Name();
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
      std::filesystem::path(answer_file).replace_extension(DigestOf(*accepted) + ".xml").string();
  std::filesystem::rename(answer_file, aside);
  std::cerr << aside << ": the answer to an invoice that was sent and never recorded\n";
}

// Whatever happens on the way has its answer.
RecordSet Posted(const std::string& url, const std::string& invoice, const PostLimits& limits) {
  try {
    return InvoiceAnswer(PostJson(url, invoice, limits));
  } catch (const PostFailure& failure) {
    const std::string status = std::to_string(failure.status());
    const std::string detail = std::string(" (") + failure.what() + ")";
    switch (failure.kind()) {
      case PostFailure::Kind::kTimeOut:
        return Refusal(status, "Posrednik nije odgovorio na vrijeme" + detail);
      case PostFailure::Kind::kTooLong:
        return Refusal(status, "Odgovor posrednika je predugačak");
      case PostFailure::Kind::kUnreachable:
        break;
    }
    return Refusal(status, "Posrednik nije dostupan" + detail);
  }
}

ExitStatus PostInvoice(const Parameters& parameters) {
  const std::string& url = parameters.Required("-url");
  const std::string& invoice_file = parameters.Required("-link");
  const std::string& document = parameters.Required("-docId");
  if (parameters.Required("-method") != "POST") throw UsageError("-method is not POST");
  const std::string answer_file = std::filesystem::path(invoice_file).replace_extension(".xml").string();
  if (answer_file == invoice_file) throw UsageError("-link is the answer's file");

  WaitForOtherSenders(SystemPlatform().ApplicationFolder());
  const std::string invoice = ReadWholeFile(invoice_file);
  const std::string name = AnswerName(url, invoice);
  const std::optional<std::string> accepted = AcceptedAnswer(answer_file);
  if (accepted == name) {
    std::cerr << "document " << document << ": sent before, its answer is kept\n";
    return kDone;
  }
  ClearTheWay(answer_file, accepted);
  RecordSet answer = Posted(url, invoice, ReadLimits());
  answer.SetName(name);
  answer.SaveToFile(answer_file);
  if (IsAccepted(answer)) return kDone;
  const auto message = answer.FindField("message");
  std::cerr << "document " << document << ": refused" << (message ? ": " + message->AsText() : "") << '\n';
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
  curl_global_init(CURL_GLOBAL_DEFAULT);
  try {
    return mox::Serve(mox::Parameters({argv + 1, argv + argc}));
  } catch (const mox::UsageError& error) {
    std::cerr << "CallAPIRequestSender: " << error.what() << "\n\n" << mox::kUsage;
    return mox::kWrongUsage;
  } catch (const std::exception& error) {
    std::cerr << "CallAPIRequestSender: " << error.what() << '\n';
    return mox::kFailed;
  }
}

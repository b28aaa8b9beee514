#include <algorithm>
#include <memory>
#include <vector>

#include "appserver/company_access.h"
#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/suggestions.h"
#include "mox/codes/payment_codes.h"
#include "mox/server/request_sender.h"

namespace mox {
namespace {

struct QrArguments {
  std::string kind;
  std::string zki;
  std::string amount;
  std::string time;
  std::string bill;
  std::string merchant;
  std::string terminal;
};

struct QrOption {
  const char* name;
  const char* value_name;
  const char* help;
  std::string QrArguments::*value;
};

constexpr QrOption kOptions[] = {
    {"--amount", "AMOUNT", "the total, with a decimal point", &QrArguments::amount},
    {"--zki", "TEXT", "receipt: its protective code", &QrArguments::zki},
    {"--time", "TIME", "receipt: when it was issued, 2024-03-01T09:05", &QrArguments::time},
    {"--bill", "TEXT", "payment: the number of the bill", &QrArguments::bill},
    {"--merchant", "TEXT", "payment: the merchant's id", &QrArguments::merchant},
    {"--terminal", "TEXT", "payment: the terminal's id", &QrArguments::terminal},
};

std::string DrawReceipt(const QrArguments& arguments) {
  const DateTime issued = DateTimeArgument("--time", arguments.time);
  return GenerateQRCode(arguments.zki, CurrencyArgument("--amount", arguments.amount).ToDouble(), issued);
}

std::string DrawPayment(const QrArguments& arguments) {
  const std::string amount = CurrencyArgument("--amount", arguments.amount).ToString();
  return KeksPayGenerateQRCode(arguments.bill, amount, arguments.merchant, arguments.terminal);
}

struct QrKind {
  const char* name;
  std::vector<std::string QrArguments::*> needs;
  std::string (*draw)(const QrArguments& arguments);
  const char* picture;
  OutputKind form;  // of the picture
};

const QrKind kKinds[] = {
    {"receipt",
     {&QrArguments::zki, &QrArguments::amount, &QrArguments::time},
     DrawReceipt,
     "QRCodeLastBill.bmp",
     {"a picture", [](std::string_view file) { return file.starts_with("BM"); }}},
    {"payment",
     {&QrArguments::bill, &QrArguments::amount, &QrArguments::merchant, &QrArguments::terminal},
     DrawPayment,
     "QRCodeLastBill.jpg",
     {"a picture", [](std::string_view file) { return file.starts_with("\xFF\xD8"); }}}};

void RunQr(const QrArguments& arguments, Session& session) {
  const QrKind* const kind = FindRow(kKinds, arguments.kind);
  if (kind == nullptr) throw UsageError("\"" + arguments.kind + "\" is not receipt or payment");
  for (const QrOption& option : kOptions) {
    const bool needed = std::find(kind->needs.begin(), kind->needs.end(), option.value) != kind->needs.end();
    if (needed == !(arguments.*option.value).empty()) continue;
    throw UsageError(std::string(option.name) + (needed ? " is required for a " : " does not belong to a ") +
                     kind->name);
  }
  if (session.server != nullptr) session.server->RequireNamed();
  session.files.Require(FileInStateFolder(kind->picture), kind->form);
  const std::string path = kind->draw(arguments);
  if (path.empty()) throw Error("no picture of the code was made");
  session.out += path + "\n";
}

void Declare(Options& options) {
  auto arguments = std::make_shared<QrArguments>();
  options.RequiredArgument("KIND", arguments->kind,
                           "receipt: the address where a buyer verifies a fiscal receipt;\n"
                           "payment: the address that opens its payment through KEKS Pay");
  for (const QrOption& option : kOptions) {
    options.Value(option.name, (*arguments).*option.value, option.value_name, option.help);
  }
  options.Run([arguments](Session& session) { RunQr(*arguments, session); });
}

}  // namespace

const Command kQrCommand = {"qr",
                            "receipt --zki TEXT --amount AMOUNT --time TIME | payment --bill TEXT --amount "
                            "AMOUNT --merchant TEXT --terminal TEXT",
                            "Draw the QR code of a receipt and print the path of the picture.",
                            R"(Examples:
  mox qr receipt --zki 0a1b2c3d4e5f60718293a4b5c6d7e8f9 --amount 12.50 --time 2024-03-01T09:05
  mox qr payment --bill 17/PP1/1 --amount 12.50 --merchant C00123 --terminal P00456

The picture lies in the folder of this program, or in that of your state (~/.local/state/mox) where it is not yours:
QRCodeLastBill.bmp or QRCodeLastBill.jpg. CallAPIRequestSender.exe has to be in the folder of this program.
Settings: POREZNA_URL and KEKSPAY_URL, the addresses of the two parties. With --db the company must be named (mox
company set).)",
                            Declare};

}  // namespace mox

#include "mox/codes/payment_codes.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include "mox/foundation/app.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/files.h"
#include "mox/foundation/rounding.h"
#include "mox/server/read_services.h"
#include "mox/server/request_sender.h"

namespace mox {
namespace {

// An address of an outside party, up to where a path begins.
std::string AddressSetting(std::string_view key, std::string_view default_address) {
  std::string address = App().Ini().ReadString("GENERAL", key, default_address);
  while (address.ends_with('/')) address.pop_back();
  return address;
}

bool IsReadablePicture(const std::string& path) {
  return std::ifstream(path, std::ios::binary).peek() != std::ifstream::traits_type::eof();
}

// Lets the request sender draw a picture and answers its path. An old picture that cannot be removed could
// not be told from a new one.
std::string DrawnPicture(std::string_view name, const std::string& parameters) {
  const std::string picture = FileInStateFolder(name);
  if (!RemoveFile(picture)) return {};
  if (!RunRequestSender(parameters)) {
    ShowMessage("Error starting CallAPiRequestSender!");
    return {};
  }
  return IsReadablePicture(picture) ? picture : std::string();
}

// The amount in at most eight significant digits, as far as they leave less than two decimals.
double WithEightDigits(double amount) {
  constexpr int kDigits = 8;
  const double magnitude = std::fabs(amount);
  if (!(magnitude >= 1e6)) return amount;
  const int decimals = kDigits - 1 - static_cast<int>(std::floor(std::log10(magnitude)));
  if (decimals >= 0) return MyRound(amount, -decimals);
  const double unit = std::pow(10.0, -decimals);
  return MyRound(amount / unit, 0) * unit;
}

std::string ReceiptAmountText(double amount, const LocaleSettings& locale) {
  if (std::isfinite(amount)) amount = WithEightDigits(amount);
  std::string text = FormatFloat("#,0.00;-#,0.00", amount, locale);
  std::erase(text, '.');
  return text;
}

// "YYYYMMDD_hhmm".
std::string IssueTimeText(DateTime issued) {
  std::string text = FormatIsoDateTime(issued).substr(0, std::string_view("YYYY-MM-DDThh:mm").size());
  std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
  std::replace(text.begin(), text.end(), 'T', '_');
  return text;
}

}  // namespace

std::string ReceiptVerificationAddress(std::string_view zki, double amount, DateTime issued,
                                       const LocaleSettings& locale) {
  return AddressSetting("POREZNA_URL", "https://porezna.gov.hr/") + "/rn?zki=" + std::string(zki) +
         "&datv=" + IssueTimeText(issued) + "&izn=" + ReceiptAmountText(amount, locale);
}

std::string GenerateQRCode(std::string_view zki, double amount, DateTime issued) {
  const HourglassCursor cursor;
  return DrawnPicture("QRCodeLastBill.bmp", " -servicetype GenerateQRCode -data " +
                                                ReceiptVerificationAddress(zki, amount, issued));
}

std::string KeksPayGenerateQRCode(std::string_view bill_number, std::string_view amount,
                                  std::string_view merchant_id, std::string_view terminal_id) {
  const HourglassCursor cursor;
  std::string amount_text(amount);
  std::replace(amount_text.begin(), amount_text.end(), ',', '.');
  const std::string url = AddressSetting("KEKSPAY_URL", "https://kekspay.hr/") +
                          "/pay/?cid=" + std::string(merchant_id) + "&tid=" + std::string(terminal_id) +
                          "&bill_id=" + std::string(bill_number) + "&amount=" + amount_text + "&qr_type=1";
  return DrawnPicture("QRCodeLastBill.jpg", " -servicetype GenerateKeksQRCode -data \"" + url + '"');
}

std::string GetTipPozivaNaBrojPutnika() {
  auto answer = CreateDBDataSet("GetTipPozivaNaBrojPutnika", "adsPozivNaBroj", {});
  return answer ? answer->FieldByName("poziv_na_br").AsText() : std::string();
}

std::optional<RecordSet> GetVirmanDataFromDatabase(std::int64_t virman_id, std::int64_t par_id,
                                                   std::int64_t doc_id, Currency iznos_racuna) {
  return CreateDBDataSet(
      "GetVirmanData", "adsVirmanData",
      {{"VirmanId", virman_id}, {"DocId", doc_id}, {"IznosRacuna", iznos_racuna}, {"ParId", par_id}});
}

}  // namespace mox

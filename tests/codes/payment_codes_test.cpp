#include "mox/codes/payment_codes.h"

#include <filesystem>
#include <fstream>

#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// A host in a folder of its own, with pictures of an earlier receipt. `sender` is what the request sender
// does: "draws", "leaves" the picture "nothing", "empty" or a "folder", is "missing", or "runs" on while the
// application ends.
class SenderHost : public RecordingHost {
 public:
  explicit SenderHost(const std::string& sender) : app_(Parts()) {
    folder = scratch_ / "";
    for (const char* name : kPictures) std::ofstream(folder + name) << "old";
    terminated = sender == "runs";
    if (sender == "missing") return;
    program = [this, sender](std::string_view parameters_text) -> std::vector<int> {
      const std::string picture = folder + kPictures[parameters_text.find("Keks") != std::string_view::npos];
      EXPECT_FALSE(fs::exists(picture));
      if (sender == "draws" || sender == "empty") std::ofstream(picture) << (sender == "draws" ? "new" : "");
      if (sender == "folder") fs::create_directory(picture);
      if (sender == "runs") return {kStillActive};
      return {kStillActive, kStillActive, 0};
    };
  }

  // What was asked of the host, and the result.
  std::string Story(const std::string& result) const {
    std::string story;
    for (const std::string& line : log) story += line + "; ";
    story += result.empty() ? "=" : "= " + result;
    for (std::size_t at = 0; (at = story.find(folder)) != std::string::npos;) {
      story.replace(at, folder.size(), "APP/");
    }
    return story;
  }

 private:
  static constexpr const char* kPictures[] = {"QRCodeLastBill.bmp", "QRCodeLastBill.jpg"};
  ScratchFolder scratch_;
  ScopedApp app_;
};

TEST(PaymentCodes, AskTheHost) {
  const auto receipt = [](const Words& row) {
    SenderHost host(row.at(0));
    return host.Story(GenerateQRCode(row.at(1), std::stod(row.at(2)), *ParseIsoDateTime(row.at(3))));
  };
  const auto payment = [](const Words& row) {
    SenderHost host(row.at(0));
    host.settings.WriteString("GENERAL", "KEKSPAY_URL", row.at(5));
    return host.Story(KeksPayGenerateQRCode(row.at(1), row.at(2), row.at(3), row.at(4)));
  };
  // The part of the address that holds the amount, with the locale's separators.
  const auto amount = [](const Words& row) {
    SenderHost host("missing");
    host.locale = StandardLocale({.decimal_separator = row.at(1), .thousands_separator = row.at(2)});
    host.settings.WriteString("GENERAL", "POREZNA_URL", "http://localhost:80");
    GenerateQRCode("Z", std::stod(row.at(0)), DateTime());
    const std::string& start = host.log.at(1);
    EXPECT_NE(start.find(" http://localhost:80/rn?zki=Z&datv=19700101_0000&izn="), std::string::npos);
    return start.substr(start.rfind('=') + 1);
  };
  const auto lookup = [](const Words& row) {
    SenderHost host("missing");
    if (row.at(1) == "answers") {
      host.services["GetTipPozivaNaBrojPutnika"] = [](auto&) {
        return AnswerOf("adsPozivNaBroj", OneRecord("", "poziv_na_br", {"HR99"}));
      };
      host.services["GetVirmanData"] = [](auto&) {
        return AnswerOf("adsVirmanData", OneRecord("", "iban", {"HR12"}));
      };
    }
    if (row.at(0) == "model") return host.Story(GetTipPozivaNaBrojPutnika());
    auto slip = GetVirmanDataFromDatabase(1, 2, 3, Currency::Parse("12.5"));
    return host.Story(slip ? slip->FieldByName("iban").AsText() : "none");
  };
  ExpectTables("payment_codes",
               {{"receipt", receipt}, {"payment", payment}, {"amount", amount}, {"lookup", lookup}}, "codes");
}

}  // namespace
}  // namespace mox

#include "mox/integrations/consumer_e_invoice.h"

#include <filesystem>
#include <fstream>

#include "mox/foundation/files.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// One record of texts from "a=1 b=2", a Boolean from "true" and "false"; none from an empty text.
RecordSet OneRecord(const std::string& text) {
  RecordSet records;
  std::vector<Value> values;
  for (const std::string& word : WordsOf(text)) {
    const std::string value = word.substr(word.find('=') + 1);
    const bool flag = value == "true" || value == "false";
    records.DefineField(word.substr(0, word.find('=')), flag ? FieldKind::kBoolean : FieldKind::kText);
    values.push_back(flag ? Value(value == "true") : Value(value));
  }
  records.Open();
  records.AppendRecord(values);
  return records;
}

// The world of a row: what the server and the request sender do.
class InvoiceHost : public RecordingHost {
 public:
  explicit InvoiceHost(const Words& row) : app_(Parts()) {
    folder = scratch_ / "";
    refused_ = row.at(1);
    Answer("IntegrationsUsersAccounts", {{"adsLoginData", row.at(0)}});
    Answer("MojERacunB2C", {{"adsData", R"(jsonData={\"kupac\":\"Šime\"})"}, {"adsPartner", row.at(2)}});
    const std::string sender = row.at(3);
    if (sender == "missing") return;
    if (sender.starts_with("old ")) OneRecord(sender.substr(4)).SaveToFile(folder + "adsB2C_7.xml");
    program = [this, sender](std::string_view) -> std::vector<int> {
      log.push_back("posted " + ReadWholeFile(folder + "adsB2C_7.txt"));
      if (sender == "damaged") std::ofstream(folder + "adsB2C_7.xml") << "<xml/>";
      if (sender.starts_with("other ")) {
        RecordSet answer = OneRecord(sender.substr(6));
        answer.SetName("adsB2C 0123456789abcdef");
        answer.SaveToFile(folder + "adsB2C_7.xml");
      } else if (sender.find('=') != std::string::npos && !sender.starts_with("old ")) {
        OneRecord(sender).SaveToFile(folder + "adsB2C_7.xml");
      }
      return {kStillActive, 0};
    };
  }

  int WriteDataService(const TAstaParamList& request) override {
    std::string line = "write " + request[0].Name();
    auto record_sets = TAstaParamList::FromTokenizedString(request[0].AsTextView());
    for (std::size_t i = 0; i < record_sets.Count(); ++i) {
      RecordSet& records = record_sets[i].AsDataSet();
      line += ' ' + record_sets[i].Name() + '(';
      for (std::size_t f = 0; f < records.FieldCount(); ++f) {
        line += (f > 0 ? " " : "") + records.Definition(f).name + '=' + records.AsText(f);
      }
      line += ')';
    }
    log.push_back(line);
    if (refused_ == "unreachable" && request[0].Name() == "InsertERacunB2C") throw Error("no server");
    return request[0].Name() == refused_ ? 0 : 1;
  }

  // What was asked of the host and how it ended, with the files that are left.
  std::string Story(const std::string& end) {
    std::string story;
    for (const std::string& line : log) story += line + "; ";
    story += end;
    const std::string start =
        "start \"" + folder +
        "CallAPIRequestSender.exe\" | -servicetype MojEracunB2C -url \"https://eracun\" -link \"" + folder +
        "adsB2C_7.txt\" -docId \"7\" -method POST";
    for (const auto& [text, short_text] : {std::pair(start, "start"), {folder, "FOLDER"}}) {
      for (std::size_t at = 0; (at = story.find(text, at)) != std::string::npos;)
        story.replace(at, text.size(), short_text);
    }
    for (const char* file : {".txt", ".xml"}) {
      if (fs::exists(folder + "adsB2C_7" + file)) story += std::string(" ") + file;
    }
    return story;
  }

 private:
  void Answer(const std::string& service, const std::map<std::string, std::string>& answers) {
    services[service] = [answers](const TAstaParamList&) {
      auto list = std::make_unique<TAstaParamList>();
      for (const auto& [name, text] : answers) {
        if (!text.empty()) list->FastAdd(name, OneRecord(text));
      }
      return list;
    };
  }

  std::string refused_;
  ScratchFolder scratch_;
  ScopedApp app_;
};

TEST(ConsumerEInvoice, IsSentStepByStep) {
  const auto send = [](const Words& row) {
    InvoiceHost host(row);
    try {
      eRacunB2CSendBill(7);
    } catch (const Abort&) {
      return host.Story("abort");
    } catch (const Error& error) {
      return host.Story(std::string("error: ") + error.what());
    }
    return host.Story("done");
  };
  ExpectTables("consumer_e_invoice", {{"send", send}}, "integrations");
}

}  // namespace
}  // namespace mox

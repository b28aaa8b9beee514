#include "mox/server/invoice_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "mox/foundation/digest.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

class InvoiceFilesTest : public testing::Test, protected RecordingHost {
 protected:
  InvoiceFilesTest() { folder = scratch_ / ""; }

  void Make(const std::string& name) { std::ofstream(folder + name) << "x"; }
  std::string LeftAndRemoved() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    std::string left;
    for (const std::string& name : names) {
      left += (left.empty() ? "" : " ") + name;
      fs::remove(folder + name);
    }
    return left;
  }

  std::string CompanyPath() const override { return company_; }
  void ProcessMessages() override {
    RecordingHost::ProcessMessages();
    held_.reset();
  }

  std::string company_;
  std::optional<FileLock> held_;
  ScratchFolder scratch_;
  ScopedApp app_{Parts()};
};

TEST_F(InvoiceFilesTest, AreReadAsTheyAreMeant) {
  const auto accepted = [](const Words& row) {
    RecordSet answer;
    std::vector<Value> values;
    for (const std::string& word : row) {
      const std::size_t equals = word.find('=');
      answer.DefineField(word.substr(0, equals), FieldKind::kText);
      values.push_back(word.substr(equals) == "=~" ? Value() : Value(word.substr(equals + 1)));
    }
    answer.Open();
    answer.AppendRecord(values);
    return std::string(IsAcceptedAnswer(answer) ? "yes" : "no");
  };
  const auto another = [](const Words& row) {
    EXPECT_FALSE(IsAnswerToAnother(InvoiceAnswerName("https://eracun", "{}"), "https://eracun", "{}"));
    return std::string(IsAnswerToAnother(row.at(0), "https://eracun", "{}") ? "yes" : "no");
  };
  const auto attempt = [this](const Words& row) {
    constexpr const char* kSteps[] = {"ask", "post", "post again", "ask only"};
    const std::string file = folder + "adsB2C_7.try";
    EXPECT_FALSE(ReadAttempt(file));
    std::ofstream(file) << row.at(0);
    const InvoiceAttempt read = ReadAttempt(file).value();
    WriteAttempt(file, read);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    const std::string written = ReadWholeFile(file);
    fs::remove(file);
    return read.name + " | " + kSteps[static_cast<std::size_t>(read.step)] + " | " + written;
  };
  const auto documents = [this](const Words& row) {
    company_ = row.at(0);
    for (std::string name : Words(row.begin() + 1, row.end())) {
      const std::size_t at = name.find("COMPANY");
      Make(at == std::string::npos ? name : name.replace(at, 7, DigestText("jedan")));
    }
    std::string found;
    for (const std::int64_t id : DocumentsWithAttempts()) found += (found.empty() ? "" : " ") + Text(id);
    LeftAndRemoved();
    return found;
  };
  const auto left = [this](const Words& row) {
    for (const std::string& name : row) Make(name);
    if (row.at(0) == "locked") held_ = FileLock::Try(folder + "adsB2C.lock");
    RemoveLeftInvoices(folder);
    held_.reset();
    return LeftAndRemoved();
  };
  ExpectTables("invoice_files",
               {{"accepted", accepted},
                {"another", another},
                {"attempt", attempt},
                {"documents", documents},
                {"left", left}},
               "server");
}

TEST_F(InvoiceFilesTest, AreWorkedWithByOneProgramAtATime) {
  held_ = FileLock::Try(folder + "adsB2C.lock");
  EXPECT_TRUE(held_);
  terminated = true;
  EXPECT_THROW(static_cast<void>(LockInvoiceFiles()), Abort);
  EXPECT_TRUE(log.empty());
  terminated = false;
  const FileLock lock = LockInvoiceFiles();  // the other program ends while messages are processed
  EXPECT_EQ(log, std::vector<std::string>{"messages"});
  EXPECT_FALSE(FileLock::Try(folder + "adsB2C.lock"));
}

}  // namespace
}  // namespace mox

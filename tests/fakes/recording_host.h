#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"
#include "mox/host/locale.h"
#include "mox/host/memory_settings.h"
#include "mox/server/param_list.h"

namespace mox {

/// A host whose server, dialogs and screen are scripts: everything that the library asks of it is written
/// down as one line in `log`, in order.
class RecordingHost : public TdmComunication, public AppDialogs, public AppPlatform, public TCompany {
 public:
  using Service = std::function<std::unique_ptr<TAstaParamList>(const TAstaParamList& request)>;

  /// What a started program does; the answer is its exit codes, poll by poll, the last of which stays.
  using Program = std::function<std::vector<int>(std::string_view parameters)>;

  std::vector<std::string> log;
  MemorySettings settings;
  StandardLocale locale;
  RecordSet* parameters = nullptr;
  std::map<std::string, Service, std::less<>> services;
  int write_answer = 1;
  std::vector<int> dialog_answers;         ///< in order; kDialogYes where they end
  std::vector<std::string> input_answers;  ///< in order; cancelled where they end
  std::string folder = "/app/";
  std::string clipboard;
  Program program;  ///< without one no program can be started
  bool terminated = false;
  int working_year = 2024;

  RecordSet* CompanyParameters() override { return parameters; }

  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    log.push_back("read " + std::string(service) + ": " + request.AsTokenizedString(true));
    const auto found = services.find(service);
    return found == services.end() ? nullptr : found->second(request);
  }
  int WriteDataService(const TAstaParamList& request) override {
    log.push_back("write " + request.AsTokenizedString(true));
    return write_answer;
  }

  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override {
    log.push_back("dialog " + std::to_string(static_cast<int>(kind)) + " | " + std::string(caption) + " | " +
                  std::string(heading) + " | " + std::string(message));
    if (dialogs_shown_ >= dialog_answers.size()) return kDialogYes;
    return dialog_answers[dialogs_shown_++];
  }

  void ShowMessage(std::string_view text) override { log.push_back("message | " + std::string(text)); }

  std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                      std::string_view default_text) override {
    log.push_back("input " + std::string(title) + " | " + std::string(prompt) + " | " +
                  std::string(default_text));
    if (input_answers.empty()) return std::nullopt;
    std::string answer = std::move(input_answers.front());
    input_answers.erase(input_answers.begin());
    return answer;
  }

  MouseCursor SetCursor(MouseCursor cursor) override {
    log.emplace_back(cursor == MouseCursor::kHourglass ? "hourglass" : "cursor");
    return std::exchange(cursor_, cursor);
  }
  void ProcessMessages() override { log.emplace_back("messages"); }
  bool IsTerminated() const override { return terminated; }
  std::string ApplicationFolder() const override { return folder; }
  std::unique_ptr<AppProgram> StartHidden(std::string_view file, std::string_view parameters_text) override {
    log.push_back("start " + std::string(file) + " |" + std::string(parameters_text));
    if (!program) return nullptr;
    return std::make_unique<ScriptedProgram>(program(parameters_text));
  }
  std::string ClipboardText() override { return clipboard; }
  int WorkingYear() const override { return working_year; }

  /// The parts of an application object with this host behind all of them.
  AppParts Parts() {
    return {.ini = &settings,
            .comunication = this,
            .dialogs = this,
            .locale = &locale,
            .platform = this,
            .company = this};
  }

  /// The same in front of another server.
  AppParts PartsOn(TdmComunication& server) {
    AppParts parts = Parts();
    parts.comunication = &server;
    return parts;
  }

 private:
  class ScriptedProgram : public AppProgram {
   public:
    explicit ScriptedProgram(std::vector<int> exit_codes) : exit_codes_(std::move(exit_codes)) {}
    int ExitCode() override {
      const int code = exit_codes_.front();
      if (exit_codes_.size() > 1) exit_codes_.erase(exit_codes_.begin());
      return code;
    }

   private:
    std::vector<int> exit_codes_;
  };

  std::size_t dialogs_shown_ = 0;
  MouseCursor cursor_ = MouseCursor::kDefault;
};

}  // namespace mox

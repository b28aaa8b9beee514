#include <unistd.h>

#include <csignal>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "connect/open_company.h"
#include "mox/foundation/files.h"
#include "moxd/administration.h"
#include "moxd/demo.h"
#include "moxd/mox_server.h"
#include "moxd/service_manager.h"
#include "moxd/settings.h"
#include "moxd/settings_check.h"

namespace mox {
namespace {

constexpr const char* kUsage = R"(usage: moxd [--config FILE]           serve the companies of the directory
       moxd init [--config FILE]      make an empty directory, where the settings name it
       moxd check [--config FILE]     check the settings, the certificate, the directory and its companies
       moxd settings                  print all settings with what they are where they are left out
       moxd --demo                    serve a made-up company, and print how to reach it

FILE is /etc/moxd/moxd.ini where it is left out.
)";

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

ReadSettings ReadConfig(const std::string& path) { return ReadServerSettings(ReadWholeFile(path), path); }

int Fail(const std::vector<std::string>& faults) {
  for (const std::string& fault : faults) std::cerr << "moxd: " << fault << "\n";
  return kFailed;
}

// Serves until a signal ends it.
int Serve(const ServerSettings& settings, const DemoCompany* demo) {
  std::string away;  // a directory that may come back
  try {
    RequireDirectory(settings.directory);
  } catch (const DatabaseUnavailable& error) {
    away = error.what();
  }
  const std::string too_few = TakeDescriptors(settings);
  MoxServer server(settings, stderr, SocketsOfManager());
  if (!too_few.empty()) server.log().Event("limits", too_few);
  if (!away.empty()) server.log().Event("directory", away);
  std::promise<void> stop;
  bool stops = false;  // touched on one thread alone
  const auto end = [&] {
    if (!std::exchange(stops, true)) stop.set_value();
  };
  server.http().OnSignal(SIGTERM, end);
  server.http().OnSignal(SIGINT, end);
  // The demonstration ends with the window in which it was begun.
  server.http().OnSignal(SIGHUP, [&server, &end, demo] { demo == nullptr ? server.Reload() : end(); });
  if (const auto period = WatchdogPeriod()) {
    server.http().Every(*period, [] { TellManager("WATCHDOG=1"); });
  }
  server.Start();
  server.log().Event("ready", "port " + std::to_string(server.port()) + ", operations " +
                                  std::to_string(server.operations_port()));
  TellManager("READY=1");
  if (demo != nullptr) std::cout << demo->HowToReach(server.port()) << std::flush;
  stop.get_future().wait();
  TellManager("STOPPING=1");
  server.Stop();
  return kDone;
}

// Everything that is wrong, not only what is found first.
int Check(const std::string& path) {
  ReadSettings read = ReadConfig(path);
  const CheckedSettings checked = CheckThingsNamed(read.settings);
  read.faults.insert(read.faults.end(), checked.faults.begin(), checked.faults.end());
  if (!read.faults.empty()) return Fail(read.faults);
  const std::string too_few = TakeDescriptors(read.settings);
  if (!too_few.empty()) std::cerr << "moxd: warning: " << too_few << "\n";
  std::cout << path << " is in order; " << checked.companies
            << (checked.companies == 1 ? " company\n" : " companies\n");
  return kDone;
}

int Init(const std::string& path) {
  const ReadSettings read = ReadConfig(path);
  if (!read.faults.empty()) return Fail(read.faults);
  Accounts::Create(read.settings.directory);
  std::cout << read.settings.directory << " was made; moxd user, grant and company fill it\n";
  return kDone;
}

// Users, roles, log-ins and companies of the directory, while servers use it.
int Administer(const std::string& path, const std::vector<std::string>& words) {
  const ReadSettings read = ReadConfig(path);
  if (!read.faults.empty()) return Fail(read.faults);
  Accounts accounts(read.settings.directory, read.settings.accounts);
  accounts.ActAs("moxd: " + LoginName());
  AdministrationStreams streams{std::cin, std::cout, std::cerr, ::isatty(STDIN_FILENO) == 1};
  return RunAdministration(accounts, words, streams);
}

// What stands behind "--config", wherever it is; both are taken out of the words.
std::string TakeConfig(std::vector<std::string>& words) {
  std::string config = "/etc/moxd/moxd.ini";
  for (auto word = words.begin(); word != words.end();) {
    if (*word != "--config" || word + 1 == words.end()) {
      ++word;
      continue;
    }
    config = *(word + 1);
    word = words.erase(word, word + 2);
  }
  return config;
}

int Run(std::vector<std::string> words) {
  const std::string config = TakeConfig(words);
  std::string action;
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (action.empty() && IsAdministration(*word)) {
      return Administer(config, {word, words.end()});
    } else if (action.empty() && (*word == "init" || *word == "check" || *word == "settings" ||
                                  *word == "--demo" || *word == "--help")) {
      action = *word;
    } else {
      std::cerr << "moxd: \"" << *word << "\" is not understood\n" << kUsage;
      return kWrongUsage;
    }
  }
  if (action == "--help") {
    std::cout << kUsage << '\n' << AdministrationUsage();
    return kDone;
  }
  if (action == "settings") {
    std::cout << SettingsHelp();
    return kDone;
  }
  if (action == "check") return Check(config);
  if (action == "init") return Init(config);
  if (action == "--demo") {
    const DemoCompany demo;
    return Serve(demo.Settings(), &demo);
  }
  const ReadSettings read = ReadConfig(config);
  return read.faults.empty() ? Serve(read.settings, nullptr) : Fail(read.faults);
}

}  // namespace
}  // namespace mox

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a client or a log that is gone
  try {
    return mox::Run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "moxd: " << error.what() << std::endl;
    return 1;
  }
}

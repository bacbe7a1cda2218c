// ovsctl test-alert: the whole way of an alert, from an event record to the logs and the mail server's answer.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/RecordKind.h"
#include "os/Crypto.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/LogFiles.h"
#include "ovsctl/mail/ServiceMail.h"
#include "ovsctl/service/ServiceManager.h"
#include "ovsctl/service/win32/EventRecordWriter.h"
#include "ovsctl/service/win32/ServiceCommands.h"
#include "ovsctl/service/win32/ServiceControl.h"
#include "platform/App_FilePath.h"
#include "platform/DebugEnvironment.h"

namespace ovs::win32 {

namespace {

struct TestAlertOptions {
  std::string applicationFolder;  // empty: that of the installed service
  unsigned waitSeconds = 120;
  std::string feed;  // a feed file that gets the record as well; empty for none
};

using Console::Style;

// Found in nobody else's record.
Text NewMark() {
  std::array<char, 8> bytes{};
  if (os::SystemCrypto().RandomBytes(bytes).Failed()) return NumberText(static_cast<std::int64_t>(GetTickCount64()));
  Text mark;
  for (const char byte : bytes) mark += PaddedNumberText(static_cast<unsigned char>(byte), 3);
  return mark;
}

// The debug log of the service with that process id.
Text DebugLogOf(Installation& installation, std::uint32_t processId) {
  DebugEnvironment environment = DebugEnvironmentOf(installation.Environment(), installation.FileSystem());
  environment.instanceNumber = NumberText(processId);
  App_Debug names;
  names.Attach(DebugPortsOf(os::ThisMachine()), std::move(environment));
  return names.DebugLogGetLogFileVar({}, {}, {}, false);
}

std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

int SendsNothing(std::string_view why) { return Console::Fail("the test record would raise no alert: " + std::string(why)); }

// Looks for a setting that keeps a disk alert from being raised; kDone when there is none.
int CheckSettings(Installation& installation, TextView text) {
  const MonitorSettings& settings = installation.Settings();
  if (!IsOn(MonitorSwitch::DiskEvents, installation.Ini(), settings)) {
    return SendsNothing("DiskEvents is not 1 in section [Monitoring] of " + Console::Shown(settings.configIniPath));
  }
  FileProblems problems;
  GlobalExclusions exclusions(installation.FileSystem(), problems, settings.rulesFolder);
  const auto list = exclusions.ExcludedBy(kEventRecordCode, kEventRecordSource, text);
  if (!list) return kDone;
  return SendsNothing(Console::Shown(GlobalExclusions::FileName(*list)) + " in " + Console::Shown(settings.rulesFolder) +
                      " excludes it");
}

class Trial {
 public:
  Trial(Installation& installation, const os::ServiceEntry& service)
      : installation_(installation),
        log_(os::SystemFiles(), installation.Settings().eventLogPath),
        debugLog_(os::SystemFiles(), DebugLogOf(installation, service.processId)),
        debugLogOn_(installation.FileSystem().FileExist(DebugLogOf(installation, service.processId))) {}

  // Waits until the mark is in the log.
  bool AwaitAlert(TextView mark, unsigned seconds) {
    constexpr DWORD kLookEvery = 100;
    const std::string wanted = ToUtf8(mark);
    const ULONGLONG start = GetTickCount64();
    while (log_.Appended().find(wanted) == std::string::npos) {
      if (GetTickCount64() - start >= seconds * 1000ULL) return false;
      Sleep(kLookEvery);
    }
    const ULONGLONG tenths = (GetTickCount64() - start) / 100;
    Console::Print(Console::Styled(Style::Good, "Alert:  in EventLogs.txt") + " after " + std::to_string(tenths / 10) + "." +
                   std::to_string(tenths % 10) + " s.");
    return true;
  }

  // The mails are sent before the alert is logged, so their outcome is known by then.
  int TellMails() {
    if (!IsOn(MonitorSwitch::EventEmails, installation_.Ini(), installation_.Settings())) {
      Console::Print("Mail:   none is sent, EventEmails is not 1 in section [Monitoring].");
      return kDone;
    }
    ServiceMail mail(installation_);
    const std::size_t expected = mail.Module().AlertCopies().size();
    if (expected == 0) {
      Console::Print("Mail:   none is sent: the settings name nobody who gets alerts.");
      return kDone;
    }
    return debugLogOn_ ? TellResults(expected) : TellUnknown(expected);
  }

 private:
  int TellResults(std::size_t expected) {
    const std::string& entries = debugLog_.Appended();
    const auto results = [&](const char* result) {
      return Count(entries, ToUtf8(kComponentResultEntry) + result) + Count(entries, ToUtf8(kSystemResultEntry) + result);
    };
    const std::size_t accepted = results("True");
    const std::string figures = std::to_string(std::min(accepted, expected)) + " of " + std::to_string(expected);
    if (accepted >= expected && results("False") == 0) {
      Console::Print(Console::Styled(Style::Good, "Mail:   " + figures + " accepted by the mail server."));
      return kDone;
    }
    Console::Print(Console::Styled(Style::Bad, "Mail:   " + figures + " accepted by the mail server.") +
                   " \"ovsctl test-mail\" shows what is wrong.");
    return kFindings;
  }
  static int TellUnknown(std::size_t expected) {
    Console::Print("Mail:   " + std::to_string(expected) +
                   " should have been sent. Whether they were accepted stands only in "
                   "the service's debug log, which is off.");
    Console::Say(
        "\"ovsctl test-mail\" tries the same way to the mail server. To have it told here, put Debug.Log.RealTime=1 "
        "into a file OrvantaEventService_Debug.cfg beside the service and restart it.");
    return kFindings;
  }

  Installation& installation_;
  GrowingFile log_;
  GrowingFile debugLog_;
  bool debugLogOn_;
};

int WriteRecord(const os::ServiceEntry& service, TextView text, const std::string& feed) {
  os::Error error = EnsureEventSource(service.programPath);
  if (error.Failed()) return FailAt("the event source could not be registered", error);
  error = WriteEventRecord(text);
  if (error.Failed()) return FailAt("the test record could not be written to the Application log", error);
  Console::Print("Record: \"" + Console::Shown(text) + "\" written to the Application log.");
  if (feed.empty()) return kDone;
  const std::optional<Text> path = TypedPath(feed);
  if (!path) return kFailed;
  error = AppendRecordToFeed(*path, text);
  return error.Ok() ? kDone : FailAt("the record could not be appended to " + feed, error);
}

int NoAlert(unsigned seconds) {
  Console::Print(Console::Styled(Style::Bad, "Alert:  not in EventLogs.txt after " + std::to_string(seconds) + " s."));
  if (!os::LookAtService().running) {
    Console::Say("The service is not running any more.");
  } else {
    Console::Say(
        "\"ovsctl events --log Application\" shows whether records reach this machine's programs at all. While a mail "
        "is being sent the service waits for the mail server: \"ovsctl test-mail\" shows how long that takes.");
  }
  return kFindings;
}

int CheckService(const os::ServiceEntry& service) {
  using Presence = os::ServiceEntry::Presence;
  if (service.presence == Presence::Unknown) return FailAt("the service cannot be asked", service.error);
  if (service.presence != Presence::Installed) {
    return Console::Fail("the service is not installed; \"ovsctl install\" does that");
  }
  return service.running ? kDone : Console::Fail("the service is " + service.state + "; start it with \"ovsctl start\"");
}

// kDone when the alert is in the log and every mail it should have caused was accepted, kFindings when one of them is
// missing or cannot be known, kFailed when nothing could be tried.
int RunTestAlert(const TestAlertOptions& options) {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  const os::ServiceEntry service = os::LookAtService();
  if (const int result = CheckService(service)) return result;
  const std::string folder =
      options.applicationFolder.empty() ? ToUtf8(App_FilePath::FolderOf(service.programPath)) : options.applicationFolder;
  const std::unique_ptr<Installation> installation = Installation::OpenToRead(folder);
  if (!installation) return kFailed;
  const Text mark = NewMark();
  const Text text = Text(Phrases::kFakeDisk) + u" by ovsctl test-alert, number " + mark;
  if (const int result = CheckSettings(*installation, text)) return result;
  Trial trial(*installation, service);
  if (const int result = WriteRecord(service, text, options.feed)) return result;
  return trial.AwaitAlert(mark, options.waitSeconds) ? trial.TellMails() : NoAlert(options.waitSeconds);
}

}  // namespace

void AddTestAlertCommand(Program& program) {
  const auto options = std::make_shared<TestAlertOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "test-alert",
       .purpose =
           "Raise a disk alert by an event record with the test phrase, and wait until the running service has logged "
           "and mailed it. Needs administrator rights.",
       .examples = "ovsctl test-alert\n"
                   "ovsctl test-alert --wait 300"},
      [options] { return RunTestAlert(*options); });
  AddAppOption(*command, options->applicationFolder);
  AddWaitOption(*command, options->waitSeconds, "How long to wait for the alert");
  AddFeedOption(*command, options->feed);
}

}  // namespace ovs::win32

// ovsctl stop: ends the event service by its two keys, the stop control and a record with the stop phrase.
#include <CLI/CLI.hpp>
#include <memory>

#include "monitor/RecordKind.h"
#include "os/System.h"
#include "os/win32/Win32Support.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/service/win32/EventRecordWriter.h"
#include "ovsctl/service/win32/ServiceCommands.h"
#include "ovsctl/service/win32/ServiceControl.h"
#include "platform/App_FilePath.h"
#include "platform/DebugEnvironment.h"

namespace ovs::win32 {

namespace {

const Text kRecordText = u"ovsctl was asked to stop the service: " + Text(Phrases::kStop);

bool IsStopped(DWORD state) { return state == SERVICE_STOPPED; }

// A service that is stopping already takes no further control: then the control came earlier.
int SendControl(SC_HANDLE service) {
  SERVICE_STATUS status{};
  if (ControlService(service, SERVICE_CONTROL_STOP, &status)) {
    Console::Print("Stop control: sent.");
    return kDone;
  }
  const os::Error error = LastError();
  DWORD state = 0;
  const bool isStopping =
      error.Number() == ERROR_SERVICE_CANNOT_ACCEPT_CTRL && StateOf(service, state).Ok() && state == SERVICE_STOP_PENDING;
  if (!isStopping && error.Number() != ERROR_SERVICE_NOT_ACTIVE) {
    return FailAt("the stop control could not be sent", error);
  }
  Console::Print("Stop control: had been sent before.");
  return kDone;
}

// The service's own program knows the messages; where the manager does not tell its place, the one beside this program.
Text ServiceProgram(SC_HANDLE service) {
  Text program = SetupOf(service).programPath;
  return program.empty() ? App_FilePath::FolderOf(os::ThisSystem().ProgramPath()) + Text(kServiceProgram) : program;
}

int LeaveRecord(SC_HANDLE service, const StopOptions& options) {
  os::Error error = EnsureEventSource(ServiceProgram(service));
  if (error.Failed()) return FailAt("the event source could not be registered", error);
  error = WriteEventRecord(kRecordText);
  if (error.Failed()) return FailAt("the record with the stop phrase could not be written", error);
  Console::Print("Record with the stop phrase: written to the Application log.");
  if (options.feed.empty()) return kDone;
  const std::optional<Text> feed = TypedPath(options.feed);
  if (!feed) return kFailed;
  error = AppendRecordToFeed(*feed, kRecordText);
  if (error.Failed()) return FailAt("the record could not be appended to " + options.feed, error);
  Console::Print("Record with the stop phrase: appended to the feed.");
  return kDone;
}

// After "stopping" only the phrase can be missing. While the state is "running" no control has arrived; whether the phrase
// was seen does not show from outside.
std::string MissingKey(DWORD state, const StopOptions& options) {
  if (state == SERVICE_STOP_PENDING) {
    return "the stop control has arrived, the record with the stop phrase is missing." +
           std::string(options.record ? " Is the Event Log service running?" : " \"ovsctl stop\" writes it.");
  }
  if (state != SERVICE_RUNNING) return "the service is " + std::string(StateName(state)) + ".";
  return options.record ? "the stop control is missing. \"ovsctl stop\" sends it."
                        : "the stop control is missing, and no record was written.";
}

// A service that has stopped may be started again at once; whoever deletes its files waits for this.
void AwaitEnd(const Handle& process) {
  constexpr DWORD kLastWords = 10'000;
  if (process && WaitForSingleObject(process.Get(), kLastWords) == WAIT_TIMEOUT) {
    Console::Say("The service has stopped; its process still writes its dumps.");
  }
}

int AwaitStop(SC_HANDLE service, const Handle& process, const StopOptions& options) {
  DWORD state = 0;
  const os::Error error = WaitForState(service, options.waitSeconds, IsStopped, state);
  if (error.Failed()) return FailAt("the service's state cannot be asked", error);
  if (IsStopped(state)) {
    AwaitEnd(process);
    Console::Print(Console::Styled(Console::Style::Good, "Stopped."));
    return kDone;
  }
  Console::Say("ovsctl: not stopped within " + std::to_string(options.waitSeconds) + " s: " + MissingKey(state, options));
  return kFindings;
}

void AddStopKeys(CLI::App& command, StopOptions& options) {
  CLI::Option* const control = command.add_flag_callback(
      "--control-only", [&options] { options.record = false; }, "Send the stop control, write no record");
  command
      .add_flag_callback(
          "--record-only", [&options] { options.control = false; }, "Write the record, send no control")
      ->excludes(control);
  AddFeedOption(command, options.feed)->excludes(control);
}

}  // namespace

int StopService(const StopOptions& options) {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  const DWORD rights = SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG | (options.control ? SERVICE_STOP : 0);
  ServiceHandle service;
  DWORD state = 0;
  if (const os::Error error = OpenEventService(rights, service); error.Failed()) {
    return FailAt("the service cannot be stopped", error);
  }
  if (StateOf(service.get(), state).Ok() && IsStopped(state)) {
    Console::Print("The service is not running.");
    return kDone;
  }
  const Handle process = ProcessOf(service.get());
  if (options.control) {
    if (const int result = SendControl(service.get())) return result;
  }
  if (options.record) {
    if (const int result = LeaveRecord(service.get(), options)) return result;
  }
  return AwaitStop(service.get(), process, options);
}

void AddStopCommand(Program& program) {
  const auto options = std::make_shared<StopOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "stop",
       .purpose = "Stop the event service. It takes two keys: the stop control, and an event record with the stop "
                  "phrase. Both are turned here, and when it does not stop in time the missing one is named.",
       .examples = "ovsctl stop\n"
                   "ovsctl stop --wait 120"},
      [options] { return StopService(*options); });
  AddWaitOption(*command, options->waitSeconds, "How long to wait for the service to be stopped");
  AddStopKeys(*command, *options);
}

}  // namespace ovs::win32

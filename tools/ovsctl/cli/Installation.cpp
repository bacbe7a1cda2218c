#include "ovsctl/cli/Installation.h"

#include <utility>
#include <vector>

#include "base/App_Strings.h"
#include "diag/App_Debug.h"
#include "os/Clock.h"
#include "os/CommandLine.h"
#include "ovsctl/cli/Console.h"
#include "platform/App_FilePath.h"
#include "platform/DebugEnvironment.h"

namespace ovs {

// The machine, but for the program that runs on it.
class Installation::ServiceSystem final : public os::System {
 public:
  explicit ServiceSystem(Text programPath) : programPath_(std::move(programPath)) {}

  std::optional<Text> MessageText(std::uint32_t number) override { return real_.MessageText(number); }
  void DebugOutput(TextView text) noexcept override { real_.DebugOutput(text); }
  Text EnvironmentVariable(TextView name) override { return real_.EnvironmentVariable(name); }
  Text ProgramDataFolder() override { return real_.ProgramDataFolder(); }
  Text ProgramPath() override { return programPath_; }
  std::uint32_t ProcessId() override { return real_.ProcessId(); }
  Text ComputerName() override { return real_.ComputerName(); }
  Text UserName() override { return real_.UserName(); }
  Text OsVersion() override { return real_.OsVersion(); }
  std::vector<Text> LanAddresses() override { return real_.LanAddresses(); }
  std::uint64_t MemoryInUse() override { return real_.MemoryInUse(); }
  void Pause(std::uint32_t milliseconds) override { real_.Pause(milliseconds); }

 private:
  os::System& real_ = os::ThisSystem();
  Text programPath_;
};

namespace {

os::Machine MachineWith(os::System& system) {
  const os::Machine real = os::ThisMachine();
  return {.files = real.files,
          .folderWatcher = real.folderWatcher,
          .registry = real.registry,
          .clock = real.clock,
          .timeZone = real.timeZone,
          .system = system,
          .periodTimer = real.periodTimer,
          .prompt = real.prompt,
          .crypto = real.crypto};
}

}  // namespace

std::optional<Text> TypedPath(const std::string& path) {
  Text full;
  const os::Error error = os::FullPathOfArgument(path, full);
  if (error.Ok()) return full;
  static_cast<void>(Console::Fail("cannot use the path \"" + path + "\"", error));
  return std::nullopt;
}

std::unique_ptr<Installation> Installation::Open(const std::string& folder) {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  Text path = App_FilePath::FolderOf(os::ThisSystem().ProgramPath());
  if (!folder.empty()) {
    std::optional<Text> typed = TypedPath(folder);
    if (!typed) return nullptr;
    path = std::move(*typed);
  }
  App_Strings::EnsureStringEndsWith(path, u"\\");
  if (!App_FileSystem(os::SystemFiles(), os::ThisSystem()).DirExist(path)) {
    static_cast<void>(Console::Fail("no such folder: " + Console::Shown(path)));
    return nullptr;
  }
  auto system = std::make_unique<ServiceSystem>(path + Text(kServiceProgram));
  return std::unique_ptr<Installation>(new Installation(std::move(system), path));
}

std::unique_ptr<Installation> Installation::OpenToRead(const std::string& folder) {
  std::unique_ptr<Installation> installation = Open(folder);
  const std::optional<Text> closed = installation ? installation->ClosedPath() : std::nullopt;
  if (!closed) return installation;
  static_cast<void>(Console::Fail("this needs an administrator's console; " + Console::Shown(*closed) + " cannot be read",
                                  SystemError::kAccessDenied));
  return nullptr;
}

std::optional<Text> Installation::ClosedPath() {
  os::Files& files = FileSystem().Files();
  for (const Text& folder : {App_FilePath::ParentOf(settings_.configIniPath), settings_.rulesFolder}) {
    std::vector<os::DirEntry> entries;
    if (files.List(folder, entries) == SystemError::kAccessDenied) return folder;
  }
  std::unique_ptr<os::ReadFile> file;
  os::FileInfo info;
  const bool refused = files.OpenRead(settings_.configIniPath, file) == SystemError::kAccessDenied;
  const bool isFolder = refused && files.Info(settings_.configIniPath, info).Ok() && info.IsDirectory();
  return refused && !isFolder ? std::optional(settings_.configIniPath) : std::nullopt;
}

Installation::Installation(std::unique_ptr<ServiceSystem> system, TextView applicationFolder)
    : system_(std::move(system)), modules_(MachineWith(*system_)), settings_(PathsOf(applicationFolder)) {
  ReadDisplaySettings(modules_.ini, settings_);
}

Installation::~Installation() = default;

}  // namespace ovs

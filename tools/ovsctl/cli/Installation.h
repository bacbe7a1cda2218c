// The service's installation in an application folder, seen through the service's own code.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "monitor/MonitorSettings.h"
#include "service/Modules.h"

namespace ovs {

inline constexpr TextView kServiceProgram = u"OrvantaEventService.exe";

class Installation {
 public:
  // `folder` as it was typed; an empty one stands for the folder of this program. Null when there is no such folder; the
  // reason was said. Attaches the diagnostics of this program, which write no file.
  [[nodiscard]] static std::unique_ptr<Installation> Open(const std::string& folder);
  // The same for a command that reads the settings or the rules: null as well when this user may not read them, which was
  // said. They would look as if they were not there.
  [[nodiscard]] static std::unique_ptr<Installation> OpenToRead(const std::string& folder);
  ~Installation();
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  // Paths, and the display settings as they are in the main settings file at this moment.
  [[nodiscard]] const MonitorSettings& Settings() const { return settings_; }
  // What the service itself would see: its application folder and its program's name.
  [[nodiscard]] Modules& Parts() { return modules_; }
  [[nodiscard]] const os::Machine& Machine() const { return modules_.machine; }
  [[nodiscard]] App_FileSystem& FileSystem() { return modules_.fileSystem; }
  [[nodiscard]] App_Common& Ini() { return modules_.ini; }
  [[nodiscard]] App_Time& Time() { return modules_.time; }
  [[nodiscard]] App_Env& Environment() { return modules_.environment; }

 private:
  class ServiceSystem;

  // The first of the settings file and the folders of settings and rules that the system refuses for want of rights.
  [[nodiscard]] std::optional<Text> ClosedPath();

  Installation(std::unique_ptr<ServiceSystem> system, TextView applicationFolder);

  std::unique_ptr<ServiceSystem> system_;
  Modules modules_;
  MonitorSettings settings_;
};

// A path that was typed; none when it is no path, which was said.
[[nodiscard]] std::optional<Text> TypedPath(const std::string& path);

}  // namespace ovs

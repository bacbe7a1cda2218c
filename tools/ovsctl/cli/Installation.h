// The service's installation in an application folder, seen through the service's own code.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "config/App_Common.h"
#include "monitor/MonitorSettings.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Time.h"

namespace ovs {

inline constexpr TextView kServiceProgram = u"OrvantaEventService.exe";

class Installation {
 public:
  // `folder` as it was typed; an empty one stands for the folder of this program. Null when there is no such folder; the
  // reason was said. Attaches the diagnostics of this program, which write no file.
  [[nodiscard]] static std::unique_ptr<Installation> Open(const std::string& folder);
  ~Installation();
  Installation(const Installation&) = delete;
  Installation& operator=(const Installation&) = delete;

  // Paths, and the display settings as they are in the main settings file at this moment.
  [[nodiscard]] const MonitorSettings& Settings() const { return settings_; }
  [[nodiscard]] App_FileSystem& FileSystem() { return fileSystem_; }
  [[nodiscard]] App_Common& Ini() { return ini_; }
  [[nodiscard]] App_Time& Time() { return time_; }
  // What the service itself would see: its application folder and its program's name.
  [[nodiscard]] App_Env& Environment() { return environment_; }

 private:
  class ServiceSystem;

  Installation(std::unique_ptr<ServiceSystem> system, TextView applicationFolder);

  std::unique_ptr<ServiceSystem> system_;
  App_FileSystem fileSystem_;
  App_Common ini_;
  App_Time time_;
  App_Env environment_;
  MonitorSettings settings_;
};

// A path that was typed; none when it is no path, which was said.
[[nodiscard]] std::optional<Text> TypedPath(const std::string& path);

}  // namespace ovs

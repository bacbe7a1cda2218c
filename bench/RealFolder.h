// An application folder on the machine's own disk, made for a measurement and removed after it.
#pragma once

#include <string>
#include <vector>

#include "base/Numbers.h"
#include "monitor/MonitorSettings.h"
#include "os/Files.h"
#include "os/System.h"
#include "platform/App_FileSystem.h"

namespace ovs {

class RealFolder {
 public:
  explicit RealFolder(const std::vector<std::string>& rules = {}) {
    Text root;
    files_.TempFolder(root).Ignore();
    root += u"ovs-bench-app-" + NumberText(os::ThisSystem().ProcessId()) + u"\\";
    settings_ = PathsOf(root);
    std::uint32_t reason = 0;
    fileSystem_.EnsureDirExists(settings_.rulesFolder, reason);
    files_.Write(settings_.configIniPath, "[Monitoring]\r\nDiskEvents=1\r\n").Ignore();
    for (std::size_t i = 0; i < rules.size(); ++i) {
      files_.Write(settings_.rulesFolder + u"\\Rule " + NumberText(static_cast<std::int64_t>(i)) + u".DAT", rules[i])
          .Ignore();
    }
  }
  ~RealFolder() {
    fileSystem_.DeleteFilesInPath(settings_.rulesFolder, u"*");
    files_.RemoveDir(settings_.rulesFolder).Ignore();
    for (const Text& folder : {settings_.applicationFolder + u"Config", settings_.applicationFolder}) {
      fileSystem_.DeleteFilesInPath(folder, u"*");
      files_.RemoveDir(folder).Ignore();
    }
  }
  RealFolder(const RealFolder&) = delete;
  RealFolder& operator=(const RealFolder&) = delete;

  [[nodiscard]] const MonitorSettings& Settings() const { return settings_; }
  [[nodiscard]] App_FileSystem& FileSystem() { return fileSystem_; }

 private:
  os::Files& files_ = os::SystemFiles();
  App_FileSystem fileSystem_{files_, os::ThisSystem()};
  MonitorSettings settings_;
};

}  // namespace ovs

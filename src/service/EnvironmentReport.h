// The environment report: what this program is, where it runs and with which settings, for whoever reads a debug log.
#pragma once

#include <functional>

#include "base/Text.h"
#include "monitor/MonitorSettings.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"

namespace ovs {

// What the report looks at; all must outlive its use.
struct ReportParts {
  TextView caption;  // the report's first line
  const App_Env& environment;
  App_FileSystem& fileSystem;
  std::function<Text()> programSettings;  // lines "key=value" that end in CR LF; may be empty
};

// Lines that end in CR LF, in groups: program, machine, folders, main settings file, program settings, rule and list files
// with sizes and times (UTC), counters. The values of settings whose key names a password are shown as "***". What cannot
// be read is said in its place.
[[nodiscard]] Text EnvironmentReport(const ReportParts& parts);

// A settings line with its value masked when its key names a password; any other line as it is.
[[nodiscard]] Text WithoutPassword(TextView line);

}  // namespace ovs

// The facts that ovsctl status tells, gathered through the service's own code.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mail/message/modEmailSvc.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/service/ServiceManager.h"

namespace ovs {

struct StatusFacts {
  struct LogFile {
    Text path;
    std::optional<std::uint64_t> bytes;  // none when there is no such file
  };

  os::ServiceEntry service;
  bool hasSettingsFile = false;
  bool diskEvents = false;
  bool eventEmails = false;
  modEmailSvc::Route route;
  std::vector<modEmailSvc::Copy> copies;  // who gets a mail of each alert
  std::size_t ruleFiles = 0;
  std::vector<Text> lastAlerts;
  std::vector<LogFile> logs;
  Text debugFolder;
  std::size_t debugFiles = 0;
  std::uint64_t debugBytes = 0;
  // Sentences on what is wrong, in the service's own words.
  std::vector<Text> problems;
};

[[nodiscard]] StatusFacts GatherStatus(Installation& installation);

}  // namespace ovs

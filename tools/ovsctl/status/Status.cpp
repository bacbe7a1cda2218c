// ovsctl status: what the service is set to do, and what it did last.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "mail/engines/SmtpServer.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Json.h"
#include "ovsctl/status/StatusFacts.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

struct StatusOptions {
  std::string applicationFolder;
  bool json = false;
};

using Console::Shown;
using Console::Style;
using Json = nlohmann::ordered_json;
using Presence = os::ServiceEntry::Presence;

void PrintLine(std::string name, const std::string& value) {
  constexpr std::size_t kNameWidth = 13;
  name.resize(std::max(name.size(), kNameWidth), ' ');
  Console::Print(Console::Styled(Style::Bold, name) + value);
}

std::string OnOff(bool on) { return on ? "on" : "off"; }

std::string Bytes(std::uint64_t bytes) {
  constexpr std::size_t kGroup = 3;
  std::string digits = std::to_string(bytes);
  for (std::size_t i = digits.size(); i > kGroup; i -= kGroup) digits.insert(i - kGroup, ",");
  return digits + (bytes == 1 ? " byte" : " bytes");
}

std::string SecurityOf(const SmtpPlan& plan) {
  if (plan.implicitTls) return "TLS from the first byte";
  switch (plan.startTls) {
    case StartTls::Required:
      return "STARTTLS required";
    case StartTls::WhenOffered:
      return "STARTTLS when offered";
    case StartTls::Never:
      break;
  }
  return "no TLS";
}

std::string PresenceText(const os::ServiceEntry& service) {
  switch (service.presence) {
    case Presence::NoManager:
      return "no service control manager here";
    case Presence::NotInstalled:
      return "not installed";
    case Presence::Unknown:
      return "unknown";
    case Presence::Installed:
      break;
  }
  return service.state;
}

// --- lines

void PrintService(const os::ServiceEntry& service, TextView folder) {
  const bool installed = service.presence == Presence::Installed;
  const bool bad = installed ? !service.running : service.presence != Presence::NoManager;
  std::string text = Console::Styled(bad ? Style::Bad : Style::Good, PresenceText(service));
  if (installed) text += ", start type " + service.startType;
  if (service.processId != 0) text += ", process " + std::to_string(service.processId);
  PrintLine("Service", text);
  if (installed) PrintLine("Program", Shown(service.programPath));
  const bool elsewhere = installed && !EqualsFolded(App_FilePath::FolderOf(service.programPath), folder);
  PrintLine("Folder", Shown(folder) + (elsewhere ? ", which is not the installed service's; see --app" : ""));
}

void PrintSettings(const StatusFacts& facts, const MonitorSettings& settings) {
  const DisplayFlags& display = settings.display;
  PrintLine("Settings", Shown(settings.configIniPath) + (facts.hasSettingsFile ? "" : ", missing"));
  PrintLine("Rules", std::to_string(facts.ruleFiles) + (facts.ruleFiles == 1 ? " file" : " files"));
  PrintLine("Disk check", OnOff(facts.diskEvents) + ", rule name \"" + Shown(settings.diskEventsRuleName) + "\"");
  PrintLine("Times", std::string(display.timesInUTC ? "UTC" : "local") +
                         (display.dateYearFirst ? ", 2024/03/07" : ", 03/07/2024") +
                         (display.timeAs24Hour ? ", 13:05:09" : ", 01:05:09 PM"));
}

void PrintMail(const StatusFacts& facts) {
  const modEmailSvc::Route& route = facts.route;
  std::string to;
  for (const modEmailSvc::Copy& copy : facts.copies) {
    to += (to.empty() ? "" : ", ") + Shown(copy.to) + (copy.isClients ? " (client)" : " (technician)");
  }
  PrintLine("E-mail", OnOff(facts.eventEmails) + ", to " + (to.empty() ? "nobody" : to));
  if (!route.usable) return PrintLine("Server", "the settings are not complete");
  PrintLine("Server", Shown(route.host) + ", port " + Shown(route.port) + ", " + SecurityOf(route.plan));
  PrintLine("Account", (route.userName.empty() ? "none" : Shown(route.userName)) + ", password " +
                           (route.hasPassword ? "set" : "not set"));
  PrintLine("Engine", Shown(route.engine));
}

void PrintLogs(const StatusFacts& facts) {
  for (const StatusFacts::LogFile& log : facts.logs) {
    PrintLine("Log", Shown(App_FilePath::FileNameOf(log.path)) + ", " + (log.bytes ? Bytes(*log.bytes) : "none yet"));
  }
  PrintLine("Debug logs", Shown(facts.debugFolder) + ", " + std::to_string(facts.debugFiles) +
                              (facts.debugFiles == 1 ? " file, " : " files, ") + Bytes(facts.debugBytes));
}

void PrintList(const std::string& title, const std::vector<Text>& lines, Style style) {
  if (lines.empty()) return;
  Console::Print(Console::Styled(Style::Bold, title));
  for (const Text& line : lines) Console::Print("  " + Console::Styled(style, Shown(line)));
}

// --- JSON

Json ListOf(const std::vector<Text>& lines) {
  Json list = Json::array();
  for (const Text& line : lines) list.push_back(ToUtf8(line));
  return list;
}

Json MailOf(const StatusFacts& facts) {
  Json copies = Json::array();
  for (const modEmailSvc::Copy& copy : facts.copies) {
    copies.push_back({{"to", ToUtf8(copy.to)}, {"who", copy.isClients ? "client" : "technician"}});
  }
  const modEmailSvc::Route& route = facts.route;
  Json mail = {{"on", facts.eventEmails}, {"to", std::move(copies)}, {"complete", route.usable}};
  mail.update({{"server", ToUtf8(route.host)},
               {"port", ToUtf8(route.port)},
               {"userName", ToUtf8(route.userName)},
               {"password", route.hasPassword ? "set" : "not set"}});
  if (route.usable) {
    mail.update({{"sslType", route.sslType}, {"security", SecurityOf(route.plan)}, {"engine", ToUtf8(route.engine)}});
  }
  return mail;
}

Json ServiceOf(const os::ServiceEntry& service) {
  Json json = {{"state", PresenceText(service)}};
  if (service.presence != Presence::Installed) return json;
  json.update({{"startType", service.startType}, {"process", service.processId}, {"program", ToUtf8(service.programPath)}});
  return json;
}

void PrintJson(const StatusFacts& facts, const MonitorSettings& settings) {
  Json logs = Json::array();
  for (const StatusFacts::LogFile& log : facts.logs) {
    logs.push_back({{"path", ToUtf8(log.path)}, {"bytes", log.bytes ? Json(*log.bytes) : Json(nullptr)}});
  }
  const Json all = {
      {"service", ServiceOf(facts.service)},
      {"folder", ToUtf8(settings.applicationFolder)},
      {"settingsFile", facts.hasSettingsFile},
      {"rules", facts.ruleFiles},
      {"diskEvents", facts.diskEvents},
      {"diskEventsRuleName", ToUtf8(settings.diskEventsRuleName)},
      {"timesInUTC", settings.display.timesInUTC},
      {"dateYearFirst", settings.display.dateYearFirst},
      {"timeAs24Hour", settings.display.timeAs24Hour},
      {"mail", MailOf(facts)},
      {"logs", std::move(logs)},
      {"debugLogs", {{"folder", ToUtf8(facts.debugFolder)}, {"files", facts.debugFiles}, {"bytes", facts.debugBytes}}},
      {"lastAlerts", ListOf(facts.lastAlerts)},
      {"problems", ListOf(facts.problems)}};
  Console::PrintJson(all);
}

int ExitCodeOf(const StatusFacts& facts) {
  switch (facts.service.presence) {
    case Presence::NotInstalled:
      return kFailed;
    case Presence::Unknown:
      return Console::Fail("the service control manager does not tell the service's state", facts.service.error);
    case Presence::Installed:
      if (!facts.service.running) return kFindings;
      break;
    case Presence::NoManager:
      break;
  }
  return facts.problems.empty() ? kDone : kFindings;
}

// kDone when the service runs and nothing is wrong, kFindings when it does not run or something is wrong, kFailed when it is
// not installed. Where there is no service control manager, the service itself does not count.
int RunStatus(const StatusOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::OpenToRead(options.applicationFolder);
  if (!installation) return kFailed;
  const StatusFacts facts = GatherStatus(*installation);
  const MonitorSettings& settings = installation->Settings();
  if (options.json) {
    PrintJson(facts, settings);
    return ExitCodeOf(facts);
  }
  PrintService(facts.service, settings.applicationFolder);
  PrintSettings(facts, settings);
  PrintMail(facts);
  PrintLogs(facts);
  PrintList("Last alerts", facts.lastAlerts, Style::Plain);
  PrintList("Problems", facts.problems, Style::Bad);
  return ExitCodeOf(facts);
}

}  // namespace

void AddStatusCommand(Program& program) {
  const auto options = std::make_shared<StatusOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "status",
       .purpose = "Show whether the event service runs, the settings in force, who gets mails and on which way, rules with "
                  "problems, the last alerts and the sizes of the logs. Passwords are never shown.",
       .examples = "ovsctl status\n"
                   "ovsctl status --json"},
      [options] { return RunStatus(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--json", options->json, "Print the result as one JSON object");
}

}  // namespace ovs

// ovsctl test-mail: one mail on the way of the alerts, told step by step.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Json.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

struct TestMailOptions {
  std::string applicationFolder;
  std::string to;  // empty: the technician of the settings
  bool session = false;
  bool json = false;
};

using Console::Style;

constexpr TextView kBody =
    u"This is a test of the alert e-mail, sent by \"ovsctl test-mail\" with the settings of the event service.\r\n"
    u"Nothing has happened.\r\n";

// The setting to change when a step fails.
struct Advice {
  TextView step;
  const char* text;
};
constexpr Advice kAdvice[] = {
    {u"name", "Check SMTPServer in [EmailConfig], and that this machine can look names up."},
    {u"connection", "Check SMTPPort in [EmailConfig] (587, 465 or 25 as a rule), and that no firewall is in between."},
    {u"greeting", "The server did not greet. A port that speaks TLS from the first byte needs UseSSL=1."},
    {u"TLS", "UseSSL and SMTPPort in [EmailConfig] must suit the server: 587 with UseSSL=2, 465 with UseSSL=1."},
    {u"certificate",
     "Check this machine's clock, and that SMTPServer is the name in the certificate. A private certification "
     "authority belongs into Email.SMTP.CAFile."},
    {u"login", "Check SMTPUserName, set the password anew with \"ovsctl set-password\", and try SMTPAuth=5."},
    {u"sender", "The server does not take this sender. Ask its keeper which sender addresses the account may use."},
    {u"recipient", "Check the address."},
    {u"mail", "The reply above says why; the mail server's keeper can say more."},
};

const char* AdviceFor(TextView step) {
  for (const Advice& each : kAdvice) {
    if (each.step == step) return each.text;
  }
  return "";
}

bool WentWell(const MailOutcome& mail) {
  bool well = mail.sent;
  for (const MailStep& step : mail.report.steps) well = well && step.done;
  return well;
}

void PrintStep(const MailStep& step) {
  constexpr std::size_t kNameWidth = 12;
  std::string name = Console::Shown(step.name);
  name.resize(std::max(name.size(), kNameWidth), ' ');
  const std::string mark = step.done ? Console::Styled(Style::Good, "ok     ") : Console::Styled(Style::Bad, "FAILED ");
  Console::Print("  " + name + mark + Console::Shown(step.detail));
  if (!step.done) Console::Print("    " + std::string(AdviceFor(step.name)));
}

void PrintMail(const MailOutcome& mail, bool session) {
  Console::Print("Mail to " + Console::Shown(mail.to) + ", by the " + Console::Shown(mail.engine));
  for (const MailStep& step : mail.report.steps) PrintStep(step);
  if (mail.report.steps.empty() && !mail.sent) Console::Print("  FAILED " + Console::Shown(mail.reason));
  for (const Text& note : mail.report.notes) Console::Print("  note: " + Console::Shown(note));
  if (session) {
    for (const Text& line : App_Strings::Split(mail.report.session, u"\r\n")) Console::Print("  | " + Console::Shown(line));
  }
  Console::Print(mail.sent ? Console::Styled(Style::Good, "Accepted by the mail server.")
                           : Console::Styled(Style::Bad, "Not sent."));
}

void PrintJson(const std::vector<MailOutcome>& mails, bool session) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const MailOutcome& mail : mails) {
    nlohmann::ordered_json steps = nlohmann::ordered_json::array();
    for (const MailStep& step : mail.report.steps) {
      steps.push_back({{"step", ToUtf8(step.name)}, {"ok", step.done}, {"detail", ToUtf8(step.detail)}});
    }
    nlohmann::ordered_json notes = nlohmann::ordered_json::array();
    for (const Text& note : mail.report.notes) notes.push_back(ToUtf8(note));
    nlohmann::ordered_json one = {{"to", ToUtf8(mail.to)},     {"engine", ToUtf8(mail.engine)},
                                  {"accepted", mail.sent},     {"steps", std::move(steps)},
                                  {"notes", std::move(notes)}, {"failReason", ToUtf8(mail.reason)}};
    if (session) one["session"] = ToUtf8(mail.report.session);
    all.push_back(std::move(one));
  }
  Console::PrintJson(nlohmann::ordered_json({{"mails", std::move(all)}}));
}

// The alerts themselves may go elsewhere, or nowhere.
void SayWhereAlertsGo(Installation& installation, modEmailSvc& module) {
  const bool on = IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings());
  if (!on) Console::Say("Alerts are not mailed at present: EventEmails in [Monitoring] is not 1.");
  const std::vector<modEmailSvc::Copy> copies = module.AlertCopies();
  for (const modEmailSvc::Copy& copy : copies) {
    Console::Say(std::string(on ? "Alerts go to " : "Alerts would go to ") + Console::Shown(copy.to) +
                 (copy.isClients ? " (the client)." : " (the technician)."));
  }
  if (copies.empty()) {
    Console::Say(
        "Nobody would get an alert: EmailAdminEvents in [EmailOptions] is not 1, and the client has not asked for any.");
  }
}

// kDone when the server took the mail for every recipient, kFindings when it did not, kFailed when nothing could be tried.
int RunTestMail(const TestMailOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::OpenToRead(options.applicationFolder);
  if (!installation) return kFailed;
  ServiceMail mail(*installation);
  modEmailSvc::Copy copy = mail.Module().TechnicianCopy();
  if (!options.to.empty()) copy.to = FromUtf8(options.to);
  if (copy.to.empty()) {
    return Console::Fail("AdminEmail is not set in " + Console::Shown(installation->Settings().configIniPath) +
                         "; set it, or name an address with --to");
  }
  SayWhereAlertsGo(*installation, mail.Module());
  mail.Module().SendEmail(copy.to, copy.sender, u"Test mail", kBody, {});
  const std::vector<MailOutcome> mails = mail.TakeOutcomes();
  for (const MailOutcome& each : mails) {
    if (!each.engine.empty()) continue;
    return Console::Fail("no mail could be made with these settings: " + Console::Shown(each.reason));
  }
  if (options.json) {
    PrintJson(mails, options.session);
  } else {
    for (const MailOutcome& each : mails) PrintMail(each, options.session);
  }
  return std::ranges::all_of(mails, WentWell) ? kDone : kFindings;
}

}  // namespace

void AddTestMailCommand(Program& program) {
  const auto options = std::make_shared<TestMailOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "test-mail",
       .purpose =
           "Send one mail with the settings in force, as the service sends its alerts, and tell each step: name look-up, "
           "connection, TLS and certificate, login, recipients, acceptance. Passwords are never shown.",
       .examples = "ovsctl test-mail\n"
                   "ovsctl test-mail --to jane@example.com --session"},
      [options] { return RunTestMail(*options); });
  AddAppOption(*command, options->applicationFolder);
  command
      ->add_option("--to", options->to,
                   "Send it to this address (default: the technician, AdminEmail in Config\\Orvanta.ini)")
      ->type_name("ADDRESS");
  command->add_flag("--session", options->session, "Also show what was said between this program and the mail server");
  command->add_flag("--json", options->json, "Print the result as one JSON object");
}

}  // namespace ovs

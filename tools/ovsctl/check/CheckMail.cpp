#include "ovsctl/check/FileChecks.h"

#include <algorithm>

#include "mail/engines/SmtpServer.h"
#include "ovsctl/check/CheckIni.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

constexpr std::int32_t kRelayPort = 25;
constexpr std::int32_t kImplicitPort = 465;
constexpr std::int32_t kSubmissionPort = 587;

class MailSettings {
 public:
  MailSettings(const PlainIni& ini, Findings& findings) : ini_(ini), lines_(ini.Lines()), findings_(findings) {}

  void CheckComplete() {
    struct Needed {
      SettingName setting;
      const char* mend;
    };
    static constexpr Needed kNeeded[] = {
        {MainSettings::kAdminEmail, "Write the technician's address behind AdminEmail=."},
        {MainSettings::kSmtpServer, "Write the mail server's name behind SMTPServer=."},
        {MainSettings::kSmtpPort, "Write SMTPPort=587, or what the mail server's keeper says."},
        {MainSettings::kSmtpUserName, "Write the account that sends behind SMTPUserName=."},
        {MainSettings::kSmtpPassword, "Set the password with \"ovsctl set-password\"."},
    };
    for (const Needed& each : kNeeded) {
      if (!Value(each.setting).empty()) continue;
      const std::size_t own = Line(each.setting);
      findings_.Error(own != 0 ? own : LineOfKey(lines_, MainSettings::kEventEmails),
                      "no alert can be mailed: [EmailConfig] has no " + Console::Shown(each.setting.key), each.mend);
    }
  }

  // By the engine that will serve; while the settings are not complete there is no connection to look at.
  void CheckConnection(const modEmailSvc::Route& route) {
    if (!route.usable) return;
    const bool secured = route.plan.implicitTls || route.plan.startTls == StartTls::Required;
    const std::size_t line = Line(MainSettings::kUseSsl) != 0 ? Line(MainSettings::kUseSsl) : Line(MainSettings::kSmtpPort);
    if (route.logsIn && !secured) {
      findings_.Warning(line,
                        route.plan.startTls == StartTls::Never ? "the password goes over a connection without TLS"
                                                               : "the password goes over a connection without TLS when the "
                                                                 "mail server does not offer STARTTLS",
                        "Use SMTPPort=587 with UseSSL=2, or 465 with UseSSL=1.");
    }
    CheckPort(route, line);
  }

 private:
  void CheckPort(const modEmailSvc::Route& route, std::size_t line) {
    const SmtpPlan literal = PlanConnection(route.sslType, route.portNumber, 0, true);
    const bool literally = route.plan == literal;
    const std::string fixed = literally ? "" : "; AutoFix corrects it";
    const std::string port = std::to_string(route.portNumber);
    const bool startsPlain = route.portNumber == kSubmissionPort || route.portNumber == kRelayPort;
    if (route.portNumber == kImplicitPort && !literal.implicitTls && (literally || route.sslType != kSslNone)) {
      findings_.Warning(line,
                        "port " + port + " speaks TLS from the first byte, which UseSSL=" + std::to_string(route.sslType) +
                            " does not do" + fixed,
                        "Write UseSSL=1, or SMTPPort=587.");
    } else if (startsPlain && route.sslType == kSslImplicit) {
      findings_.Warning(line, "UseSSL=1 means TLS from the first byte, which port " + port + " does not speak" + fixed,
                        "Write UseSSL=2, or SMTPPort=465.");
    }
  }

  [[nodiscard]] Text Value(const SettingName& setting) const { return ValueOf(ini_, setting); }
  [[nodiscard]] std::size_t Line(const SettingName& setting) const { return LineOfKey(lines_, setting); }

  const PlainIni& ini_;
  std::vector<PlainIni::Line> lines_;
  Findings& findings_;
};

}  // namespace

void CheckMailSettings(Installation& installation, const PlainIni& ini, Findings& findings) {
  MailSettings settings(ini, findings);
  ServiceMail mail(installation);
  settings.CheckConnection(mail.Module().RouteOfMails(ini));
  if (!IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings(), ini)) return;
  settings.CheckComplete();
  if (!mail.Module().AlertCopies(ini).empty()) return;
  const std::vector<PlainIni::Line> lines = ini.Lines();
  findings.Error(LineOfKey(lines, MainSettings::kEventEmails), "alerts are mailed, but nobody would get one",
                 "Write EmailAdminEvents=1 into [EmailOptions], and AdminEmail into [EmailConfig].");
}

}  // namespace ovs

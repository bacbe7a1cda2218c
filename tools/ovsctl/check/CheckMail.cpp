#include "ovsctl/check/FileChecks.h"

#include <algorithm>

#include "base/Numbers.h"
#include "mail/engines/SmtpServer.h"
#include "ovsctl/check/CheckIni.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

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

  // By the engine that will serve; by the built-in one while the settings are not complete.
  void CheckConnection(const modEmailSvc::Route& route) {
    const std::int32_t port = Number(MainSettings::kSmtpPort, 0);
    const std::int32_t sslType = Number(MainSettings::kUseSsl, 0);
    const std::int32_t autoFix = Number(MainSettings::kAutoFix, 1);
    const bool sendsPassword = Number(MainSettings::kSmtpAuth, kAuthAutomatic) != kAuthNone;
    if (port == 0) return;
    const bool isKnown = route.usable && !route.userName.empty();
    const SmtpPlan plan = isKnown ? route.plan : PlanConnection(sslType, port, autoFix, sendsPassword);
    const bool secured = plan.implicitTls || plan.startTls == StartTls::Required;
    const std::size_t line = Line(MainSettings::kUseSsl) != 0 ? Line(MainSettings::kUseSsl) : Line(MainSettings::kSmtpPort);
    if (sendsPassword && !secured) {
      findings_.Warning(line,
                        plan.startTls == StartTls::Never ? "the password goes over a connection without TLS"
                                                         : "the password goes over a connection without TLS when the "
                                                           "mail server does not offer STARTTLS",
                        "Use SMTPPort=587 with UseSSL=2, or 465 with UseSSL=1.");
    }
    CheckPort(port, sslType, plan, line);
  }

 private:
  void CheckPort(std::int32_t port, std::int32_t sslType, const SmtpPlan& plan, std::size_t line) {
    const SmtpPlan literal = PlanConnection(sslType, port, 0, true);
    const bool literally = plan == literal;
    const bool typeGiven = sslType != 0;
    const bool implicit = literal.implicitTls;
    const std::string fixed = literally ? "" : "; AutoFix corrects it";
    if (port == kImplicitPort && !implicit && (literally || typeGiven)) {
      findings_.Warning(
          line, "port 465 speaks TLS from the first byte, which UseSSL=" + std::to_string(sslType) + " does not do" + fixed,
          "Write UseSSL=1, or SMTPPort=587.");
    } else if (port != kImplicitPort && sslType == kSslImplicit && (port == kSubmissionPort || port == 25)) {
      findings_.Warning(
          line, "UseSSL=1 means TLS from the first byte, which port " + std::to_string(port) + " does not speak" + fixed,
          "Write UseSSL=2, or SMTPPort=465.");
    }
  }

  [[nodiscard]] Text Value(const SettingName& setting) const { return ValueOf(ini_, setting); }
  [[nodiscard]] std::size_t Line(const SettingName& setting) const { return LineOfKey(lines_, setting); }
  [[nodiscard]] std::int32_t Number(const SettingName& setting, std::int32_t otherwise) const {
    return ParseInt32(Value(setting)).value_or(otherwise);
  }

  const PlainIni& ini_;
  std::vector<PlainIni::Line> lines_;
  Findings& findings_;
};

}  // namespace

void CheckMailSettings(Installation& installation, const PlainIni& ini, Findings& findings) {
  MailSettings settings(ini, findings);
  if (!IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings(), ini)) {
    return settings.CheckConnection({});
  }
  ServiceMail mail(installation);
  settings.CheckConnection(mail.Module().RouteOfMails());
  settings.CheckComplete();
  if (!mail.Module().AlertCopies().empty()) return;
  const std::vector<PlainIni::Line> lines = ini.Lines();
  findings.Error(LineOfKey(lines, MainSettings::kEventEmails), "alerts are mailed, but nobody would get one",
                 "Write EmailAdminEvents=1 into [EmailOptions], and AdminEmail into [EmailConfig].");
}

}  // namespace ovs

#include "ovsctl/check/CheckMail.h"

#include <algorithm>

#include "base/Numbers.h"
#include "mail/engines/SmtpPlan.h"
#include "ovsctl/check/CheckIni.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

constexpr TextView kSection = u"EmailConfig";
constexpr std::int32_t kImplicitPort = 465;
constexpr std::int32_t kSubmissionPort = 587;
constexpr std::int32_t kImplicitTls = 1;

class MailSettings {
 public:
  MailSettings(const PlainIni& ini, Findings& findings) : ini_(ini), lines_(ini.Lines()), findings_(findings) {}

  void CheckComplete() {
    struct Needed {
      TextView key;
      const char* mend;
    };
    static constexpr Needed kNeeded[] = {
        {u"AdminEmail", "Write the technician's address behind AdminEmail=."},
        {u"SMTPServer", "Write the mail server's name behind SMTPServer=."},
        {u"SMTPPort", "Write SMTPPort=587, or what the mail server's keeper says."},
        {u"SMTPUserName", "Write the account that sends behind SMTPUserName=."},
        {u"SMTPPassword", "Set the password with \"ovsctl set-password\"."},
    };
    for (const Needed& each : kNeeded) {
      if (!Value(each.key).empty()) continue;
      const std::size_t own = Line(each.key);
      findings_.Error(own != 0 ? own : LineOfKey(lines_, u"Monitoring", u"EventEmails"),
                      "no alert can be mailed: [EmailConfig] has no " + Console::Shown(each.key), each.mend);
    }
  }

  void CheckConnection() {
    const std::int32_t port = Number(u"SMTPPort", 0);
    const std::int32_t sslType = Number(u"UseSSL", 0);
    const std::int32_t autoFix = Number(u"AutoFix", 1);
    const bool sendsPassword = Number(u"SMTPAuth", 5) != 0;
    if (port == 0) return;
    const SmtpPlan plan = PlanConnection(sslType, port, autoFix, sendsPassword);
    const bool secured = plan.implicitTls || plan.startTls == StartTls::Required;
    const std::size_t line = Line(u"UseSSL") != 0 ? Line(u"UseSSL") : Line(u"SMTPPort");
    if (sendsPassword && !secured) {
      findings_.Warning(line,
                        plan.startTls == StartTls::Never ? "the password goes over a connection without TLS"
                                                         : "the password goes over a connection without TLS when the "
                                                           "mail server does not offer STARTTLS",
                        "Use SMTPPort=587 with UseSSL=2, or 465 with UseSSL=1.");
    }
    CheckPort(port, sslType, autoFix, line);
  }

 private:
  void CheckPort(std::int32_t port, std::int32_t sslType, std::int32_t autoFix, std::size_t line) {
    const bool literally = autoFix == 0;
    const bool typeGiven = sslType != 0;
    const bool implicit = PlanConnection(sslType, port, 0, true).implicitTls;
    const std::string fixed = literally ? "" : "; AutoFix corrects it";
    if (port == kImplicitPort && !implicit && (literally || typeGiven)) {
      findings_.Warning(
          line, "port 465 speaks TLS from the first byte, which UseSSL=" + std::to_string(sslType) + " does not do" + fixed,
          "Write UseSSL=1, or SMTPPort=587.");
    } else if (port != kImplicitPort && sslType == kImplicitTls && (port == kSubmissionPort || port == 25)) {
      findings_.Warning(
          line, "UseSSL=1 means TLS from the first byte, which port " + std::to_string(port) + " does not speak" + fixed,
          "Write UseSSL=2, or SMTPPort=465.");
    }
  }

  [[nodiscard]] Text Value(TextView key) const { return ValueOf(ini_, kSection, key); }
  [[nodiscard]] std::size_t Line(TextView key) const { return LineOfKey(lines_, kSection, key); }
  [[nodiscard]] std::int32_t Number(TextView key, std::int32_t otherwise) const {
    return ParseInt32(Value(key)).value_or(otherwise);
  }

  const PlainIni& ini_;
  std::vector<PlainIni::Line> lines_;
  Findings& findings_;
};

}  // namespace

void CheckMailSettings(Installation& installation, const PlainIni& ini, Findings& findings) {
  MailSettings settings(ini, findings);
  settings.CheckConnection();
  if (!IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings(), ini)) return;
  settings.CheckComplete();
  ServiceMail mail(installation);
  if (!mail.Module().AlertCopies().empty()) return;
  const std::vector<PlainIni::Line> lines = ini.Lines();
  findings.Error(LineOfKey(lines, u"Monitoring", u"EventEmails"), "alerts are mailed, but nobody would get one",
                 "Write EmailAdminEvents=1 into [EmailOptions], and AdminEmail into [EmailConfig].");
}

}  // namespace ovs

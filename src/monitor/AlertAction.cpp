#include "monitor/AlertAction.h"

#include "diag/Proc.h"

namespace ovs {

AlertAction::AlertAction(App_Common& ini, AlertMailer& mailer, TextView configIniPath)
    : ini_(ini), mailer_(mailer), configIniPath_(configIniPath) {}

bool AlertAction::MailsAlerts(App_Common& ini, TextView configIniPath) {
  return ini.ReadINI(configIniPath, u"Monitoring", u"EventEmails") == u"1";
}

void AlertAction::DoAction(TextView alertText, bool diskAlert) {
  Proc proc(u"modFilterEvents", u"DoAction", ProcKind::Sub);
  proc.ByVal(u"sAlertText", alertText);
  proc.ByVal(u"bDiskAlert", diskAlert);
  proc.Run([&] {
    if (!MailsAlerts(ini_, configIniPath_)) return;
    proc.Log(u"DoAction Initiated");
    mailer_.SendEventsEmail(diskAlert ? u"Disk Alert!" : u"Event Alert!", alertText, {});
  });
}

}  // namespace ovs

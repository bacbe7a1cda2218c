#include "monitor/AlertSink.h"

#include "diag/Proc.h"

namespace ovs {

void AlertSequence::OnAlert(const Alert& alert) {
  for (AlertSink& sink : sinks_) sink.OnAlert(alert);
}

void AlertSequence::OnHidden(const HiddenAlert& alert) {
  for (AlertSink& sink : sinks_) sink.OnHidden(alert);
}

void AlertAction::OnAlert(const Alert& alert) { DoAction(AlertText::MailBody(alert), alert.kind == AlertKind::Disk); }

void AlertAction::DoAction(TextView alertText, bool diskAlert) {
  Proc proc(u"modFilterEvents", u"DoAction", ProcKind::Sub);
  proc.ByVal(u"sAlertText", alertText);
  proc.ByVal(u"bDiskAlert", diskAlert);
  proc.Run([&] {
    if (!IsOn(MonitorSwitch::EventEmails, ini_, settings_)) return;
    proc.Log(u"DoAction Initiated");
    mailer_.SendEventsEmail(diskAlert ? u"Disk Alert!" : u"Event Alert!", alertText, {});
  });
}

}  // namespace ovs

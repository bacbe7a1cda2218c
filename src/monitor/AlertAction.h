// The single point where a matched record turns into a notification.
#pragma once

#include "base/Text.h"
#include "config/App_Common.h"
#include "mail/message/AlertMailer.h"

namespace ovs {

class AlertAction {
 public:
  // All references must outlive this object.
  AlertAction(App_Common& ini, AlertMailer& mailer, TextView configIniPath);

  // Whether alerts are mailed at this moment.
  [[nodiscard]] static bool MailsAlerts(App_Common& ini, TextView configIniPath);

  // Mails the alert text when "Monitoring"/"EventEmails" is "1" at this moment; otherwise does nothing. Delivery failures
  // never reach the caller.
  void DoAction(TextView alertText, bool diskAlert);

 private:
  App_Common& ini_;
  AlertMailer& mailer_;
  Text configIniPath_;
};

}  // namespace ovs

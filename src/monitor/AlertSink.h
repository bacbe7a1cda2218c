// Where the service's alerts go: to e-mail, and to several sinks in a fixed order. For the two logs see EventLogFiles.h.
#pragma once

#include <functional>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "mail/message/AlertMailer.h"
#include "monitor/Alert.h"
#include "monitor/MonitorSettings.h"

namespace ovs {

// Hands everything to each of its sinks, in their order. The service's own are the alert action, then the log files.
class AlertSequence final : public AlertSink {
 public:
  // The sinks must outlive this object.
  explicit AlertSequence(std::vector<std::reference_wrapper<AlertSink>> sinks) : sinks_(std::move(sinks)) {}
  void OnAlert(const Alert& alert) override;
  void OnHidden(const HiddenAlert& alert) override;

 private:
  std::vector<std::reference_wrapper<AlertSink>> sinks_;
};

// The single point where an alert turns into a notification.
class AlertAction final : public AlertSink {
 public:
  // `ini` and `mailer` must outlive this object.
  AlertAction(App_Common& ini, AlertMailer& mailer, const MonitorSettings& settings)
      : ini_(ini), mailer_(mailer), settings_(settings) {}
  void OnAlert(const Alert& alert) override;

 private:
  // Mails the text when "EventEmails" is on at this moment; otherwise does nothing.
  void DoAction(TextView alertText, bool diskAlert);

  App_Common& ini_;
  AlertMailer& mailer_;
  MonitorSettings settings_;
};

}  // namespace ovs

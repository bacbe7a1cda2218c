#include "mail/message/MailUser.h"

#include "diag/App_Debug.h"

namespace ovs {

namespace {

void NotAvailable(TextView what) { Debug::dLog(kNoProc, Text(what) + u" is not available in this program"); }

}  // namespace

void PlainMailUser::StatusNotice(TextView text) { Debug::dLog(kNoProc, text); }

std::optional<Text> PlainMailUser::InputBox(TextView title, TextView /*prompt*/, TextView /*defaultText*/) {
  NotAvailable(u"The input box [" + Text(title) + u"]");
  return std::nullopt;
}

bool PlainMailUser::EditMailSettings() {
  NotAvailable(u"The dialog for e-mail settings");
  return false;
}

bool PlainMailUser::StartMailClient(TextView /*to*/, TextView /*subject*/, TextView /*body*/) {
  NotAvailable(u"The hand-over to the system's mail client");
  return false;
}

bool PlainMailUser::ViewLog(TextView caption, TextView /*text*/) {
  NotAvailable(u"The log viewer [" + Text(caption) + u"]");
  return false;
}

}  // namespace ovs

#include "mail/AlertMailer.h"

#include "diag/App_Debug.h"

namespace ovs {

Text NoMailer::SendEventsEmail(TextView subject, TextView /*body*/, TextView /*attachmentPath*/) {
  Debug::dLog(kNoProc, u"Alert not mailed: " + reason_, EventType::Normal, u"subject=" + Text(subject));
  return {};
}

}  // namespace ovs

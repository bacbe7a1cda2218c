// A mailer that sends nothing and remembers the alerts.
#pragma once

#include <vector>

#include "mail/message/AlertMailer.h"

namespace ovs::fakes {

class FakeMailer final : public AlertMailer {
 public:
  struct Mail {
    Text subject;
    Text body;
    Text attachmentPath;
  };

  Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) override {
    mails.push_back({Text(subject), Text(body), Text(attachmentPath)});
    return {};
  }

  std::vector<Mail> mails;
};

}  // namespace ovs::fakes

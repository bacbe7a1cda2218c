// The ports of the mail floor: a component that sends one mail, one that packs attachments, and the maker of both.
//
// Texts of a message are free of CR, LF and NUL except for the body. A component serves one message, on one thread. Where no
// result tells of a failure, it throws RuntimeError.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Text.h"
#include "mail/engines/MailHeaders.h"
#include "mail/engines/SmtpServer.h"
#include "os/Machine.h"

namespace ovs {

// Addresses as the message object holds them, see MailHeaders.h.
struct MailMessage {
  Text from;
  Text replyTo;
  Text to;
  Text cc;
  Text bcc;
  Text subject;
  Text body;
  bool isHtml = false;
  bool addPriorityHeader = false;
  Text logoFile;                  // image that the HTML body may show as "cid:" and the file's name; empty for none
  std::vector<Text> attachments;  // full paths
};

// One step on the way of a mail, for a technician who tries the settings.
struct MailStep {
  TextView name;  // such as "connection"
  bool done = false;
  Text detail;  // a finding, or the reason of the failure
};

// Notes that every engine may leave in a report.
inline constexpr TextView kPasswordInClear = u"The password was sent over a connection without TLS.";
inline constexpr TextView kNotVerified = u"Certificate and host name of the mail server were not verified.";

// The note on an attachment without which the mail goes.
[[nodiscard]] inline Text LeftOut(TextView path, TextView reason) {
  return u"Left out of the mail, it cannot be read: [" + MailHeaders::OneLine(path) + u"] " + Text(reason);
}

// The facts known after a send. No text holds a password or an AUTH exchange.
struct MailReport {
  Text failReason;
  Text lastErrorText;
  Text lastStatus;
  Text session;  // commands and replies
  // Of the last attempt, in their order up to the first that failed; empty when nothing is known.
  std::vector<MailStep> steps;
  std::vector<Text> notes;  // for the debug log, whether the mail was sent or not
};

class MailComponent {
 public:
  virtual ~MailComponent() = default;

  // For logs, such as "built-in engine".
  [[nodiscard]] virtual TextView Name() const = 0;

  // The security of a connection to that server.
  [[nodiscard]] virtual SmtpPlan Plan(const SmtpServer& server) const { return PlanConnection(server); }

  // Takes the server over. The result is the status of eight fields, 0 where all is well, in the order: server, port,
  // authentication, TLS, user name, password, connection limit, way of sending.
  static constexpr std::size_t kStatusFields = 8;
  virtual std::vector<std::int32_t> Configure(const SmtpServer& server) = 0;

  // Builds the mail. False when the logo file could not be added; the mail is complete without it.
  virtual bool Compose(const MailMessage& message) = 0;

  // The login method of the next Send; see SmtpServer::authMethod.
  virtual void SetAuthMethod(std::int32_t method) = 0;

  // May be called again. True when the server has taken the mail for one recipient at least.
  virtual bool Send() = 0;

  // Of all sends so far.
  [[nodiscard]] virtual MailReport Report() = 0;
};

class ZipArchive {
 public:
  virtual ~ZipArchive() = default;
  // Begins an archive that will be written to `path`. These three are false on failure; the text then tells why.
  virtual bool Create(TextView path) = 0;
  virtual bool AppendFile(TextView path) = 0;
  virtual bool Write() = 0;
  [[nodiscard]] virtual Text LastErrorText() = 0;
};

// Settings of the closed components, which the built-in ones do without.
struct ClosedComponentOptions {
  Text unlockCode;
  bool verboseLogging = false;
  // Debug log files of the component's two objects; empty for none.
  Text mailManDebugLog;
  Text emailDebugLog;
};

// Makes the components that the machine offers. All of a process are made, used and given up on one thread, before the maker
// ends.
class MailEngines {
 public:
  virtual ~MailEngines() = default;

  // Makes the engines ready; once in a process, before all else. The debug log tells which ones serve.
  virtual void Start() = 0;

  // The closed mail component where it is registered and accepts the unlock code, otherwise the built-in engine.
  [[nodiscard]] virtual std::unique_ptr<MailComponent> NewComponent(const ClosedComponentOptions& options) = 0;
  // The system's message object where it can be made, otherwise the built-in engine.
  [[nodiscard]] virtual std::unique_ptr<MailComponent> NewSystemMessage() = 0;
  // The closed archive component, as above, otherwise the built-in one.
  [[nodiscard]] virtual std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) = 0;
};

// The engines of this machine: on Windows the closed components where they are registered, everywhere the built-in ones.
[[nodiscard]] std::unique_ptr<MailEngines> SystemMailEngines(const os::Machine& machine);

}  // namespace ovs

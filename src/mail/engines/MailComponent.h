// Port: what sends a mail, and what packs its attachments.
//
// Texts of a message are free of CR, LF and NUL except for the body. Objects serve one message each, on one thread. Where
// no result says otherwise a failure throws RuntimeError.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Text.h"
#include "base/Wipe.h"

namespace ovs {

// --- what the message object's codes stand for

// 0 "NONE", 1 "LOGIN", 2 "NTLM", 3 "PLAIN", 4 "CRAM-MD5"; empty for 5 (the engine chooses) and every other code.
[[nodiscard]] TextView ckSmtpAuthMethodStr(std::int32_t code);
// 0 "TLS 1.0 or higher" to 6 "SSL 3.0", 7 "default"; empty for every other code.
[[nodiscard]] TextView ckSSLProtocolStr(std::int32_t code);

struct SmtpSettings {
  Text host;
  std::int32_t port = 0;
  Text username;
  SecretText password;
  Text loginDomain;              // for NTLM
  std::int32_t sslType = 0;      // 0 none, 1 implicit TLS, 2 STARTTLS, 3 STARTTLS when offered, 4 by port
  std::int32_t sslProtocol = 0;  // see ckSSLProtocolStr
  std::int32_t authMethod = 0;   // see ckSmtpAuthMethodStr
  std::int32_t autoFix = 1;      // 0: the SSL type is taken literally
  // Limits of one message in seconds: for the connection, and for everything, a second attempt included.
  std::int32_t connectSeconds = 60;
  std::int32_t sendSeconds = 180;
  Text caFile;                  // PEM file of a certification authority to be trusted as well; empty for none
  bool allowUntrusted = false;  // neither certificate nor host name is verified
  bool verboseLogging = false;
  // Debug log files of the closed component's two objects; empty for none.
  Text mailManDebugLog;
  Text emailDebugLog;
};

// Addresses as the message object holds them, see MailAddress.h.
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

// One step on the way of a mail, for whoever tries the settings.
struct MailStep {
  TextView name;  // such as "connection"
  bool done = false;
  Text detail;  // what was found, or why it failed
};

// What is known after a send. No text holds a password or an AUTH exchange.
struct MailReport {
  Text failReason;
  Text lastErrorText;
  Text lastStatus;
  Text session;  // commands and replies
  std::vector<MailStep>
      steps;                // of the last attempt, in their order up to the first that failed; empty when nothing is known
  std::vector<Text> notes;  // what the debug log must say about this send, whether it succeeded or not
};

class MailComponent {
 public:
  virtual ~MailComponent() = default;

  // For logs, such as "built-in engine".
  [[nodiscard]] virtual TextView Name() const = 0;

  // Takes the settings over. The result is the status of eight fields, 0 where all is well, in the order: server, port,
  // authentication, TLS, user name, password, connection limit, way of sending.
  virtual std::vector<std::int32_t> Configure(const SmtpSettings& settings) = 0;

  // Builds the mail. False when the logo file could not be added; the mail is complete without it.
  virtual bool Compose(const MailMessage& message) = 0;

  // From now on this method alone; see ckSmtpAuthMethodStr.
  virtual void SetAuthMethod(TextView method) = 0;

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

// Which of them the machine offers.
class MailEngines {
 public:
  virtual ~MailEngines() = default;

  // Makes the engines ready; once in a process, before all else. The debug log tells which ones serve.
  virtual void Start() = 0;

  // The closed mail component where it is registered and accepts the unlock code, otherwise the built-in engine.
  [[nodiscard]] virtual std::unique_ptr<MailComponent> NewComponent(TextView unlockCode) = 0;
  // The system's message object where it can be made, otherwise the built-in engine.
  [[nodiscard]] virtual std::unique_ptr<MailComponent> NewSystemMessage() = 0;
  // The closed archive component, as above, otherwise the built-in one.
  [[nodiscard]] virtual std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) = 0;
};

}  // namespace ovs

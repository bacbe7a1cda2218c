// The dialogue between this program and a mail server, fit to be shown: no AUTH exchange is kept.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Text.h"

namespace ovs {

// Decides line by line how much of a session may be shown.
class AuthMask {
 public:
  // A command without its line end. Of AUTH only the mechanism is left; everything behind it is "***" until a line closes a
  // reply other than 334.
  [[nodiscard]] std::string Command(std::string_view line);
  // A reply line with its line end, which the result lacks; of a 334 only the number is left.
  [[nodiscard]] std::string Reply(std::string_view bytes);

 private:
  bool inAuth_ = false;
};

// The same for a session, or a report about one, that a component has recorded as lines. A label in front of a command
// ("SmtpCmdSent: ") stays.
[[nodiscard]] Text MaskSession(TextView session);

class SmtpSession {
 public:
  struct Refusal {
    Text address;
    Text reply;
  };
  // A command and the reply that closed it.
  struct Exchange {
    std::string command;  // as it may be shown; empty for the server's greeting
    int code = 0;         // 0 for a reply without a number
    std::string reply;
  };

  // A connection begins; `tls` from its first byte on.
  void Begin(bool tls);
  // Lines as they go over the wire, with their line ends.
  void Command(std::string_view bytes);
  void Reply(std::string_view bytes);
  // A remark about the connection.
  void Info(std::string_view text);

  // All of it, at most some 64 KB; control characters are visible.
  [[nodiscard]] Text Transcript() const;
  // Of the last command but QUIT, empty before the first; the verb alone, such as "RCPT".
  [[nodiscard]] const std::string& LastVerb() const { return lastVerb_; }
  // QUIT was the last command.
  [[nodiscard]] bool IsLeaving() const { return leaving_; }
  [[nodiscard]] Text LastReply() const;
  // The last reply told of an error (4xx, 5xx).
  [[nodiscard]] bool LastReplyIsError() const { return lastReplyCode_ >= 400; }
  [[nodiscard]] const std::vector<Refusal>& RefusedRecipients() const { return refused_; }
  // Of this connection, those of the login without their secrets; at most some hundred.
  [[nodiscard]] const std::vector<Exchange>& Exchanges() const { return exchanges_; }
  // Everything from now on goes over the connection encrypted.
  [[nodiscard]] bool IsTls() const { return tls_; }
  // The password itself, not a proof of it, went over a connection without TLS.
  [[nodiscard]] bool PasswordInClear() const { return passwordInClear_; }

 private:
  void Add(std::string_view mark, std::string_view line);
  void NoteAuth(std::string_view line);
  void NoteFinalReply(int code, std::string_view line);

  std::string transcript_;
  bool cut_ = false;
  AuthMask mask_;
  std::string lastVerb_;
  bool leaving_ = false;  // QUIT was the last command
  std::string lastReply_;
  int lastReplyCode_ = 0;
  std::string recipient_;  // of the RCPT command that waits for its reply
  std::string lastCommand_;
  std::vector<Exchange> exchanges_;
  std::vector<Refusal> refused_;
  bool tls_ = false;
  int linesToPassword_ = 0;  // AUTH lines after which the password has been sent; 0 when none will
  bool passwordInClear_ = false;
};

}  // namespace ovs

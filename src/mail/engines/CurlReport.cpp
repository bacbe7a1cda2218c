// The account of a transfer for a technician: why it failed, and how far it came.
#include <curl/curl.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "mail/engines/CurlTransfer.h"

namespace ovs {

namespace {

Text Server(const CurlJob& job) { return job.server.host + u":" + NumberText(job.server.port); }

Text StepOfFailure(const SmtpSession& session) {
  return session.LastVerb().empty() ? Text(u"before the first command") : u"at " + FromUtf8(session.LastVerb());
}

// Windows names its findings by the names that its header files give them.
Text CertificateReason(const Text& words) {
  const bool isTooOld = words.find(u"TIME_VALID") != Text::npos;
  return u"The mail server's certificate is not trusted: " + words + (isTooOld ? u" (expired, or not yet valid)" : u"") +
         u"; for a private certification authority set Email.SMTP.CAFile";
}

Text LoginReason(const CurlResult& result, const SmtpSession& session) {
  if (IsLoginNotOffered(result, session))
    return u"The mail server offers no login method that is wanted; check the login method";
  return u"The mail server refused the login: " + session.LastReply() + u"; check user name, password and login method";
}

Text RefusedReason(const CurlJob& job, const SmtpSession& session) {
  return u"The mail server " + Server(job) + u" refused the mail " + StepOfFailure(session) + u": " + session.LastReply();
}

// --- steps

constexpr int kFirstErrorCode = 400;
constexpr std::string_view kSender = "MAIL FROM:";
constexpr std::string_view kRecipient = "RCPT TO:";
constexpr std::string_view kAuth = "AUTH ";

// Collects steps until one fails; that one tells the reason and ends the list.
class Steps {
 public:
  explicit Steps(TextView failReason) : failReason_(failReason) {}

  // False when the list has ended.
  bool Add(TextView name, bool done, Text detail) {
    if (ended_) return false;
    steps_.push_back({name, done, done ? std::move(detail) : Text(failReason_)});
    ended_ = !done;
    return done;
  }
  // A recipient that is refused stops no other.
  void AddRecipient(bool done, Text detail) {
    if (!ended_) steps_.push_back({u"recipient", done, std::move(detail)});
  }
  [[nodiscard]] std::vector<MailStep> Take() { return std::move(steps_); }

 private:
  TextView failReason_;
  bool ended_ = false;
  std::vector<MailStep> steps_;
};

using Exchange = SmtpSession::Exchange;

const Exchange* Find(const SmtpSession& session, std::string_view command) {
  const auto& all = session.Exchanges();
  const auto found = std::ranges::find_if(all, [&](const Exchange& each) { return each.command.starts_with(command); });
  return found == all.end() ? nullptr : &*found;
}

bool IsOneOf(int code, std::initializer_list<int> codes) { return std::ranges::find(codes, code) != codes.end(); }

Text Joined(const Exchange& exchange, std::size_t prefix) {
  return FromUtf8(exchange.command.substr(std::min(prefix, exchange.command.size())) + " (" + exchange.reply + ")");
}

bool AddTls(Steps& steps, const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  const bool refused = IsOneOf(result.code, {CURLE_USE_SSL_FAILED, CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CACERT_BADFILE});
  if (refused) return steps.Add(u"TLS", false, {});
  if (result.code == CURLE_PEER_FAILED_VERIFICATION) return steps.Add(u"certificate", false, {});
  if (!session.IsTls()) return steps.Add(u"TLS", true, u"none: the connection is not encrypted");
  const TlsFacts& facts = result.facts.tls;
  const bool ended = PlanConnection(job.server).implicitTls && session.Exchanges().empty() && result.code != CURLE_OK;
  if (!steps.Add(u"TLS", !ended, facts.version.empty() ? Text(u"agreed") : FromUtf8(facts.version))) return false;
  if (facts.subject.empty()) return true;
  return steps.Add(u"certificate", true,
                   FromUtf8(facts.subject + ", issued by " + facts.issuer + ", valid to " + facts.validTo + " UTC") +
                       (result.facts.verified ? u" (verified)" : u" (not verified)"));
}

bool AddLogin(Steps& steps, const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  if (result.code == CURLE_LOGIN_DENIED) return steps.Add(u"login", false, {});
  const Exchange* const login = Find(session, kAuth);
  const Text name = LoginName(job.server);
  if (name.empty()) return steps.Add(u"login", true, u"none");
  if (login == nullptr || Find(session, kSender) == nullptr) return true;
  const std::string_view words = std::string_view(login->command).substr(kAuth.size());
  return steps.Add(u"login", true, name + u", " + FromUtf8(words.substr(0, words.find(' '))));
}

void AddEnvelope(Steps& steps, const CurlResult& result, const SmtpSession& session) {
  const Exchange* const sender = Find(session, kSender);
  if (sender == nullptr) return;
  if (!steps.Add(u"sender", sender->code < kFirstErrorCode, Joined(*sender, kSender.size()))) return;
  for (const Exchange& each : session.Exchanges()) {
    if (each.command.starts_with(kRecipient)) {
      steps.AddRecipient(each.code < kFirstErrorCode, Joined(each, kRecipient.size()));
    }
  }
  const bool taken = result.code == CURLE_OK;
  if (taken || Find(session, "DATA") != nullptr) steps.Add(u"mail", taken, session.LastReply());
}

}  // namespace

Text FailReason(const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  const Text words = FromUtf8(result.error);
  switch (result.code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return u"The mail server's name is not known: " + job.server.host;
    case CURLE_COULDNT_CONNECT:
      return u"No connection to the mail server " + Server(job) + u": " + words;
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_ABORTED_BY_CALLBACK:  // by our own limit
      return u"The mail server " + Server(job) + u" did not answer in time, " + StepOfFailure(session);
    case CURLE_LOGIN_DENIED:
      return LoginReason(result, session);
    case CURLE_USE_SSL_FAILED:
      return u"The mail server " + Server(job) + u" offers no STARTTLS, which the SSL type requires; nothing was sent";
    case CURLE_PEER_FAILED_VERIFICATION:
      return CertificateReason(words);
    case CURLE_SSL_CACERT_BADFILE:
      return u"Email.SMTP.CAFile holds no usable certificate: " + words;
    case CURLE_SSL_CONNECT_ERROR:
      return u"TLS could not be agreed with the mail server: " + words + u"; does the SSL type suit the port?";
    case CURLE_READ_ERROR:
      return u"A file of the mail could not be read to its end";
    default:
      break;
  }
  if (session.LastReplyIsError()) return RefusedReason(job, session);
  return u"The connection to the mail server " + Server(job) + u" failed " + StepOfFailure(session) + u": " + words;
}

bool IsLoginNotOffered(const CurlResult& result, const SmtpSession& session) {
  return result.code == CURLE_LOGIN_DENIED && !session.LastReplyIsError();
}

Text FailDetails(const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  static constexpr TextView kStartTls[] = {u"no TLS", u"STARTTLS when offered", u"STARTTLS required"};
  const SmtpPlan plan = PlanConnection(job.server);
  const TextView security =
      plan.implicitTls ? TextView(u"implicit TLS") : kStartTls[static_cast<std::size_t>(plan.startTls)];
  const TextView method = ckSmtpAuthMethodStr(job.server.authMethod);
  const TextView login = LoginName(job.server).empty() ? u"none" : method.empty() ? u"automatic" : method;
  return u"Engine: built-in, " + FromUtf8(curl_version()) + u"\r\nServer: " + Server(job) + u", " + Text(security) +
         u"\r\nLogin: " + Text(login) + u"\r\nError " + NumberText(result.code) + u": " + FromUtf8(result.error) +
         u"\r\nLast command: " + FromUtf8(session.LastVerb()) + u"\r\nLast reply: " + session.LastReply();
}

std::vector<MailStep> StepsOf(const CurlJob& job, const CurlResult& result, const SmtpSession& session,
                              TextView failReason) {
  Steps steps(failReason);
  const bool greeted = !session.Exchanges().empty();
  const bool connected = greeted || !result.facts.address.empty();
  const Text& server = job.server.host;
  if (!steps.Add(u"name", result.code != CURLE_COULDNT_RESOLVE_HOST, server)) return steps.Take();
  const bool refused = result.code == CURLE_COULDNT_CONNECT || (!connected && result.code == CURLE_OPERATION_TIMEDOUT);
  const Text address = result.facts.address.empty() ? server : FromUtf8(result.facts.address);
  if (!steps.Add(u"connection", !refused, address + u", port " + NumberText(job.server.port))) return steps.Take();
  const bool implicitTls = PlanConnection(job.server).implicitTls;
  const auto greet = [&] {
    if (greeted) steps.Add(u"greeting", true, FromUtf8(session.Exchanges().front().reply));
  };
  if (!implicitTls) greet();
  if (!greeted && !implicitTls) {
    steps.Add(u"greeting", false, {});
    return steps.Take();
  }
  AddTls(steps, job, result, session);
  if (implicitTls) greet();
  AddLogin(steps, job, result, session);
  AddEnvelope(steps, result, session);
  std::vector<MailStep> all = steps.Take();
  // What fails between two steps is told as the mail's own failure.
  const bool told = std::ranges::any_of(all, [](const MailStep& step) { return !step.done; });
  if (result.code != CURLE_OK && !told) all.push_back({u"mail", false, Text(failReason)});
  return all;
}

}  // namespace ovs

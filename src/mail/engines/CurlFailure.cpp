#include "mail/engines/CurlFailure.h"

#include <curl/curl.h>

#include "base/Encoding.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

Text Server(const CurlJob& job) { return FromUtf8(job.host) + u":" + NumberText(job.port); }

Text Step(const SmtpSession& session) {
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
  return u"The mail server " + Server(job) + u" refused the mail " + Step(session) + u": " + session.LastReply();
}

}  // namespace

Text FailReason(const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  const Text words = FromUtf8(result.error);
  switch (result.code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return u"The mail server's name is not known: " + FromUtf8(job.host);
    case CURLE_COULDNT_CONNECT:
      return u"No connection to the mail server " + Server(job) + u": " + words;
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_ABORTED_BY_CALLBACK:  // by our own limit
      return u"The mail server " + Server(job) + u" did not answer in time, " + Step(session);
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
  return u"The connection to the mail server " + Server(job) + u" failed " + Step(session) + u": " + words;
}

bool IsLoginNotOffered(const CurlResult& result, const SmtpSession& session) {
  return result.code == CURLE_LOGIN_DENIED && !session.LastReplyIsError();
}

Text FailDetails(const CurlJob& job, const CurlResult& result, const SmtpSession& session) {
  static constexpr TextView kStartTls[] = {u"no TLS", u"STARTTLS when offered", u"STARTTLS required"};
  const TextView security =
      job.plan.implicitTls ? TextView(u"implicit TLS") : kStartTls[static_cast<std::size_t>(job.plan.startTls)];
  return u"Engine: built-in, " + FromUtf8(curl_version()) + u"\r\nServer: " + Server(job) + u", " + Text(security) +
         u"\r\nLogin: " +
         (job.username.empty()     ? u"none"
          : job.authMethod.empty() ? u"automatic"
                                   : FromUtf8(job.authMethod)) +
         u"\r\nError " + NumberText(result.code) + u": " + FromUtf8(result.error) + u"\r\nLast command: " +
         FromUtf8(session.LastVerb()) + u"\r\nLast reply: " + session.LastReply();
}

}  // namespace ovs

#include "mail/engines/CurlTransfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <new>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "base/Wipe.h"
#include "mail/engines/CurlMime.h"

namespace ovs {

namespace {

struct EasyFree {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
using Easy = std::unique_ptr<CURL, EasyFree>;

template <class Value>
void Set(CURL* easy, CURLoption option, Value value) {
  const CURLcode code = curl_easy_setopt(easy, option, value);
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code == CURLE_OK) return;
  throw RuntimeError(RuntimeErrorNumber::kInternal,
                     u"libcurl refused option " + NumberText(option) + u": " + FromUtf8(curl_easy_strerror(code)));
}

// The receiver of everything that libcurl tells about a transfer.
struct Listener {
  CURL* easy;
  const CurlJob& job;
  SmtpSession& session;
  ConnectionFacts facts = {};
  bool judged = false;         // the connection is encrypted, and the server's certificate was looked at
  std::string objection = {};  // to the certificate
};

// The TLS library's object of the connection; null while that is not encrypted.
void* TlsOf(CURL* easy) {
  curl_tlssessioninfo* tls = nullptr;
  const bool known = curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &tls) == CURLE_OK && tls != nullptr;
  return known ? tls->internals : nullptr;
}

// As a certificate has it: without the brackets of an address, and without the dot behind a whole name.
std::string BareHost(const SmtpServer& server) {
  std::string host = ToUtf8(server.host);
  if (host.starts_with('[') && host.ends_with(']')) return host.substr(1, host.size() - 2);
  if (host.ends_with('.')) host.pop_back();
  return host;
}

// libcurl has the TLS library verify the server in the handshake, or does so itself against authorities that it was given.
// Whether the library did, as not every one does, is seen here.
void Judge(Listener& listener) {
  void* const tls = listener.judged ? nullptr : TlsOf(listener.easy);
  if (tls == nullptr) return;
  listener.facts.tls = TlsFactsOf(tls);
  const SmtpServer& server = listener.job.server;
  const bool byLibrary = !server.allowUntrusted && listener.job.certificateAuthorities.empty();
  if (byLibrary) listener.objection = CertificateObjection(tls, BareHost(server));
  listener.facts.verified = !server.allowUntrusted && listener.objection.empty();
  listener.judged = true;
}

// Every line of the server comes by before libcurl acts on it, and the one before a login is long under TLS. A result of 0
// ends the transfer.
std::size_t OnLine(char* /*data*/, std::size_t size, std::size_t count, void* user) noexcept {
  auto& listener = *static_cast<Listener*>(user);
  try {
    Judge(listener);
    return listener.objection.empty() ? size * count : 0;
  } catch (...) {  // what could not be looked at is not trusted
    return 0;
  }
}

int OnDebug(CURL* /*easy*/, curl_infotype kind, char* data, std::size_t size, void* user) noexcept {
  auto& listener = *static_cast<Listener*>(user);
  try {
    if (kind == CURLINFO_HEADER_OUT) listener.session.Command({data, size});
    if (kind == CURLINFO_HEADER_IN) listener.session.Reply({data, size});
    if (kind == CURLINFO_TEXT) listener.session.Info({data, size});
  } catch (...) {  // no memory for a line of the transcript is no reason not to send
    return 0;
  }
  return 0;
}

// libcurl's own limit does not hold while it waits for the answer to QUIT: there this one ends it, earlier when the mail
// has long been taken.
class Deadline {
 public:
  Deadline(os::Clock& clock, const SmtpSession& session, std::int64_t milliseconds)
      : clock_(clock), session_(session), end_(clock.Milliseconds() + static_cast<std::uint64_t>(milliseconds)) {}

  static int OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
    auto& deadline = *static_cast<Deadline*>(self);
    deadline.passed_ = deadline.passed_ || deadline.HasPassed();
    return deadline.passed_ ? 1 : 0;
  }
  [[nodiscard]] bool Passed() const { return passed_; }

 private:
  bool HasPassed() {
    constexpr std::uint64_t kPatienceWithQuit = 3000;
    const std::uint64_t now = clock_.Milliseconds();
    if (session_.IsLeaving() && !quits_) {
      quits_ = true;
      end_ = std::min(end_, now + kPatienceWithQuit);
    }
    return now >= end_;
  }

  os::Clock& clock_;
  const SmtpSession& session_;
  std::uint64_t end_;
  bool quits_ = false;
  bool passed_ = false;
};

// libcurl keeps the highest allowed version in the upper half of the number.
constexpr long Only(long version) { return version | (version << 16); }

// A version that is too old for the system is used when it is named, not when any from TLS 1.0 on would do.
long TlsVersions(std::int32_t sslProtocol) {
  static constexpr std::array<long, 6> kNamed = {CURL_SSLVERSION_TLSv1_1,       CURL_SSLVERSION_TLSv1_2,
                                                 Only(CURL_SSLVERSION_TLSv1_2), Only(CURL_SSLVERSION_TLSv1_1),
                                                 Only(CURL_SSLVERSION_TLSv1_0), CURL_SSLVERSION_SSLv3};
  const bool isNamed = sslProtocol >= 1 && static_cast<std::size_t>(sslProtocol) <= kNamed.size();
  return isNamed ? kNamed.at(static_cast<std::size_t>(sslProtocol) - 1) : CURL_SSLVERSION_TLSv1_0 + LowestTlsVersion();
}

void SetConnection(CURL* easy, const CurlJob& job, const SmtpPlan& plan) {
  std::string host = ToUtf8(job.server.host);
  const bool bare = host.find(':') != std::string::npos && !host.starts_with('[');
  if (bare) host = "[" + host + "]";
  const std::string url = std::string(plan.implicitTls ? "smtps" : "smtp") + "://" + host + ":" +
                          std::to_string(job.server.port) + "/" + job.ehloName;
  Set(easy, CURLOPT_URL, url.c_str());
  Set(easy, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  Set(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::int64_t{job.server.connectSeconds} * 1000));
  Set(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(job.milliseconds));
  Set(easy, CURLOPT_NOSIGNAL, 1L);
  // A resolver that hangs is left to itself instead of being waited for.
  Set(easy, CURLOPT_QUICK_EXIT, 1L);
  // Mail goes to the server that the settings name, whatever the environment says; a build without proxies has no option.
  static_cast<void>(curl_easy_setopt(easy, CURLOPT_PROXY, ""));
}

void SetTls(CURL* easy, const CurlJob& job, const SmtpPlan& plan) {
  static constexpr std::array<long, 3> kLevels = {CURLUSESSL_NONE, CURLUSESSL_TRY, CURLUSESSL_ALL};
  Set(easy, CURLOPT_USE_SSL, kLevels.at(static_cast<std::size_t>(plan.startTls)));
  Set(easy, CURLOPT_SSLVERSION, TlsVersions(job.server.sslProtocol));
  // Private authorities often publish no list of what they revoked.
  Set(easy, CURLOPT_SSL_OPTIONS, long{CURLSSLOPT_REVOKE_BEST_EFFORT});
  Set(easy, CURLOPT_SSL_VERIFYPEER, job.server.allowUntrusted ? 0L : 1L);
  Set(easy, CURLOPT_SSL_VERIFYHOST, job.server.allowUntrusted ? 0L : 2L);
  if (job.certificateAuthorities.empty()) return;
  std::string pem = job.certificateAuthorities;  // libcurl copies it, but wants it writable
  curl_blob blob{pem.data(), pem.size(), CURL_BLOB_COPY};
  Set(easy, CURLOPT_CAINFO_BLOB, &blob);
}

void SetLogin(CURL* easy, const SmtpServer& server) {
  const std::string name = ToUtf8(LoginName(server));
  if (name.empty()) return;
  std::string password = ToUtf8(server.password);
  const WipeAtEnd wiped(password);
  const std::string method = ToUtf8(ckSmtpAuthMethodStr(server.authMethod));
  Set(easy, CURLOPT_USERNAME, name.c_str());
  Set(easy, CURLOPT_PASSWORD, password.c_str());
  Set(easy, CURLOPT_LOGIN_OPTIONS, ("AUTH=" + (method.empty() ? std::string("*") : method)).c_str());
}

void SetDeadline(CURL* easy, Deadline& deadline) {
  Set(easy, CURLOPT_NOPROGRESS, 0L);
  Set(easy, CURLOPT_XFERINFOFUNCTION, &Deadline::OnProgress);
  Set(easy, CURLOPT_XFERINFODATA, &deadline);
  // Otherwise the connection would be closed later, by a handle of libcurl's own that knows no limit.
  Set(easy, CURLOPT_FORBID_REUSE, 1L);
}

void TakeAddress(CURL* easy, ConnectionFacts& facts) {
  const char* address = nullptr;
  if (curl_easy_getinfo(easy, CURLINFO_PRIMARY_IP, &address) == CURLE_OK && address != nullptr) facts.address = address;
}

void SetSession(CURL* easy, Listener& listener, char* error) {
  Set(easy, CURLOPT_ERRORBUFFER, error);
  Set(easy, CURLOPT_VERBOSE, 1L);
  Set(easy, CURLOPT_DEBUGFUNCTION, &OnDebug);
  Set(easy, CURLOPT_DEBUGDATA, &listener);
  Set(easy, CURLOPT_HEADERFUNCTION, &OnLine);
  Set(easy, CURLOPT_HEADERDATA, &listener);
}

}  // namespace

void StartCurl() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
      throw RuntimeError(RuntimeErrorNumber::kComponent, u"libcurl cannot be started");
    }
  });
}

CurlResult PerformTransfer(os::Files& files, os::Clock& clock, const CurlJob& job, SmtpSession& session) {
  StartCurl();
  const Easy easy(curl_easy_init());
  if (!easy) throw std::bad_alloc();
  std::array<char, CURL_ERROR_SIZE> error{};
  const SmtpPlan plan = PlanConnection(job.server);
  session.Begin(plan.implicitTls);
  Listener listener{.easy = easy.get(), .job = job, .session = session};
  SetSession(easy.get(), listener, error.data());
  SetConnection(easy.get(), job, plan);
  SetTls(easy.get(), job, plan);
  SetLogin(easy.get(), job.server);
  Deadline deadline(clock, session, job.milliseconds);
  SetDeadline(easy.get(), deadline);

  const CurlList recipients = NewCurlList(job.recipients);
  const CurlList headers = NewCurlList(job.headers);
  const CurlMime mime = NewCurlMime(easy.get(), files, job);
  Set(easy.get(), CURLOPT_MAIL_FROM, job.sender.c_str());
  Set(easy.get(), CURLOPT_MAIL_RCPT, recipients.get());
  Set(easy.get(), CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);
  Set(easy.get(), CURLOPT_HTTPHEADER, headers.get());
  Set(easy.get(), CURLOPT_MIMEPOST, mime.get());

  const CURLcode code = curl_easy_perform(easy.get());
  TakeAddress(easy.get(), listener.facts);
  if (!listener.objection.empty()) {
    return {CURLE_PEER_FAILED_VERIFICATION, std::move(listener.objection), std::move(listener.facts)};
  }
  if (code == CURLE_OK) return {code, {}, std::move(listener.facts)};
  // The only other callback that breaks off is the one that reads attachments.
  const bool unread = code == CURLE_ABORTED_BY_CALLBACK && !deadline.Passed();
  return {unread ? CURLE_READ_ERROR : code, error.front() != '\0' ? error.data() : curl_easy_strerror(code),
          std::move(listener.facts)};
}

}  // namespace ovs

// A mail server that answers with anything, as the built-in engine meets it: a real transfer over a loopback socket. The
// engine must come back, and neither password nor login may be found in what is shown of the session.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <thread>

#include "Pieces.h"
#include "mail/engines/CurlTransfer.h"
#include "support/FakeClock.h"
#include "support/MemoryFiles.h"

namespace {

using namespace ovs;

constexpr int kPatience = 500;  // milliseconds that the engine may take
constexpr int kSilence = 10;    // milliseconds of silence after which the server hangs up: both would wait for ever

// Answers each line it gets with the next piece, and hangs up when none is left.
class Server {
 public:
  Server() : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 1) != 0) std::abort();
    if (getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) std::abort();
    port_ = ntohs(address.sin_port);
  }
  ~Server() { close(listener_); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  [[nodiscard]] int Port() const { return port_; }

  void Serve(fuzz::Pieces pieces) const {
    pollfd waiting{listener_, POLLIN, 0};
    if (poll(&waiting, 1, kPatience) != 1) return;
    const int connection = accept(listener_, nullptr, nullptr);
    bool more = Send(connection, pieces.Next());
    while (more && !pieces.IsAtEnd() && HasLine(connection)) more = Send(connection, pieces.Next());
    close(connection);
  }

 private:
  static bool Send(int connection, std::string_view bytes) {
    return send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }
  static bool HasLine(int connection) {
    char buffer[4096];
    for (;;) {
      pollfd waiting{connection, POLLIN, 0};
      if (poll(&waiting, 1, kSilence) != 1) return false;
      const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
      if (got <= 0) return false;
      if (std::string_view(buffer, static_cast<std::size_t>(got)).find('\n') != std::string_view::npos) return true;
    }
  }

  int listener_;
  int port_ = 0;
};

constexpr std::string_view kSecrets[] = {"geheimer99", "Z2VoZWltZXI5OQ", "bG9naW5uYW1l", "AGxvZ2lubmFtZQ"};

bool HasSecret(std::string_view text) {
  return std::ranges::any_of(kSecrets, [&](std::string_view secret) { return text.find(secret) != std::string_view::npos; });
}

void CheckNoSecret(const Text& shown) {
  if (HasSecret(ToUtf8(shown))) std::abort();
}

SmtpServer ServerFor(int port, std::uint8_t way) {
  SmtpServer server;
  server.host = u"127.0.0.1";
  server.port = port;
  server.autoFix = 0;
  server.sslType = (way & 1) != 0 ? kSslWhenOffered : kSslNone;
  server.username = (way & 2) != 0 ? u"loginname" : u"";
  server.password = u"geheimer99";
  constexpr std::int32_t kMethods[] = {kAuthAutomatic, kAuthLogin, kAuthPlain, kAuthCramMd5};
  server.authMethod = kMethods[(way >> 2) % 4];
  server.connectSeconds = 1;
  return server;
}

CurlJob JobFor(const SmtpServer& server) {
  CurlJob job{server};
  job.ehloName = "pc";
  job.milliseconds = kPatience;
  job.sender = "a@example.com";
  job.recipients = {"b@example.com", "c@example.com"};
  job.headers = {"Subject: x"};
  job.body = "text\r\n.\r\n";
  return job;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Server server;
  static fakes::MemoryFiles files;
  // A server that knows the secrets may say them.
  if (size == 0 || HasSecret({reinterpret_cast<const char*>(data), size})) return 0;
  StartCurl();
  std::thread serving([&] { server.Serve(fuzz::Pieces(data + 1, size - 1)); });
  const SmtpServer settings = ServerFor(server.Port(), data[0]);
  const CurlJob job = JobFor(settings);
  SmtpSession session;
  const CurlResult result = PerformTransfer(files, os::SystemClock(), job, session);
  serving.join();
  CheckNoSecret(session.Transcript());
  CheckNoSecret(session.LastReply());
  for (const MailStep& step : StepsOf(job, result, session, FromUtf8(result.error))) CheckNoSecret(step.detail);
  for (const SmtpSession::Refusal& refusal : session.RefusedRecipients()) CheckNoSecret(refusal.reply);
  return 0;
}

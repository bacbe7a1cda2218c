#include "MailSink.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string_view>

namespace ovs {

namespace {

bool Say(int connection, std::string_view text) {
  return send(connection, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

// Commands are answered line by line; of a mail's text only the end is looked for.
class Conversation {
 public:
  explicit Conversation(int connection) : connection_(connection) {}

  void Run() {
    std::array<char, std::size_t{256} * 1024> buffer;
    bool open = Say(connection_, "220 sink\r\n");
    while (open) {
      const ssize_t got = recv(connection_, buffer.data(), buffer.size(), 0);
      open = got > 0 && Take({buffer.data(), static_cast<std::size_t>(got)});
    }
  }

 private:
  bool Take(std::string_view bytes) {
    pending_ += bytes;
    if (inText_) return TakeText();
    for (std::size_t end = pending_.find('\n'); end != std::string::npos; end = pending_.find('\n')) {
      const std::string line = pending_.substr(0, end + 1);
      pending_.erase(0, end + 1);
      if (!Answer(line)) return false;
    }
    return true;
  }
  bool TakeText() {
    constexpr std::string_view kEnd = "\r\n.\r\n";
    inText_ = !pending_.ends_with(kEnd);
    pending_.erase(0, inText_ && pending_.size() > kEnd.size() ? pending_.size() - kEnd.size() : 0);
    if (inText_) return true;
    pending_.clear();
    return Say(connection_, "250 taken\r\n");
  }
  bool Answer(std::string_view line) {
    if (line.starts_with("EHLO")) return Say(connection_, "250-sink\r\n250 AUTH PLAIN\r\n");
    if (line.starts_with("AUTH PLAIN\r")) return Say(connection_, "334 \r\n");
    if (line.starts_with("QUIT")) return !Say(connection_, "221 bye\r\n");
    inText_ = line.starts_with("DATA");
    if (inText_) return Say(connection_, "354 go\r\n");
    const bool isCommand = line.starts_with("MAIL") || line.starts_with("RCPT");
    return Say(connection_, isCommand ? "250 ok\r\n" : "235 ok\r\n");
  }

  int connection_;
  std::string pending_;
  bool inText_ = false;
};

}  // namespace

MailSink::MailSink() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, any, size) != 0 || listen(listener_, 1) != 0 || getsockname(listener_, any, &size) != 0) {
    throw std::runtime_error("no port for the mail sink");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Serve(); });
}

MailSink::~MailSink() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void MailSink::Serve() const {
  for (int connection = accept(listener_, nullptr, nullptr); connection >= 0;
       connection = accept(listener_, nullptr, nullptr)) {
    Conversation(connection).Run();
    close(connection);
  }
}

}  // namespace ovs

// A mail server on a free loopback port that takes everything and keeps nothing. One connection after the other.
#pragma once

#include <cstdint>
#include <string>
#include <thread>

namespace ovs {

class MailSink {
 public:
  MailSink();
  ~MailSink();
  MailSink(const MailSink&) = delete;
  MailSink& operator=(const MailSink&) = delete;

  [[nodiscard]] std::int32_t Port() const { return port_; }

 private:
  void Serve() const;

  int listener_ = -1;
  std::int32_t port_ = 0;
  std::thread thread_;
};

}  // namespace ovs

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/Encoding.h"
#include "os/CommandLine.h"

namespace ovs::os {

namespace {

// A terminal without echo. Signal keys are off as well, or the program could end and leave the terminal so.
class EchoOff {
 public:
  EchoOff() : isTerminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!isTerminal_) return;
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  ~EchoOff() {
    if (isTerminal_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  termios before_{};
  bool isTerminal_;
};

bool NextByte(char& byte) {
  ssize_t count = 0;
  do {
    count = read(STDIN_FILENO, &byte, 1);
  } while (count < 0 && errno == EINTR);
  return count == 1;
}

}  // namespace

Error FullPathOfArgument(std::string_view argument, Text& out) {
  // The Files port takes "\" for a separator, so a native name that holds one cannot be carried.
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(std::filesystem::path(argument), error);
  if (error || argument.empty() || argument.find('\\') != std::string_view::npos) return SystemError::kInvalidName;
  out = u"Z:" + FromUtf8(full.lexically_normal().native());
  std::ranges::replace(out, u'/', u'\\');
  return kSuccess;
}

std::optional<Text> ReadSecretLine() {
  const EchoOff quiet;
  return SecretLineOf(NextByte);
}

}  // namespace ovs::os

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "ovsctl/os/Terminal.h"

namespace ovs::os {

namespace {

int NumberOf(Stream stream) { return stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO; }

}  // namespace

std::vector<std::string> ArgumentsOf(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

unsigned PrepareTerminal() { return 0; }
void RestoreTerminal(unsigned /*before*/) {}

std::string_view PrintedCrLf() { return "\r\n"; }

bool IsTerminal(Stream stream) { return isatty(NumberOf(stream)) == 1; }

bool UnderstandsEscapes(Stream stream) {
  const char* const kind = std::getenv("TERM");
  return IsTerminal(stream) && kind != nullptr && std::string_view(kind) != "dumb";
}

int Columns(Stream stream) {
  constexpr int kUsual = 80;
  winsize size{};
  return ioctl(NumberOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace ovs::os

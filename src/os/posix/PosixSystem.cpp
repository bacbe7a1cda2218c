#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "os/ExceptionFilter.h"
#include "os/System.h"
#include "os/posix/PosixErrors.h"
#include "os/posix/PosixPath.h"

namespace ovs::os {

namespace {

constexpr std::size_t kComputerNameLimit = 15;

// "NAME=value" of the environment; Windows does not mind the case of a variable's name.
const char* ValueIn(const char* entry, TextView name) {
  const std::string_view view(entry);
  const std::size_t equals = view.find('=');
  const bool same = equals != std::string_view::npos && EqualsFolded(FromUtf8(view.substr(0, equals)), name);
  return same ? entry + equals + 1 : nullptr;
}

// The address as text; empty when it is none to report.
Text AddressText(const ifaddrs& adapter, int family) {
  if (adapter.ifa_addr == nullptr || adapter.ifa_addr->sa_family != family) return {};
  if ((adapter.ifa_flags & IFF_UP) == 0 || (adapter.ifa_flags & IFF_LOOPBACK) != 0) return {};
  const void* address = family == AF_INET
                            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(adapter.ifa_addr)->sin_addr)
                            : &reinterpret_cast<const sockaddr_in6*>(adapter.ifa_addr)->sin6_addr;
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(family, address, text.data(), text.size()) == nullptr ? Text() : FromUtf8(text.data());
}

class PosixSystem : public System {
 public:
  std::optional<Text> MessageText(std::uint32_t number) override { return posix::MessageOf(number); }

  void DebugOutput(TextView text) noexcept override {
    const char* const wanted = getenv("OVS_DEBUG_OUTPUT");
    if (wanted == nullptr || std::string_view(wanted) != "stderr") return;
    try {
      const std::string line = ToUtf8(text) + "\n";
      static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
    } catch (const std::bad_alloc&) {
      return;  // there is no place left to report it to
    }
  }

  Text EnvironmentVariable(TextView name) override {
    if (const char* const exact = getenv(ToUtf8(name).c_str())) return FromUtf8(exact);
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      if (const char* const value = ValueIn(*entry, name)) return FromUtf8(value);
    }
    return {};
  }

  Text ProgramDataFolder() override { return EnvironmentVariable(u"ProgramData"); }
  Text ProgramPath() override {
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) return {};
    path.resize(static_cast<std::size_t>(length));
    return posix::WindowsPathOf(path).value_or(Text());
  }

  std::uint32_t ProcessId() override { return static_cast<std::uint32_t>(getpid()); }

  // As Windows forms it from a host name: the first label, 15 characters at most, in capitals.
  Text ComputerName() override {
    utsname names{};
    if (uname(&names) != 0) return {};
    const std::string_view host = names.nodename;
    return Fold(FromUtf8(host.substr(0, host.find('.')).substr(0, kComputerNameLimit)));
  }

  Text UserName() override {
    const passwd* const user = getpwuid(geteuid());
    return user == nullptr ? Text() : FromUtf8(user->pw_name);
  }

  Text OsVersion() override {
    utsname names{};
    if (uname(&names) != 0) return {};
    return FromUtf8(std::string(names.sysname) + " " + names.release + " " + names.machine);
  }

  std::vector<Text> LanAddresses() override {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return {};
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, freeifaddrs);
    std::vector<Text> out;
    for (const int family : {AF_INET, AF_INET6}) {
      for (const ifaddrs* adapter = list; adapter != nullptr; adapter = adapter->ifa_next) {
        Text address = AddressText(*adapter, family);
        if (!address.empty()) out.push_back(std::move(address));
      }
    }
    return out;
  }

  std::uint64_t MemoryInUse() override {
    std::ifstream file("/proc/self/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    if (!(file >> total >> resident)) return 0;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  }

  void Pause(std::uint32_t milliseconds) override { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }
};

// Nobody sits in front of a development machine's tests: no box can be shown.
class PosixPrompt final : public Prompt {
 public:
  int Show(TextView /*text*/, TextView /*caption*/, std::uint32_t /*flags*/) override { return 0; }
};

}  // namespace

System& ThisSystem() {
  static PosixSystem system;
  return system;
}

Prompt& SystemPrompt() {
  static PosixPrompt prompt;
  return prompt;
}

bool UseAnsiCodePage(std::uint32_t number) noexcept { return number == 0; }

// The loader has never looked into the current folder here.
void HardenProcess() noexcept {}

// Faults stay faults: the sanitizers and the debugger must see them where they happen.
bool InstallExceptionFilter(DescribeException) noexcept { return false; }

void RemoveExceptionFilter() noexcept {}

}  // namespace ovs::os

#include <windows.h>
#include <psapi.h>

#include <bit>
#include <new>
#include <string>

#include "base/Numbers.h"
#include "os/System.h"
#include "os/win32/Win32Network.h"
#include "os/win32/Win32Text.h"

namespace ovs::os {

namespace {

constexpr DWORD kMessageFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
static_assert(kMessageFlags == 4863);
constexpr DWORD kMessageUnits = 2048;
constexpr DWORD kNameUnits = 257;  // the longest user name and its NUL
constexpr std::size_t kLongestPath = 0x8000;

using VersionCall = LONG(WINAPI*)(OSVERSIONINFOW*);

// GetVersionEx tells programs what their manifests say they know; this one tells the truth.
VersionCall FindVersionCall() {
  const HMODULE library = GetModuleHandleW(L"ntdll.dll");
  return library == nullptr ? nullptr : std::bit_cast<VersionCall>(GetProcAddress(library, "RtlGetVersion"));
}

// Calls a function that fills a buffer with a name.
template <typename Call>
Text NameFrom(Call call) {
  wchar_t name[kNameUnits] = {};
  DWORD size = kNameUnits;
  return call(name, &size) ? FromWide(name) : Text();
}

class Win32System : public System {
 public:
  std::optional<Text> MessageText(std::uint32_t number) override {
    wchar_t text[kMessageUnits] = {};
    const DWORD length = FormatMessageW(kMessageFlags, nullptr, number, 0, text, kMessageUnits, nullptr);
    if (length == 0) return std::nullopt;
    return FromWide({text, length});
  }

  void DebugOutput(TextView text) noexcept override {
    try {
      OutputDebugStringW(ToWide(text).c_str());
    } catch (const std::bad_alloc&) {
      // There is no place left to report it to.
    }
  }

  Text EnvironmentVariable(TextView name) override {
    const std::wstring wide = ToWide(name);
    std::wstring value(MAX_PATH, L'\0');
    for (;;) {
      const DWORD length = GetEnvironmentVariableW(wide.c_str(), value.data(), static_cast<DWORD>(value.size()));
      const bool fits = length < value.size();
      value.resize(length);
      if (fits) return FromWide(value);
    }
  }

  Text ProgramPath() override {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
      const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
      if (length == 0) return {};
      if (length < path.size() || path.size() >= kLongestPath) return FromWide(path.substr(0, length));
      path.resize(path.size() * 2);
    }
  }

  std::uint32_t ProcessId() override { return GetCurrentProcessId(); }
  Text ComputerName() override { return NameFrom(GetComputerNameW); }
  Text UserName() override { return NameFrom(GetUserNameW); }

  Text OsVersion() override {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    const VersionCall call = FindVersionCall();
    if (call == nullptr || call(&version) != 0) return u"Windows";
    return u"Windows " + NumberText(version.dwMajorVersion) + u"." + NumberText(version.dwMinorVersion) + u"." +
           NumberText(version.dwBuildNumber);
  }

  std::vector<Text> LanAddresses() override { return win32::AdapterAddresses(); }

  std::uint64_t MemoryInUse() override {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
  }
};

}  // namespace

System& ThisSystem() {
  static Win32System system;
  return system;
}

}  // namespace ovs::os

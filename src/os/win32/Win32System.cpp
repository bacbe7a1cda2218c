#include <winsock2.h>
#include <windows.h>
#include <iphlpapi.h>
#include <psapi.h>
#include <shlobj.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "os/System.h"
#include "os/win32/Win32Support.h"

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

// --- The network adapters ---

constexpr ULONG kAdapterFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
constexpr ULONG kFirstSize = 16 * 1024;
constexpr int kAdapterTries = 4;  // adapters may come while their number is asked for

// The system's list, in memory aligned for its records; empty when it cannot be had.
std::vector<std::max_align_t> AdapterList() {
  ULONG size = kFirstSize;
  for (int i = 0; i < kAdapterTries; ++i) {
    std::vector<std::max_align_t> list(size / sizeof(std::max_align_t) + 1);
    auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(list.data());
    const ULONG result = GetAdaptersAddresses(AF_UNSPEC, kAdapterFlags, nullptr, first, &size);
    if (result == ERROR_SUCCESS) return list;
    if (result != ERROR_BUFFER_OVERFLOW) return {};
  }
  return {};
}

Text AddressText(const sockaddr* address, int family) {
  if (address == nullptr || address->sa_family != family) return {};
  const void* const bytes = family == AF_INET
                                ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
                                : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
  wchar_t text[INET6_ADDRSTRLEN] = {};
  return InetNtopW(family, bytes, text, INET6_ADDRSTRLEN) == nullptr ? Text() : FromWide(text);
}

void AddAddresses(const IP_ADAPTER_ADDRESSES& adapter, int family, std::vector<Text>& out) {
  if (adapter.OperStatus != IfOperStatusUp || adapter.IfType == IF_TYPE_SOFTWARE_LOOPBACK) return;
  for (const auto* each = adapter.FirstUnicastAddress; each != nullptr; each = each->Next) {
    Text text = AddressText(each->Address.lpSockaddr, family);
    if (!text.empty()) out.push_back(std::move(text));
  }
}

std::vector<Text> AdapterAddresses() {
  const auto list = AdapterList();
  std::vector<Text> out;
  if (list.empty()) return out;
  for (const int family : {AF_INET, AF_INET6}) {
    const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(list.data());
    for (; adapter != nullptr; adapter = adapter->Next) AddAddresses(*adapter, family, out);
  }
  return out;
}

// --- The ports ---

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

  Text ProgramDataFolder() override {
    PWSTR path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, &path);
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> owner(path, &CoTaskMemFree);
    return SUCCEEDED(result) ? FromWide(path) : Text();
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

  std::vector<Text> LanAddresses() override { return AdapterAddresses(); }

  std::uint64_t MemoryInUse() override {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
  }

  void Pause(std::uint32_t milliseconds) override { Sleep(milliseconds); }
};

// Session 0 is that of services, and a process without a user's screen has a window station of its own: a box there waits
// for ever.
bool HasScreen() {
  DWORD session = 0;
  if (ProcessIdToSessionId(GetCurrentProcessId(), &session) && session == 0) return false;
  USEROBJECTFLAGS station{};
  return !GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &station, sizeof station, nullptr) ||
         (station.dwFlags & WSF_VISIBLE) != 0;
}

class Win32Prompt : public Prompt {
 public:
  int Show(TextView text, TextView caption, std::uint32_t flags) override {
    if (!HasScreen()) {
      ThisSystem().DebugOutput(Text(caption) + u": " + Text(text));
      return 0;
    }
    bool lossless = true;
    const std::string body = ToWindows1252(text, lossless);
    const std::string title = ToWindows1252(caption, lossless);
    return std::max(MessageBoxA(nullptr, body.c_str(), title.c_str(), flags), 0);
  }
};

}  // namespace

System& ThisSystem() {
  static Win32System system;
  return system;
}

Prompt& SystemPrompt() {
  static Win32Prompt prompt;
  return prompt;
}

// Each of these makes something harder that should not happen anyway: one that the system refuses costs nothing else.
void HardenProcess() noexcept {
  HeapSetInformation(nullptr, HeapEnableTerminationOnCorruption, nullptr, 0);
  SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
  SetDllDirectoryW(L"");
  if (const auto setDirectories = win32::FindInSystem<BOOL WINAPI(DWORD)>("SetDefaultDllDirectories")) {
    setDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  }
  PROCESS_MITIGATION_IMAGE_LOAD_POLICY images{};
  images.NoRemoteImages = 1;
  images.NoLowMandatoryLabelImages = 1;
  images.PreferSystem32Images = 1;
  using SetPolicy = BOOL WINAPI(PROCESS_MITIGATION_POLICY, PVOID, SIZE_T);
  if (const auto setPolicy = win32::FindInSystem<SetPolicy>("SetProcessMitigationPolicy")) {
    setPolicy(ProcessImageLoadPolicy, &images, sizeof images);
  }
}

}  // namespace ovs::os

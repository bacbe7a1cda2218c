#include "os/win32/Win32Network.h"

#include <winsock2.h>
#include <windows.h>
#include <iphlpapi.h>
#include <ws2tcpip.h>

#include <cstddef>

#include "os/win32/Win32Text.h"

namespace ovs::win32 {

namespace {

constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
constexpr ULONG kFirstSize = 16 * 1024;
constexpr int kTries = 4;  // adapters may come while their number is asked for

// The system's list, in memory aligned for its records; empty when it cannot be had.
std::vector<std::max_align_t> AdapterList() {
  ULONG size = kFirstSize;
  for (int i = 0; i < kTries; ++i) {
    std::vector<std::max_align_t> list(size / sizeof(std::max_align_t) + 1);
    auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(list.data());
    const ULONG result = GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, first, &size);
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

}  // namespace

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

}  // namespace ovs::win32

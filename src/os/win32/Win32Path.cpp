#include "os/win32/Win32Path.h"

#include <windows.h>

#include "base/Fold.h"
#include "os/DeviceName.h"
#include "os/PendingError.h"
#include "os/win32/Win32Error.h"
#include "os/win32/Win32Text.h"

namespace ovs::win32 {

namespace {

constexpr std::wstring_view kExtended = L"\\\\?\\";
constexpr std::wstring_view kExtendedUnc = L"\\\\?\\UNC\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kNetwork = L"\\\\";

std::nullopt_t Refuse(std::uint32_t number) {
  Fail(number);
  return std::nullopt;
}

void AddPrefix(std::wstring& full) {
  if (full.starts_with(kDevice)) {
    full.replace(0, kDevice.size(), kExtended);
  } else if (full.starts_with(kNetwork)) {
    full.replace(0, kNetwork.size(), kExtendedUnc);
  } else {
    full.insert(0, kExtended);
  }
}

// Behind the prefix stand devices of all kinds; files are on a drive, a share or a volume. "C:" alone is the drive itself.
bool NamesFile(const std::wstring& extended) {
  const Text rest = FromWide(std::wstring_view(extended).substr(kExtended.size()));
  const auto startsWith = [&](TextView start) { return EqualsFolded(TextView(rest).substr(0, start.size()), start); };
  const bool onDrive = rest.size() > 2 && rest[1] == u':' && rest[2] == u'\\';
  if (!onDrive && !startsWith(u"UNC\\") && !startsWith(u"Volume{")) return false;
  return !IsDeviceName(TextView(rest).substr(rest.find_last_of(u"\\/:") + 1));
}

}  // namespace

std::optional<std::wstring> FullPath(TextView path) {
  const std::wstring given = ToWide(path);
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0) {
      FailLast();
      return std::nullopt;
    }
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) return full;
  }
}

std::optional<std::wstring> ExtendedPath(TextView path) {
  if (path.empty()) return Refuse(SystemErrorNumber::kPathNotFound);
  if (path.find(kNul) != TextView::npos) return Refuse(SystemErrorNumber::kInvalidName);
  std::optional<std::wstring> out;
  if (path.starts_with(u"\\\\?\\")) {
    out = ToWide(path);
  } else {
    out = FullPath(path);
    if (!out) return out;
    AddPrefix(*out);
  }
  return NamesFile(*out) ? out : Refuse(SystemErrorNumber::kAccessDenied);
}

std::wstring PlainPath(std::wstring path) {
  if (path.starts_with(kExtendedUnc)) return path.replace(0, kExtendedUnc.size(), kNetwork);
  if (path.starts_with(kExtended)) path.erase(0, kExtended.size());
  return path;
}

}  // namespace ovs::win32

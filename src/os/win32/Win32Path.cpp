#include "os/win32/Win32Path.h"

#include <windows.h>

#include "base/Fold.h"
#include "os/WindowsPath.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {

namespace {

constexpr std::wstring_view kExtended = L"\\\\?\\";
constexpr std::wstring_view kExtendedUnc = L"\\\\?\\UNC\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kNetwork = L"\\\\";

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

os::Error FullPath(TextView path, std::wstring& out) {
  const std::wstring given = ToWide(path);
  out.assign(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetFullPathNameW(given.c_str(), static_cast<DWORD>(out.size()), out.data(), nullptr);
    if (length == 0) return LastError();
    const bool fits = length < out.size();
    out.resize(length);
    if (fits) return os::kSuccess;
  }
}

os::Error ExtendedPath(TextView path, std::wstring& out) {
  if (path.empty()) return SystemError::kPathNotFound;
  if (path.find(kNul) != TextView::npos) return SystemError::kInvalidName;
  if (path.starts_with(u"\\\\?\\")) {
    out = ToWide(path);
  } else {
    if (const os::Error error = FullPath(path, out); error.Failed()) return error;
    AddPrefix(out);
  }
  return NamesFile(out) ? os::kSuccess : SystemError::kAccessDenied;
}

std::wstring PlainPath(std::wstring path) {
  if (path.starts_with(kExtendedUnc)) return path.replace(0, kExtendedUnc.size(), kNetwork);
  if (path.starts_with(kExtended)) path.erase(0, kExtended.size());
  return path;
}

}  // namespace ovs::win32

#include "os/WindowsPath.h"
#include "base/Fold.h"

#include <algorithm>

namespace ovs {

namespace {

constexpr TextView kExtended = u"\\\\?\\";
constexpr TextView kExtendedUnc = u"\\\\?\\UNC\\";
constexpr TextView kForbidden = u"<>\"|?*:/";

bool IsLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool HasDrive(TextView path) { return path.size() >= 2 && IsLetter(path[0]) && path[1] == u':'; }
Text DriveOf(TextView path) { return {path[0] >= u'a' ? static_cast<char16_t>(path[0] - 32) : path[0], u':'}; }

bool IsName(TextView name) {
  return !name.empty() &&
         std::ranges::none_of(name, [](char16_t c) { return c < u' ' || kForbidden.find(c) != TextView::npos; });
}

// Cuts the first name off `rest`, with the "\" behind it.
TextView TakeName(TextView& rest) {
  const std::size_t end = std::min(rest.find(u'\\'), rest.size());
  const TextView name = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return name;
}

// `rest` stands behind the "\\" of "\\server\share\...".
bool TakeShare(TextView& rest, WindowsPath& out) {
  const TextView server = TakeName(rest);
  const TextView share = TakeName(rest);
  if (!IsName(server) || !IsName(share)) return false;
  out.root = Text(u"\\\\").append(server).append(u"\\").append(share);
  return true;
}

void AddPlainName(TextView name, std::vector<Text>& names) {
  if (name == u"..") {
    if (!names.empty()) names.pop_back();
    return;
  }
  while (!name.empty() && (name.back() == u'.' || name.back() == u' ')) name.remove_suffix(1);
  if (!name.empty()) names.emplace_back(name);
}

// Takes the names apart; `out` has its root, and the folders that a relative path counts from.
os::Error Finish(TextView rest, bool plain, WindowsPath& out) {
  out.trailing = rest.empty() || rest.back() == u'\\';
  while (!rest.empty()) {
    const TextView name = TakeName(rest);
    if (plain) {
      AddPlainName(name, out.names);
    } else {
      out.names.emplace_back(name);
    }
  }
  return std::ranges::all_of(out.names, IsName) ? os::kSuccess : SystemError::kInvalidName;
}

os::Error SplitExtended(TextView path, WindowsPath& out) {
  if (path.starts_with(kExtendedUnc)) {
    path.remove_prefix(kExtendedUnc.size());
    return TakeShare(path, out) ? Finish(path, false, out) : SystemError::kInvalidName;
  }
  path.remove_prefix(kExtended.size());
  if (!HasDrive(path) || (path.size() > 2 && path[2] != u'\\')) return SystemError::kPathNotFound;
  out.root = DriveOf(path);
  path.remove_prefix(std::min<std::size_t>(path.size(), 3));
  return Finish(path, false, out);
}

// The folder that a path without a root of its own counts from; `rest` loses the parts that are used up.
os::Error TakeBase(TextView& rest, TextView currentFolder, WindowsPath& out) {
  if (!currentFolder.empty()) {
    if (const os::Error error = SplitWindowsPath(currentFolder, {}, out); error.Failed()) return error;
  }
  if (HasDrive(rest)) {
    const Text drive = DriveOf(rest);
    rest.remove_prefix(2);
    if (drive != out.root) out = {drive, {}, false};
  }
  if (rest.starts_with(u'\\')) out.names.clear();
  return out.root.empty() ? SystemError::kPathNotFound : os::kSuccess;
}

constexpr TextView kDeviceNames[] = {u"CON", u"PRN", u"AUX", u"NUL", u"CONIN$", u"CONOUT$"};
constexpr TextView kNumberedDevices[] = {u"COM", u"LPT"};
// Ports 1 to 3 answer to the raised digits too.
constexpr TextView kPortDigits = u"123456789\u00B9\u00B2\u00B3";
constexpr std::size_t kNumberedSize = 4;

}  // namespace

os::Error SplitWindowsPath(TextView path, TextView currentFolder, WindowsPath& out) {
  out = {};
  if (path.empty()) return SystemError::kPathNotFound;
  if (path.starts_with(kExtended)) return SplitExtended(path, out);
  Text plain(path);
  std::ranges::replace(plain, u'/', u'\\');
  TextView rest = plain;
  if (rest.starts_with(u"\\\\")) {
    rest.remove_prefix(2);
    return TakeShare(rest, out) ? Finish(rest, true, out) : SystemError::kInvalidName;
  }
  if (const os::Error error = TakeBase(rest, currentFolder, out); error.Failed()) return error;
  return Finish(rest, true, out);
}

Text JoinWindowsPath(const WindowsPath& path) {
  Text out = path.root;
  if (path.names.empty()) return out + u"\\";
  for (const Text& name : path.names) out.append(u"\\").append(name);
  return out;
}

bool IsDeviceName(TextView name) {
  const auto equals = [](TextView device, TextView given) { return EqualsFolded(device, given); };
  if (std::ranges::any_of(kDeviceNames, [&](TextView device) { return equals(device, name); })) return true;
  if (name.size() != kNumberedSize || kPortDigits.find(name.back()) == TextView::npos) return false;
  return std::ranges::any_of(kNumberedDevices, [&](TextView device) { return equals(device, name.substr(0, 3)); });
}

}  // namespace ovs

#include "os/WindowsPath.h"

#include <algorithm>

#include "os/PendingError.h"

namespace ovs {

namespace {

constexpr TextView kExtended = u"\\\\?\\";
constexpr TextView kExtendedUnc = u"\\\\?\\UNC\\";
constexpr TextView kForbidden = u"<>\"|?*:/";

bool IsLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool HasDrive(TextView path) { return path.size() >= 2 && IsLetter(path[0]) && path[1] == u':'; }
Text DriveOf(TextView path) { return {path[0] >= u'a' ? static_cast<char16_t>(path[0] - 32) : path[0], u':'}; }

std::nullopt_t Refuse(std::uint32_t number) {
  SetPendingSystemError(number);
  return std::nullopt;
}

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

std::optional<WindowsPath> Finish(TextView rest, WindowsPath path, bool plain) {
  path.trailing = rest.empty() || rest.back() == u'\\';
  while (!rest.empty()) {
    const TextView name = TakeName(rest);
    if (plain) {
      AddPlainName(name, path.names);
    } else {
      path.names.emplace_back(name);
    }
  }
  if (!std::ranges::all_of(path.names, IsName)) return Refuse(SystemErrorNumber::kInvalidName);
  return path;
}

std::optional<WindowsPath> SplitExtended(TextView path) {
  WindowsPath out;
  if (path.starts_with(kExtendedUnc)) {
    path.remove_prefix(kExtendedUnc.size());
    if (!TakeShare(path, out)) return Refuse(SystemErrorNumber::kInvalidName);
    return Finish(path, std::move(out), false);
  }
  path.remove_prefix(kExtended.size());
  if (!HasDrive(path) || (path.size() > 2 && path[2] != u'\\')) return Refuse(SystemErrorNumber::kPathNotFound);
  out.root = DriveOf(path);
  path.remove_prefix(std::min<std::size_t>(path.size(), 3));
  return Finish(path, std::move(out), false);
}

// The folder that a path without a root of its own counts from; `rest` loses the parts that are used up.
std::optional<WindowsPath> Base(TextView& rest, TextView currentFolder) {
  WindowsPath current;
  if (!currentFolder.empty()) {
    auto split = SplitWindowsPath(currentFolder, {});
    if (!split) return std::nullopt;
    current = std::move(*split);
  }
  if (HasDrive(rest)) {
    const Text drive = DriveOf(rest);
    rest.remove_prefix(2);
    if (drive != current.root) current = {drive, {}, false};
  }
  if (rest.starts_with(u'\\')) current.names.clear();
  if (current.root.empty()) return Refuse(SystemErrorNumber::kPathNotFound);
  return current;
}

}  // namespace

std::optional<WindowsPath> SplitWindowsPath(TextView path, TextView currentFolder) {
  if (path.empty()) return Refuse(SystemErrorNumber::kPathNotFound);
  if (path.starts_with(kExtended)) return SplitExtended(path);
  Text plain(path);
  std::ranges::replace(plain, u'/', u'\\');
  TextView rest = plain;
  if (rest.starts_with(u"\\\\")) {
    WindowsPath out;
    rest.remove_prefix(2);
    if (!TakeShare(rest, out)) return Refuse(SystemErrorNumber::kInvalidName);
    return Finish(rest, std::move(out), true);
  }
  auto base = Base(rest, currentFolder);
  if (!base) return std::nullopt;
  return Finish(rest, std::move(*base), true);
}

Text JoinWindowsPath(const WindowsPath& path) {
  Text out = path.root;
  if (path.names.empty()) return out + u"\\";
  for (const Text& name : path.names) out.append(u"\\").append(name);
  return out;
}

}  // namespace ovs

#include "os/posix/PosixPath.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "os/WindowsPath.h"
#include "os/posix/PosixErrors.h"

namespace ovs::posix {

namespace {

constexpr char16_t kEscapeFirst = 0xDC80;
constexpr char16_t kEscapeLast = 0xDCFF;

bool IsEscape(char16_t unit) { return unit >= kEscapeFirst && unit <= kEscapeLast; }

bool Exists(const std::string& path) {
  struct stat unused {};
  return lstat(path.c_str(), &unused) == 0;
}

// The name in `folder` that equals `name` but for case; the first one in byte order, so that the outcome is always the same.
std::optional<std::string> SimilarName(const std::string& folder, TextView name) {
  const std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(folder.c_str()), closedir);
  if (!dir) return std::nullopt;
  std::optional<std::string> best;
  while (const dirent* entry = readdir(dir.get())) {
    const auto text = TextOfNative(entry->d_name);
    if (text && EqualsFolded(*text, name) && (!best || *best > entry->d_name)) best = entry->d_name;
  }
  return best;
}

std::string ChildOf(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

Text CurrentFolder() {
  std::error_code error;
  const std::string folder = std::filesystem::current_path(error).string();
  const auto text = error ? std::nullopt : WindowsPathOf(folder);
  return text.value_or(u"Z:\\");
}

void FindNames(const std::vector<Text>& names, NativePath& out) {
  bool found = true;
  for (const Text& name : names) {
    const std::string asSpelled = NativeOfText(name);
    out.asked = ChildOf(out.path, asSpelled);
    std::string next = out.asked;
    if (found && !Exists(next)) {
      const auto similar = SimilarName(out.path, name);
      found = similar.has_value();
      if (similar) next = ChildOf(out.path, *similar);
    }
    out.path = std::move(next);
  }
}

}  // namespace

std::optional<Text> TextOfNative(std::string_view native) {
  if (native.find('\\') != std::string_view::npos) return std::nullopt;
  if (IsValidUtf8(native)) return FromUtf8(native);
  Text text;
  for (const char c : native) {
    const auto byte = static_cast<unsigned char>(c);
    text += static_cast<char16_t>(byte < 0x80 ? byte : 0xDC00 + byte);
  }
  return text;
}

std::string NativeOfText(TextView name) {
  std::string native;
  std::size_t start = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!IsEscape(name[i]) || (i > 0 && IsHighSurrogate(name[i - 1]))) continue;
    native += ToUtf8(name.substr(start, i - start));
    native += static_cast<char>(name[i] & 0xFF);
    start = i + 1;
  }
  return native + ToUtf8(name.substr(start));
}

std::optional<Text> WindowsPathOf(std::string_view nativePath) {
  auto text = TextOfNative(nativePath);
  if (!text) return std::nullopt;
  std::ranges::replace(*text, u'/', u'\\');
  return u"Z:" + *text;
}

os::Error FindNative(TextView path, NativePath& out) {
  // The current folder costs a system call; most paths are full ones.
  const bool full = path.starts_with(u"\\\\") || (path.size() > 2 && path[1] == u':' && path[2] == u'\\');
  WindowsPath split;
  if (const os::Error error = SplitWindowsPath(path, full ? Text() : CurrentFolder(), split); error.Failed()) return error;
  if (split.root != u"Z:") return SystemError::kPathNotFound;
  out = {"", "/", split.trailing};
  for (const Text& name : split.names) out.path.append("/").append(NativeOfText(name));
  if (out.path.empty()) out.path = "/";
  out.asked = out.path;
  if (Exists(out.path)) return os::kSuccess;
  out.path = "/";
  FindNames(split.names, out);
  return os::kSuccess;
}

std::string NativeFolderOf(const std::string& nativePath) {
  return nativePath.substr(0, std::max<std::size_t>(nativePath.rfind('/'), 1));
}

os::Error LookupError(int number, const std::string& nativePath) {
  if (number != ENOENT && number != ENOTDIR) return ErrorOf(number);
  struct stat folder {};
  const bool hasFolder = stat(NativeFolderOf(nativePath).c_str(), &folder) == 0 && S_ISDIR(folder.st_mode);
  return hasFolder ? SystemError::kFileNotFound : SystemError::kPathNotFound;
}

}  // namespace ovs::posix

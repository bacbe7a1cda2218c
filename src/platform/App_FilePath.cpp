#include "platform/App_FilePath.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "diag/Proc.h"

namespace ovs::App_FilePath {

namespace {

constexpr TextView kExtended = u"\\\\?\\";
constexpr TextView kExtendedUnc = u"\\\\?\\UNC\\";
constexpr TextView kNative = u"\\??\\";
constexpr TextView kDevice = u"\\\\.\\";
constexpr TextView kNetwork = u"\\\\";

bool IsDriveLetter(char16_t unit) { return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z'); }

TextView WithoutQuotes(TextView path) {
  const std::size_t first = path.find_first_not_of(u'"');
  if (first == TextView::npos) return {};
  return path.substr(first, path.find_last_not_of(u'"') - first + 1);
}

bool StartsFolded(TextView path, TextView prefix) {
  return path.size() >= prefix.size() && EqualsFolded(path.substr(0, prefix.size()), prefix);
}

void AddPrefix(Text& path) {
  if (StartsFolded(path, kExtendedUnc)) {
    path.replace(0, kExtendedUnc.size(), kExtendedUnc);
  } else if (path.starts_with(kExtended)) {
    return;
  } else if (path.starts_with(kNative) || path.starts_with(kDevice)) {
    path.replace(0, kNative.size(), kExtended);
  } else if (path.starts_with(kNetwork)) {
    path.erase(0, std::min(path.find_first_not_of(u'\\'), path.size()));
    path.insert(0, kExtendedUnc);
  } else {
    path.insert(0, kExtended);
  }
}

void MakeExtended(Text& path, bool addTrailingBackslash) {
  path = Text(WithoutQuotes(path));
  if (path.find(u'\\') == Text::npos) return;
  if (addTrailingBackslash && !path.ends_with(u'\\')) path += u'\\';
  AddPrefix(path);
}

// Where the part behind the extended-length or device prefix begins, and whether it is a network path.
struct Prefix {
  std::size_t length;
  bool network;
};

Prefix PrefixOf(TextView path) {
  if (StartsFolded(path, kExtendedUnc)) return {kExtendedUnc.size(), true};
  if (path.starts_with(kExtended) || path.starts_with(kNative) || path.starts_with(kDevice)) return {kNative.size(), false};
  if (path.starts_with(kNetwork)) return {kNetwork.size(), true};
  return {0, false};
}

bool HasToBeResolved(TextView path) {
  if (path.find(u'/') != TextView::npos) return true;
  if (path.ends_with(u'\\')) path.remove_suffix(1);
  return std::ranges::any_of(App_Strings::SplitViews(path, u"\\"),
                             [](TextView name) { return name.empty() || name == u"." || name == u".."; });
}

bool EndsInDotOrBlank(TextView name) {
  return name != u"." && name != u".." && (name.ends_with(u'.') || name.ends_with(u' '));
}

}  // namespace

Text& PrepPathForUnicodeAPI(Text& path, bool addTrailingBackslash) {
  Proc proc(u"App_FilePath", u"PrepPathForUnicodeAPI", ProcKind::Function);
  proc.ByRef(u"sPath", path);
  proc.ByVal(u"bAddTrailingBackslash", addTrailingBackslash);
  proc.Run([&] {
    MakeExtended(path, addTrailingBackslash);
    path += u'\0';
  });
  return path;
}

Text ExtendedPath(TextView path) {
  Text extended(path);
  MakeExtended(extended, false);
  return extended;
}

Text PortPath(TextView path) {
  Text extended = ExtendedPath(path);
  const Prefix prefix = PrefixOf(extended);
  const TextView rest = TextView(extended).substr(prefix.length);
  const bool isFull = prefix.network || (IsFullPath(rest) && !rest.starts_with(u'\\'));
  return isFull && !HasToBeResolved(rest) ? extended : Text(WithoutQuotes(path));
}

Text FixPathFromAPI(TextView path) {
  path = path.substr(0, path.find(u'\0'));
  if (StartsFolded(path, kExtendedUnc)) return Text(kNetwork).append(path.substr(kExtendedUnc.size()));
  for (const TextView prefix : {kExtended, kNative, kDevice}) {
    if (path.starts_with(prefix)) return Text(path.substr(prefix.size()));
  }
  return Text(path);
}

bool IsFullPath(TextView path) {
  if (path.starts_with(kNetwork) || path.starts_with(kNative)) return true;
  return path.size() >= 3 && IsDriveLetter(path[0]) && path[1] == u':' && path[2] == u'\\';
}

bool IsUNCPath(TextView path) { return PrefixOf(path).network; }

bool PathNeedsWideAPI(TextView path) {
  return App_Strings::UseWideAPI(path) || std::ranges::any_of(App_Strings::SplitViews(path, u"\\"), EndsInDotOrBlank);
}

Text PathToDriveLetter(TextView sPath, bool bAppendColonToDriveLetter, TextView sReturnThisDriveOnFailure) {
  Proc proc(u"App_FilePath", u"PathToDriveLetter", ProcKind::Function);
  proc.ByVal(u"sPath", sPath);
  proc.ByVal(u"bAppendColonToDriveLetter", bAppendColonToDriveLetter);
  proc.ByVal(u"sReturnThisDriveOnFailure", sReturnThisDriveOnFailure);
  return proc.Run(Text(), [&] {
    const TextView path = App_Strings::TrimBlanks(WithoutQuotes(sPath));
    if (path.empty() && !sPath.empty()) proc.Log(u"Passed non-empty string with no characters!");
    const Prefix prefix = PrefixOf(path);
    const TextView rest = path.substr(prefix.length);
    const bool isLetter = !prefix.network && !rest.empty() && IsDriveLetter(rest[0]);
    if (!isLetter || (rest.size() > 1 && rest[1] != u':')) return Text(sReturnThisDriveOnFailure);
    if (rest.size() == 1 && bAppendColonToDriveLetter) {
      proc.Log(u"Passed single letter; appending colon...", EventType::Verbose);
    } else if (path.size() == 2 && bAppendColonToDriveLetter) {
      proc.Log(u"Passed good 2 character drive string; No changes made!", EventType::Verbose);
    }
    return Text(rest.substr(0, 1)) + (bAppendColonToDriveLetter ? u":" : u"");
  });
}

Text LocalPathFromEnvVar(os::System& system, TextView sEnvVar) {
  Proc proc(u"App_FilePath", u"LocalPathFromEnvVar", ProcKind::Function);
  proc.ByVal(u"sEnvVar", sEnvVar);
  return proc.Run(Text(), [&] {
    TextView name = App_Strings::TrimBlanks(sEnvVar);
    if (name.size() > 2 && name.starts_with(u'%') && name.ends_with(u'%')) name = name.substr(1, name.size() - 2);
    const Text value = system.EnvironmentVariable(name);
    const TextView path = App_Strings::TrimBlanks(WithoutQuotes(App_Strings::TrimBlanks(value)));
    return IsFullPath(path) && !IsUNCPath(path) ? Text(path) : Text();
  });
}

Text FileNameOf(TextView path) {
  const std::size_t slash = path.rfind(u'\\');
  return Text(slash == TextView::npos ? path : path.substr(slash + 1));
}

Text FolderOf(TextView path) {
  const std::size_t slash = path.rfind(u'\\');
  return slash == TextView::npos ? Text() : Text(path.substr(0, slash + 1));
}

Text ParentOf(TextView path) { return Text(path.substr(0, path.rfind(u'\\'))); }

Text NameWithoutExtension(TextView path) {
  Text name = FileNameOf(path);
  name.resize(std::min(name.rfind(u'.'), name.size()));
  return name;
}

Text JoinPath(TextView folder, TextView name) {
  if (folder.empty()) return Text(name);
  Text path(folder);
  if (!path.ends_with(u'\\')) path += u'\\';
  name.remove_prefix(std::min(name.find_first_not_of(u'\\'), name.size()));
  return path.append(name);
}

std::size_t RootLength(TextView path) {
  if (!IsFullPath(path)) return 0;
  const Prefix prefix = PrefixOf(path);
  std::size_t end = path.find(u'\\', prefix.length);
  if (prefix.network && end != TextView::npos) end = path.find(u'\\', end + 1);
  return end == TextView::npos ? path.size() : end + 1;
}

}  // namespace ovs::App_FilePath

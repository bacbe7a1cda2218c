#include "platform/FS_DirList.h"

#include <algorithm>
#include <array>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"FS_DirList";
constexpr std::int32_t kAllAttributes = 167;
constexpr std::uint32_t kFilteredAttributes =
    os::FileAttribute::kReadOnly | os::FileAttribute::kHidden | os::FileAttribute::kSystem | os::FileAttribute::kArchive;
// No path is longer, so that even a folder that contains itself ends.
constexpr std::size_t kLongestPath = 32767;

bool ContainsAny(TextView name, const std::vector<Text>& texts) {
  return std::ranges::any_of(texts, [&](const Text& text) { return !text.empty() && ContainsFolded(name, text); });
}

// Goes back to the last "*" only, so a mask costs at most its length times the name's.
bool MatchesOne(TextView name, TextView mask) {
  std::size_t n = 0;
  std::size_t m = 0;
  std::size_t star = TextView::npos;
  std::size_t starName = 0;
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == u'*') {
      star = m++;
      starName = n;
    } else if (m < mask.size() && (mask[m] == u'?' || FoldUnit(mask[m]) == FoldUnit(name[n]))) {
      ++m;
      ++n;
    } else if (star != TextView::npos) {
      m = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == u'*') ++m;
  return m == mask.size();
}

}  // namespace

bool MatchesMask(TextView name, TextView masks) {
  for (std::size_t start = 0; start <= masks.size();) {
    const std::size_t end = std::min(masks.find(u';', start), masks.size());
    const TextView mask = App_Strings::TrimBlanks(masks.substr(start, end - start));
    if (!mask.empty() && (mask == u"*.*" || MatchesOne(name, mask))) return true;
    start = end + 1;
  }
  return false;
}

void FS_DirList::InitClassVars() {
  Proc proc(kModule, u"InitClassVars", ProcKind::Sub);
  proc.Run([&] {
    IncludeFiles = true;
    IncludeDirs = false;
    FileAttribs = kAllAttributes;
    RecursionLevel = -1;
    ReturnObjectType = DirListObject::ReportedPath;
    joinedMasks_.clear();
    followed_.clear();
    for (std::vector<Text>* list : {&searchPaths_, &masks_, &fileExclusions_, &dirExclusions_, &fileNames_, &filesFullPath_,
                                    &filesOnDisk_, &dirsOnDisk_}) {
      list->clear();
    }
  });
}

void FS_DirList::StartSearch() {
  Proc proc(kModule, u"StartSearch", ProcKind::Sub);
  proc.Run([&] {
    joinedMasks_.clear();
    for (const Text& mask : masks_) joinedMasks_ += mask + u";";
    for (const Text& path : searchPaths_) SearchDir(path);
  });
}

// The open folders stand on a stack of our own: no depth of folders can exhaust the thread's.
void FS_DirList::SearchDir(TextView sPath) {
  std::vector<OpenFolder> open;
  if (std::optional<OpenFolder> folder = List(sPath, RecursionLevel)) open.push_back(std::move(*folder));
  while (!open.empty()) {
    OpenFolder& folder = open.back();
    if (folder.next == folder.entries.size()) {
      ReportFolder(folder);
      open.pop_back();
      continue;
    }
    const os::DirEntry& entry = folder.entries[folder.next++];
    if (entry.info.IsDirectory()) {
      open.push_back(Enter(entry, open));
    } else if (IsWanted(entry)) {
      Report(filesOnDisk_, folder.pathBS + entry.name, entry.name);
    }
  }
}

// A folder that is not entered has no entries here, and is reported all the same.
FS_DirList::OpenFolder FS_DirList::Enter(const os::DirEntry& entry, const std::vector<OpenFolder>& open) {
  const OpenFolder& parent = open.back();
  const Text path = parent.pathBS + entry.name;
  const bool isLink = (entry.info.attributes & os::FileAttribute::kReparsePoint) != 0;
  const bool mayEnter = MayEnter(entry, parent) && (!isLink || MayFollow(path, open));
  std::optional<OpenFolder> folder;
  if (mayEnter) folder = List(path, parent.level < 0 ? parent.level : parent.level - 1);
  if (!folder) folder = OpenFolder{path + u"\\", {}};
  folder->name = entry.name;
  return std::move(*folder);
}

void FS_DirList::ReportFolder(OpenFolder& folder) {
  if (!IncludeDirs || folder.name.empty()) return;
  folder.pathBS.pop_back();
  Report(dirsOnDisk_, folder.pathBS, folder.name);
}

// The open folders, and those that the search path lies in.
std::vector<Text> FS_DirList::FoldersAbove(const std::vector<OpenFolder>& open) {
  std::vector<Text> folders;
  folders.reserve(open.size());
  for (const OpenFolder& folder : open) folders.push_back(folder.pathBS);
  Text path = open.front().pathBS;
  const std::size_t root = App_FilePath::RootLength(path);
  while (path.size() > root) {
    path.pop_back();
    path = App_FilePath::FolderOf(path);
    folders.push_back(path);
  }
  return folders;
}

// A folder that cannot be told from those it lies in is not entered: the way might never end.
bool FS_DirList::MayFollow(const Text& link, const std::vector<OpenFolder>& open) {
  Proc proc(kModule, u"MayFollow", ProcKind::Function);
  proc.ByVal(u"sLink", link);
  return proc.Run(false, [&] {
    os::FileStamp target;
    os::Error error = files_.FolderIdentity(App_FilePath::PortPath(link), target);
    bool isNew = std::ranges::find(followed_, target) == followed_.end();
    for (const Text& folder : FoldersAbove(open)) {
      os::FileStamp above;
      if (!isNew || error.Failed()) break;
      error = files_.FolderIdentity(App_FilePath::PortPath(folder), above);
      isNew = above != target;
    }
    if (error.Failed()) {
      proc.Fail(error).Log(u"The folder could not be read whole!", EventType::ApiError, u"sLink=" + link);
      return false;
    }
    if (isNew) followed_.push_back(target);
    return isNew;
  });
}

std::optional<FS_DirList::OpenFolder> FS_DirList::List(TextView sPath, std::int32_t lRecursionLevel) {
  Proc proc(kModule, u"SearchDir", ProcKind::Sub);
  proc.ByVal(u"sPath", sPath);
  proc.ByVal(u"lRecursionLevel", lRecursionLevel);
  std::optional<OpenFolder> folder;
  proc.Run([&] {
    OpenFolder listed{App_FilePath::JoinPath(sPath, {}), {}, 0, lRecursionLevel, {}};
    if (const os::Error error = files_.List(App_FilePath::PortPath(listed.pathBS), listed.entries); error.Failed()) {
      // The system calls a file's name with "\" behind it no name.
      const bool isNoFolder = error == SystemError::kNotADirectory || error == SystemError::kInvalidName;
      if (listed.entries.empty() && (error.IsNotFound() || isNoFolder)) {
        proc.Log(u"Path does not exist!", EventType::Normal, Text(u"sPath=").append(sPath));
        return;
      }
      proc.Fail(error).Log(u"The folder could not be read whole!", EventType::ApiError, u"sPathBS=" + listed.pathBS);
    }
    folder = std::move(listed);
  });
  return folder;
}

bool FS_DirList::MayEnter(const os::DirEntry& entry, const OpenFolder& parent) const {
  return parent.level != 0 && parent.pathBS.size() + entry.name.size() < kLongestPath &&
         !ContainsAny(entry.name, dirExclusions_);
}

bool FS_DirList::IsWanted(const os::DirEntry& file) const {
  if (!IncludeFiles) return false;
  const std::uint32_t missing = kFilteredAttributes & ~static_cast<std::uint32_t>(FileAttribs);
  if (FileAttribs != kAllAttributes && (file.info.attributes & missing) != 0) return false;
  return MatchesMask(file.name, joinedMasks_) && !ContainsAny(file.name, fileExclusions_);
}

void FS_DirList::Report(std::vector<Text>& onDisk, const Text& path, const Text& name) {
  onDisk.push_back(path);
  fileNames_.push_back(LowerCase(name));
  filesFullPath_.push_back(LowerCase(path));
}

Text FS_DirList::Chosen(std::size_t at) const {
  return ReturnObjectType == DirListObject::PathOnDisk ? filesOnDisk_[at] : LowerCase(filesOnDisk_[at]);
}

template <class KeyOf>
std::optional<std::size_t> FS_DirList::Greatest(Proc& proc, KeyOf keyOf) {
  if (filesOnDisk_.empty()) proc.Log(u"No Matching Files!");
  std::optional<std::size_t> best;
  decltype(keyOf(filesOnDisk_[0])) bestKey{};
  for (std::size_t at = 0; at < filesOnDisk_.size(); ++at) {
    auto key = keyOf(filesOnDisk_[at]);
    if (!key || (bestKey && *key <= *bestKey)) continue;
    best = at;
    bestKey = key;
  }
  return best;
}

Text FS_DirList::GetSingleFileResult() {
  Proc proc(kModule, u"GetSingleFileResult", ProcKind::Function);
  return proc.Run(Text(), [&] {
    if (!filesOnDisk_.empty()) return Chosen(0);
    proc.Log(u"No Matching Files!");
    return Text();
  });
}

Text FS_DirList::GetNewestFileByModifiedDate() {
  Proc proc(kModule, u"GetNewestFileByModifiedDate", ProcKind::Function);
  return proc.Run(Text(), [&] {
    const auto modified = [&](const Text& path) -> std::optional<os::FileTicks> {
      os::FileInfo info;
      const os::Error error = files_.Info(App_FilePath::PortPath(path), info);
      if (error.Ok()) return info.modified;
      proc.Fail(error).Log(u"Cannot determine file date!", EventType::Normal, u"sFile=" + path);
      return std::nullopt;
    };
    const std::optional<std::size_t> at = Greatest(proc, modified);
    return at ? Chosen(*at) : Text();
  });
}

Text FS_DirList::GetNewestFileByVersion() {
  Proc proc(kModule, u"GetNewestFileByVersion", ProcKind::Function);
  return proc.Run(Text(), [&] {
    // A file without a version is older than any with one.
    const auto version = [&](const Text& path) -> std::optional<std::array<std::uint16_t, 4>> {
      os::FileVersion found;
      files_.Version(App_FilePath::PortPath(path), found).Ignore();
      return std::to_array(found.part);
    };
    const std::optional<std::size_t> at = Greatest(proc, version);
    return at ? Chosen(*at) : Text();
  });
}

}  // namespace ovs

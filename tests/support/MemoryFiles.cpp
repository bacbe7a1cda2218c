#include "support/MemoryFiles.h"

#include <algorithm>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "os/PendingError.h"

namespace ovs::fakes {

using namespace SystemErrorNumber;
using namespace os::FileAttribute;

struct MemoryFiles::Node {
  Text name;
  std::uint64_t volume = 0;
  std::uint64_t index = 0;
  os::FileInfo info;
  os::FileTicks changed = 0;
  std::string bytes;
  std::optional<os::FileVersion> version;
  std::vector<NodePtr> entries;

  [[nodiscard]] os::FileInfo Info() const {
    os::FileInfo shown = info;
    shown.size = bytes.size();
    if (shown.attributes == 0) shown.attributes = kNormal;
    return shown;
  }
  [[nodiscard]] bool IsReadOnly() const { return (info.attributes & kReadOnly) != 0; }
};

namespace {

constexpr std::size_t kPlainPathLimit = 248;
constexpr std::uint32_t kNoResourceData = 1812;

using Node = MemoryFiles::Node;
using NodePtr = std::shared_ptr<Node>;

bool Fail(std::uint32_t number) {
  SetPendingSystemError(number);
  return false;
}

std::nullopt_t Refuse(std::uint32_t number) {
  SetPendingSystemError(number);
  return std::nullopt;
}

void Touch(Node& node, os::FileTicks now) { node.info.modified = node.changed = now; }

bool StampOf(const Node& node, os::FileStamp& out) {
  out = {node.volume, node.index, node.bytes.size(), node.info.modified, node.changed};
  return true;
}

class MemoryReadFile final : public os::ReadFile {
 public:
  explicit MemoryReadFile(NodePtr node) : node_(std::move(node)) {}
  bool Stamp(os::FileStamp& out) override { return StampOf(*node_, out); }
  bool ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    const std::string_view rest =
        std::string_view(node_->bytes).substr(std::min<std::uint64_t>(offset, node_->bytes.size()));
    got = std::min(rest.size(), buffer.size());
    std::copy_n(rest.begin(), got, buffer.begin());
    return true;
  }

 private:
  NodePtr node_;
};

class MemoryAppendFile final : public os::AppendFile {
 public:
  MemoryAppendFile(NodePtr node, std::shared_ptr<os::FileTicks> now) : node_(std::move(node)), now_(std::move(now)) {}
  bool Stamp(os::FileStamp& out) override { return StampOf(*node_, out); }
  bool Append(std::string_view bytes) override {
    if (bytes.empty()) return true;
    node_->bytes.append(bytes);
    Touch(*node_, *now_ += 10'000);
    return true;
  }

 private:
  NodePtr node_;
  std::shared_ptr<os::FileTicks> now_;
};

NodePtr EntryOf(const Node& folder, TextView name) {
  const auto at = std::ranges::find_if(folder.entries, [&](const NodePtr& each) { return EqualsFolded(each->name, name); });
  return at == folder.entries.end() ? nullptr : *at;
}

}  // namespace

MemoryFiles::NodePtr MemoryFiles::Root(const Text& name) {
  NodePtr& root = roots_[Fold(name)];
  if (!root) {
    root = std::make_shared<Node>();
    root->name = name;
    root->volume = roots_.size();
    root->index = ++lastIndex_;
    root->info.attributes = kDirectory;
  }
  return root;
}

std::optional<MemoryFiles::Place> MemoryFiles::Find(TextView path) {
  auto split = SplitWindowsPath(path, currentFolder_);
  if (!split) return std::nullopt;
  Place place;
  place.trailing = split->trailing;
  place.node = Root(split->root);
  for (Text& name : split->names) {
    if (!place.node || !place.node->info.IsDirectory()) return Refuse(kPathNotFound);
    place.folder = std::move(place.node);
    place.name = name;
    place.node = EntryOf(*place.folder, name);
    if (place.node) name = place.node->name;
  }
  place.onDisk = JoinWindowsPath(*split);
  return place;
}

std::optional<MemoryFiles::Place> MemoryFiles::FindExisting(TextView path) {
  auto place = Find(path);
  if (!place) return std::nullopt;
  if (!place->node) return Refuse(kFileNotFound);
  if (place->trailing && !place->node->info.IsDirectory()) return Refuse(kInvalidName);
  return place;
}

std::optional<MemoryFiles::Place> MemoryFiles::FindFolder(TextView path) {
  auto place = FindExisting(path);
  if (place && !place->node->info.IsDirectory()) return Refuse(kNotADirectory);
  return place;
}

MemoryFiles::NodePtr MemoryFiles::FileForWriting(TextView path) {
  const auto place = Find(path);
  if (!place) return nullptr;
  if (place->trailing) {
    Fail(kInvalidName);
    return nullptr;
  }
  if (!place->node) return Add(*place, kArchive);
  if (!place->node->info.IsDirectory() && !place->node->IsReadOnly()) return place->node;
  Fail(kAccessDenied);
  return nullptr;
}

MemoryFiles::NodePtr MemoryFiles::Add(const Place& place, std::uint32_t attributes) {
  auto node = std::make_shared<Node>();
  node->name = place.name;
  node->volume = place.folder->volume;
  node->index = ++lastIndex_;
  node->info.attributes = attributes;
  node->info.created = node->info.accessed = NextTime();
  Touch(*node, *now_);
  Touch(*place.folder, *now_);
  place.folder->entries.push_back(node);
  return node;
}

bool MemoryFiles::Remove(const Place& place) {
  std::erase(place.folder->entries, place.node);
  Touch(*place.folder, NextTime());
  return true;
}

bool MemoryFiles::Info(TextView path, os::FileInfo& out) {
  const auto place = FindExisting(path);
  if (place) out = place->node->Info();
  return place.has_value();
}

std::unique_ptr<os::ReadFile> MemoryFiles::OpenRead(TextView path) {
  const auto place = FindExisting(path);
  if (!place) return nullptr;
  if (!place->node->info.IsDirectory()) return std::make_unique<MemoryReadFile>(place->node);
  Fail(kAccessDenied);
  return nullptr;
}

std::unique_ptr<os::AppendFile> MemoryFiles::OpenAppend(TextView path) {
  const NodePtr node = FileForWriting(path);
  return node ? std::make_unique<MemoryAppendFile>(node, now_) : nullptr;
}

bool MemoryFiles::Write(TextView path, std::string_view bytes) {
  const NodePtr node = FileForWriting(path);
  if (!node) return false;
  node->bytes = bytes;
  node->info.attributes |= kArchive;
  Touch(*node, NextTime());
  return true;
}

bool MemoryFiles::Rename(TextView from, TextView to) {
  const auto source = FindExisting(from);
  if (!source) return false;
  const auto target = Find(to);
  if (!target) return false;
  if (!source->folder || !target->folder) return Fail(kAccessDenied);
  if (target->node && target->node != source->node) {
    const bool bothFiles = !source->node->info.IsDirectory() && !target->node->info.IsDirectory();
    if (!bothFiles || target->node->IsReadOnly()) return Fail(kAccessDenied);
    Remove(*target);
  }
  if (source->folder != target->folder) {
    Remove(*source);
    target->folder->entries.push_back(source->node);
  }
  source->node->name = target->name;
  source->node->changed = NextTime();
  Touch(*target->folder, *now_);
  return true;
}

bool MemoryFiles::Delete(TextView path) {
  const auto place = FindExisting(path);
  if (!place) return false;
  if (place->node->info.IsDirectory() || place->node->IsReadOnly()) return Fail(kAccessDenied);
  return Remove(*place);
}

bool MemoryFiles::RemoveDir(TextView path) {
  const auto place = FindFolder(path);
  if (!place) return false;
  if (!place->node->entries.empty()) return Fail(kDirectoryNotEmpty);
  return place->folder ? Remove(*place) : Fail(kAccessDenied);
}

bool MemoryFiles::CreateDir(TextView path) {
  const auto place = Find(path);
  if (!place) return false;
  if (place->node) return Fail(kAlreadyExists);
  Add(*place, kDirectory);
  return true;
}

bool MemoryFiles::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return Fail(kNameTooLong);
  if (path.starts_with(u"\\\\?\\") || !IsWindows1252(path)) return Fail(kInvalidName);
  const auto split = SplitWindowsPath(path, currentFolder_);
  if (!split) return false;
  for (std::size_t end = path.find(u'\\', split->root.size()); end != TextView::npos; end = path.find(u'\\', end + 1)) {
    const auto place = Find(path.substr(0, end + 1));
    if (!place) return false;
    if (place->node && !place->node->info.IsDirectory()) return Fail(kAlreadyExists);
    if (!place->node) Add(*place, kDirectory);
  }
  return true;
}

bool MemoryFiles::List(TextView folder, std::vector<os::DirEntry>& out) {
  const auto place = FindFolder(folder);
  if (!place) return false;
  for (const NodePtr& each : place->node->entries) {
    out.push_back({each->name, each->Info(), {}});
    StampOf(*each, out.back().stamp);
  }
  return true;
}

bool MemoryFiles::LongPathName(TextView path, Text& out) {
  const auto place = FindExisting(path);
  if (place) out = place->onDisk + (place->trailing && place->folder ? u"\\" : u"");
  return place.has_value();
}

bool MemoryFiles::Version(TextView path, os::FileVersion& out) {
  const auto place = FindExisting(path);
  if (!place) return false;
  if (!place->node->version) return Fail(kNoResourceData);
  out = *place->node->version;
  return true;
}

bool MemoryFiles::FileSystemName(TextView root, Text& out) {
  const auto place = Find(root);
  if (!place) return false;
  if (place->folder || !place->trailing) return Fail(kInvalidName);
  out = fileSystemName_;
  return true;
}

bool MemoryFiles::SetCurrentDir(TextView path) {
  const auto place = FindFolder(path);
  if (place) currentFolder_ = place->onDisk;
  return place.has_value();
}

bool MemoryFiles::TempFolder(Text& out) {
  out = u"C:\\Temp\\";
  return true;
}

bool MemoryFiles::SetAttributes(TextView path, std::uint32_t attributes) {
  const auto place = FindExisting(path);
  if (!place) return false;
  std::uint32_t& now = place->node->info.attributes;
  now = (attributes & ~kDirectory) | (now & kDirectory);
  place->node->changed = NextTime();
  return true;
}

bool MemoryFiles::SetDates(TextView path, os::FileTicks created, os::FileTicks accessed, os::FileTicks modified) {
  const auto place = FindExisting(path);
  if (!place) return false;
  os::FileInfo& info = place->node->info;
  info = {info.attributes, 0, created, accessed, modified};
  place->node->changed = NextTime();
  return true;
}

bool MemoryFiles::SetVersion(TextView path, const os::FileVersion& version) {
  const auto place = FindExisting(path);
  if (place) place->node->version = version;
  return place.has_value();
}

}  // namespace ovs::fakes

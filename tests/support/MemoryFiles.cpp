#include "support/MemoryFiles.h"

#include <algorithm>
#include <optional>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs::fakes {

using namespace SystemError;
using os::Error;
using os::kSuccess;
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
  std::weak_ptr<Node> target;  // of a link, which may lead to a folder that it lies in

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

using Node = MemoryFiles::Node;
using NodePtr = std::shared_ptr<Node>;

void Touch(Node& node, os::FileTicks now) { node.info.modified = node.changed = now; }

os::FileStamp StampOf(const Node& node) {
  return {node.volume, node.index, node.bytes.size(), node.info.modified, node.changed};
}

class MemoryReadFile final : public os::ReadFile {
 public:
  explicit MemoryReadFile(NodePtr node) : node_(std::move(node)) {}
  Error Stamp(os::FileStamp& out) override {
    out = StampOf(*node_);
    return kSuccess;
  }
  Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    const std::string_view rest =
        std::string_view(node_->bytes).substr(std::min<std::uint64_t>(offset, node_->bytes.size()));
    got = std::min(rest.size(), buffer.size());
    std::copy_n(rest.begin(), got, buffer.begin());
    return kSuccess;
  }

 private:
  NodePtr node_;
};

class MemoryAppendFile final : public os::AppendFile {
 public:
  MemoryAppendFile(NodePtr node, std::shared_ptr<os::FileTicks> now) : node_(std::move(node)), now_(std::move(now)) {}
  Error Stamp(os::FileStamp& out) override {
    out = StampOf(*node_);
    return kSuccess;
  }
  Error Append(std::string_view bytes) override {
    if (bytes.empty()) return kSuccess;
    node_->bytes.append(bytes);
    Touch(*node_, *now_ += 10'000);
    return kSuccess;
  }
  Error Shorten(std::uint64_t from, std::uint64_t to) override {
    if (node_->bytes.size() != from) return kSharingViolation;
    node_->bytes.resize(to);
    Touch(*node_, *now_ += 10'000);
    return kSuccess;
  }

 private:
  NodePtr node_;
  std::shared_ptr<os::FileTicks> now_;
};

NodePtr Followed(const NodePtr& node) {
  NodePtr target = node->target.lock();
  return target ? target : node;
}

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

Error MemoryFiles::Find(TextView path, Place& out) {
  WindowsPath split;
  if (const Error error = SplitWindowsPath(path, currentFolder_, split); error.Failed()) return error;
  out = {};
  out.trailing = split.trailing;
  out.node = Root(split.root);
  for (Text& name : split.names) {
    if (!out.node || !out.node->info.IsDirectory()) return kPathNotFound;
    out.folder = Followed(out.node);
    out.name = name;
    out.node = EntryOf(*out.folder, name);
    if (out.node) name = out.node->name;
  }
  out.onDisk = JoinWindowsPath(split);
  return kSuccess;
}

Error MemoryFiles::FindExisting(TextView path, Place& out) {
  if (const Error error = Find(path, out); error.Failed()) return error;
  if (!out.node) return kFileNotFound;
  return out.trailing && !out.node->info.IsDirectory() ? kInvalidName : kSuccess;
}

Error MemoryFiles::FindFolder(TextView path, Place& out) {
  if (const Error error = FindExisting(path, out); error.Failed()) return error;
  out.node = Followed(out.node);
  return out.node->info.IsDirectory() ? kSuccess : kNotADirectory;
}

Error MemoryFiles::FileForWriting(TextView path, NodePtr& out) {
  Place place;
  if (const Error error = Find(path, place); error.Failed()) return error;
  if (place.trailing) return kInvalidName;
  if (place.node && (place.node->info.IsDirectory() || place.node->IsReadOnly())) return kAccessDenied;
  out = place.node ? place.node : Add(place, kArchive);
  return kSuccess;
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

void MemoryFiles::Remove(const Place& place) {
  std::erase(place.folder->entries, place.node);
  Touch(*place.folder, NextTime());
}

Error MemoryFiles::Info(TextView path, os::FileInfo& out) {
  Place place;
  const Error error = FindExisting(path, place);
  if (error.Ok()) out = place.node->Info();
  return error;
}

Error MemoryFiles::OpenRead(TextView path, std::unique_ptr<os::ReadFile>& out) {
  out = nullptr;
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  if (place.node->info.IsDirectory()) return kAccessDenied;
  out = std::make_unique<MemoryReadFile>(place.node);
  return kSuccess;
}

Error MemoryFiles::OpenAppend(TextView path, std::unique_ptr<os::AppendFile>& out) {
  NodePtr node;
  const Error error = FileForWriting(path, node);
  out = node ? std::make_unique<MemoryAppendFile>(node, now_) : nullptr;
  return error;
}

Error MemoryFiles::Write(TextView path, std::string_view bytes) {
  NodePtr node;
  if (const Error error = FileForWriting(path, node); error.Failed()) return error;
  node->bytes = bytes;
  node->info.attributes |= kArchive;
  Touch(*node, NextTime());
  return kSuccess;
}

Error MemoryFiles::Flush(TextView path) {
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  if (flushError.Ok()) flushed_.emplace_back(path);
  return flushError;
}

Error MemoryFiles::Rename(TextView from, TextView to) {
  Place source;
  Place target;
  if (const Error error = FindExisting(from, source); error.Failed()) return error;
  if (const Error error = Find(to, target); error.Failed()) return error;
  if (!source.folder || !target.folder) return kAccessDenied;
  if (target.node && target.node != source.node) {
    const bool bothFiles = !source.node->info.IsDirectory() && !target.node->info.IsDirectory();
    if (!bothFiles || target.node->IsReadOnly()) return kAccessDenied;
    Remove(target);
  }
  if (source.folder != target.folder) {
    Remove(source);
    target.folder->entries.push_back(source.node);
  }
  source.node->name = target.name;
  source.node->changed = NextTime();
  Touch(*target.folder, *now_);
  return kSuccess;
}

Error MemoryFiles::Delete(TextView path) {
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  if (place.node->info.IsDirectory() || place.node->IsReadOnly()) return kAccessDenied;
  Remove(place);
  return kSuccess;
}

Error MemoryFiles::RemoveDir(TextView path) {
  Place place;
  if (const Error error = FindFolder(path, place); error.Failed()) return error;
  if (!place.node->entries.empty()) return kDirectoryNotEmpty;
  if (!place.folder) return kAccessDenied;
  Remove(place);
  return kSuccess;
}

Error MemoryFiles::CreateDir(TextView path) {
  Place place;
  if (const Error error = Find(path, place); error.Failed()) return error;
  if (place.node) return kAlreadyExists;
  Add(place, kDirectory);
  return kSuccess;
}

Error MemoryFiles::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return kNameTooLong;
  if (path.starts_with(u"\\\\?\\") || !IsWindows1252(path)) return kInvalidName;
  WindowsPath split;
  if (const Error error = SplitWindowsPath(path, currentFolder_, split); error.Failed()) return error;
  for (std::size_t end = path.find(u'\\', split.root.size()); end != TextView::npos; end = path.find(u'\\', end + 1)) {
    Place place;
    if (const Error error = Find(path.substr(0, end + 1), place); error.Failed()) return error;
    if (place.node && !place.node->info.IsDirectory()) return kAlreadyExists;
    if (!place.node) Add(place, kDirectory);
  }
  return kSuccess;
}

Error MemoryFiles::List(TextView folder, std::vector<os::DirEntry>& out) {
  Place place;
  if (const Error error = FindFolder(folder, place); error.Failed()) return error;
  for (const NodePtr& each : place.node->entries) out.push_back({each->name, each->Info(), StampOf(*each)});
  return kSuccess;
}

Error MemoryFiles::FolderIdentity(TextView folder, os::FileStamp& out) {
  Place place;
  const Error error = FindFolder(folder, place);
  if (error.Ok()) out = {.volume = place.node->volume, .index = place.node->index};
  return error;
}

Error MemoryFiles::Link(TextView path, TextView target) {
  Place to;
  Place place;
  if (const Error error = FindFolder(target, to); error.Failed()) return error;
  if (const Error error = Find(path, place); error.Failed()) return error;
  Add(place, kDirectory | kReparsePoint)->target = to.node;
  return kSuccess;
}

Error MemoryFiles::LongPathName(TextView path, Text& out) {
  Place place;
  const Error error = FindExisting(path, place);
  if (error.Ok()) out = place.onDisk + (place.trailing && place.folder ? u"\\" : u"");
  return error;
}

Error MemoryFiles::Version(TextView path, os::FileVersion& out) {
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  if (!place.node->version) return kNoVersion;
  out = *place.node->version;
  return kSuccess;
}

Error MemoryFiles::FileSystemName(TextView root, Text& out) {
  Place place;
  if (const Error error = Find(root, place); error.Failed()) return error;
  if (place.folder || !place.trailing) return kInvalidName;
  out = fileSystemName_;
  return kSuccess;
}

Error MemoryFiles::SetCurrentDir(TextView path) {
  Place place;
  const Error error = FindFolder(path, place);
  if (error.Ok()) currentFolder_ = place.onDisk;
  return error;
}

Error MemoryFiles::TempFolder(Text& out) {
  out = u"C:\\Temp\\";
  return kSuccess;
}

void MemoryFiles::WriteInTheSameTick(TextView path, std::string_view bytes) {
  Place place;
  if (FindExisting(path, place).Ok()) place.node->bytes = bytes;
}

Error MemoryFiles::SetAttributes(TextView path, std::uint32_t attributes) {
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  std::uint32_t& now = place.node->info.attributes;
  now = (attributes & ~kDirectory) | (now & kDirectory);
  place.node->changed = NextTime();
  return kSuccess;
}

Error MemoryFiles::SetDates(TextView path, os::FileTicks created, os::FileTicks accessed, os::FileTicks modified) {
  Place place;
  if (const Error error = FindExisting(path, place); error.Failed()) return error;
  os::FileInfo& info = place.node->info;
  info = {info.attributes, 0, created, accessed, modified};
  place.node->changed = NextTime();
  return kSuccess;
}

Error MemoryFiles::SetVersion(TextView path, const os::FileVersion& version) {
  Place place;
  const Error error = FindExisting(path, place);
  if (error.Ok()) place.node->version = version;
  return error;
}

}  // namespace ovs::fakes

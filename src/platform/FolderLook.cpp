#include "platform/FolderLook.h"

#include <algorithm>
#include <unordered_map>

#include "base/DateTime.h"

namespace ovs {

namespace {

// Longer than the coarsest clock of a file system in use ticks.
constexpr os::FileTicks kYoung = 3 * kTicksPerSecond;

bool IsSame(const FolderLook::Entry& a, const FolderLook::Entry& b) {
  return a.name == b.name && a.stamp == b.stamp && a.isFolder == b.isFolder;
}

}  // namespace

FolderLook::FolderLook(os::Files& files, os::Clock& clock, TextView folder, std::function<bool(TextView name)> isWanted)
    : files_(files), clock_(clock), folder_(folder), isWanted_(std::move(isWanted)) {}

bool FolderLook::IsYoung(const os::FileStamp& stamp) const {
  const os::FileTicks now = clock_.UtcNow();
  const auto isNear = [&](os::FileTicks time) { return time > now - kYoung && time < now + kYoung; };
  return isNear(stamp.modified) || isNear(stamp.changed);
}

os::Error FolderLook::List(std::vector<Entry>& out, bool& exists) {
  std::vector<os::DirEntry> entries;
  const os::Error error = files_.List(folder_, entries);
  exists = error.Ok();
  if (error.Failed()) {
    if (!error.IsNotFound() && error != SystemError::kNotADirectory) return error;
    entries.clear();
  }
  for (os::DirEntry& entry : entries) {
    if (!isWanted_(entry.name)) continue;
    // The target of a link may change without a trace here.
    const bool isLink = (entry.info.attributes & os::FileAttribute::kReparsePoint) != 0;
    out.push_back({std::move(entry.name), entry.stamp, entry.info.IsDirectory(), isLink || IsYoung(entry.stamp)});
  }
  return os::kSuccess;
}

os::Error FolderLook::Look(bool& changed) {
  std::vector<Entry> found;
  bool exists = false;
  if (const os::Error error = List(found, exists); error.Failed()) return error;
  std::unordered_map<TextView, const Entry*> before;
  const bool sameOrder = std::ranges::equal(found, entries_, {}, &Entry::name, &Entry::name);
  if (!sameOrder) {
    for (const Entry& entry : entries_) before.emplace(entry.name, &entry);
  }
  changed = !sameOrder || !looked_;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const Entry* old = nullptr;
    if (sameOrder) {
      old = &entries_[i];
    } else if (const auto at = before.find(found[i].name); at != before.end()) {
      old = at->second;
    }
    found[i].isNew = found[i].isNew || old == nullptr || !IsSame(found[i], *old);
    changed = changed || found[i].isNew;
  }
  looked_ = true;
  exists_ = exists;
  entries_ = std::move(found);
  return os::kSuccess;
}

}  // namespace ovs

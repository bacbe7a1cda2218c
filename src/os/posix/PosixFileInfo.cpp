#include "os/posix/PosixFileInfo.h"

#include <sys/sysmacros.h>

#include "base/DateTime.h"

namespace ovs::posix {

namespace {

constexpr std::int64_t kUnixEpochSeconds = 11'644'473'600;  // 1970 counted from 1601

os::FileTicks TicksOf(const statx_timestamp& time) {
  return (time.tv_sec + kUnixEpochSeconds) * kTicksPerSecond + time.tv_nsec / 100;
}

std::uint32_t AttributesOf(const struct statx& status) {
  std::uint32_t attributes = IsFolder(status) ? os::FileAttribute::kDirectory : os::FileAttribute::kArchive;
  if (IsLink(status)) attributes |= os::FileAttribute::kReparsePoint;
  if (IsReadOnly(status)) attributes |= os::FileAttribute::kReadOnly;
  return attributes;
}

}  // namespace

bool Look(int folder, const char* path, int flags, struct statx& out) {
  return statx(folder, path, flags, STATX_BASIC_STATS | STATX_BTIME, &out) == 0;
}

bool IsFolder(const struct statx& status) { return S_ISDIR(status.stx_mode); }
bool IsLink(const struct statx& status) { return S_ISLNK(status.stx_mode); }
bool IsPlainFile(const struct statx& status) { return S_ISREG(status.stx_mode); }

bool IsReadOnly(const struct statx& status) {
  return !IsFolder(status) && !IsLink(status) && (status.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

os::FileInfo InfoOf(const struct statx& status) {
  const bool knowsBirth = (status.stx_mask & STATX_BTIME) != 0;
  os::FileInfo info;
  info.attributes = AttributesOf(status);
  info.size = IsFolder(status) ? 0 : status.stx_size;
  info.created = TicksOf(knowsBirth ? status.stx_btime : status.stx_mtime);
  info.accessed = TicksOf(status.stx_atime);
  info.modified = TicksOf(status.stx_mtime);
  return info;
}

os::FileStamp StampOf(const struct statx& status) {
  return {.volume = makedev(status.stx_dev_major, status.stx_dev_minor),
          .index = status.stx_ino,
          .size = status.stx_size,
          .modified = TicksOf(status.stx_mtime),
          .changed = TicksOf(status.stx_ctime)};
}

}  // namespace ovs::posix

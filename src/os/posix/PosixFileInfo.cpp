#include "os/posix/PosixFileInfo.h"

#include <sys/sysmacros.h>
#include <algorithm>
#include <iterator>

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

struct Named {
  std::uint32_t type;
  TextView name;
};

// Not every one of these numbers is in the system's headers.
constexpr Named kNames[] = {
    {0x0000EF53, u"EXT4"},  {0x01021994, u"TMPFS"}, {0x9123683E, u"BTRFS"},    {0x794C7630, u"OVERLAY"},
    {0x00004D44, u"FAT32"}, {0x2011BAB0, u"EXFAT"}, {0x5346544E, u"NTFS"},     {0x7366746E, u"NTFS"},
    {0x58465342, u"XFS"},   {0x2FC12FC1, u"ZFS"},   {0xF2F52010, u"F2FS"},     {0x65735546, u"FUSE"},
    {0x00006969, u"NFS"},   {0xFF534D42, u"CIFS"},  {0xFE534D42, u"CIFS"},     {0x01021997, u"9P"},
    {0x00009660, u"CDFS"},  {0x15013346, u"UDF"},   {0x73717368, u"SQUASHFS"}, {0x858458F6, u"RAMFS"},
    {0x00009FA0, u"PROC"},  {0x62656572, u"SYSFS"},
};

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

Text NameOfFileSystem(std::uint32_t type) {
  const auto* const found = std::ranges::find(kNames, type, &Named::type);
  return Text(found == std::end(kNames) ? u"UNKNOWN" : found->name);
}

}  // namespace ovs::posix

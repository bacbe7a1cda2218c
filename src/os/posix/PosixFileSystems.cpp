#include "os/posix/PosixFileSystems.h"

#include <algorithm>
#include <iterator>

namespace ovs::posix {

namespace {

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

Text NameOfFileSystem(std::uint32_t type) {
  const auto* const found = std::ranges::find(kNames, type, &Named::type);
  return Text(found == std::end(kNames) ? u"UNKNOWN" : found->name);
}

}  // namespace ovs::posix

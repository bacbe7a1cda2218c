// The changes in a folder since one last looked. Untraced; the caller decides when to look.
#pragma once

#include <functional>
#include <vector>

#include "base/Text.h"
#include "os/Clock.h"
#include "os/Files.h"

namespace ovs {

class FolderLook {
 public:
  struct Entry {
    Text name;
    os::FileStamp stamp;
    bool isFolder;
    bool isNew;  // not as it was at the look before; or so young that the file system's clock could not tell
  };

  // Both must outlive this object. Entries whose names are not wanted are passed over.
  FolderLook(os::Files& files, os::Clock& clock, TextView folder, std::function<bool(TextView name)> isWanted);

  // Lists the folder; one that does not exist has no entries. `changed` is false when no entry is new and they stand in the
  // same order. A failure leaves the entries of the look before.
  os::Error Look(bool& changed);
  // The next look finds everything new.
  void Forget() noexcept {
    looked_ = false;
    entries_.clear();
  }

  [[nodiscard]] const Text& Folder() const { return folder_; }
  // As the last look that did not fail found it.
  [[nodiscard]] bool FolderExists() const { return exists_; }
  [[nodiscard]] const std::vector<Entry>& Entries() const { return entries_; }

 private:
  [[nodiscard]] bool IsYoung(const os::FileStamp& stamp) const;
  os::Error List(std::vector<Entry>& out, bool& exists);

  os::Files& files_;
  os::Clock& clock_;
  Text folder_;
  std::function<bool(TextView name)> isWanted_;
  std::vector<Entry> entries_;
  bool looked_ = false;
  bool exists_ = false;
};

}  // namespace ovs

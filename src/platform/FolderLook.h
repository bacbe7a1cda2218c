// What changed in a folder since one last looked: by news where the system sends them, and by comparing what the folder
// holds. Untraced; the caller decides when to look.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "base/Text.h"
#include "base/os/Clock.h"
#include "base/os/Files.h"
#include "base/os/FolderWatch.h"

namespace ovs {

// What a look needs; all must outlive it.
struct FolderLookParts {
  os::Files& files;
  os::FolderWatcher& watcher;
  os::Clock& clock;
};

class FolderLook {
 public:
  struct Entry {
    Text name;
    os::FileStamp stamp;
    bool isFolder;
    bool isNew;  // not as it was at the look before; or so young that the file system's clock could not tell
  };
  enum class Outcome {
    Same,  // no entry is new, and they stand in the same order
    Changed,
    Failed,  // the system refused; the entries are those of the look before, the pending system error tells why
  };

  // Entries whose names are not wanted are passed over.
  FolderLook(const FolderLookParts& parts, TextView folder, std::function<bool(TextView name)> isWanted);

  // True when the system told of a change, or when no watch serves. Never waits.
  [[nodiscard]] bool HasNews();

  // Lists the folder; one that does not exist has no entries. Whatever happens in the folder from this call on is news.
  Outcome Look();

  [[nodiscard]] const Text& Folder() const { return folder_; }
  [[nodiscard]] const std::vector<Entry>& Entries() const { return entries_; }

 private:
  void Arm();
  [[nodiscard]] bool IsYoung(const os::FileStamp& stamp) const;
  bool List(std::vector<Entry>& out);

  FolderLookParts parts_;
  Text folder_;
  std::function<bool(TextView name)> isWanted_;
  std::unique_ptr<os::FolderWatch> watch_;
  std::vector<Entry> entries_;
  bool looked_ = false;
};

}  // namespace ovs

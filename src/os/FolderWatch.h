// Port: news of what happens in folders, their files' contents included. What happens in their sub-folders may be told as
// well.
#pragma once

#include <memory>
#include <span>

#include "base/Text.h"

namespace ovs::os {

enum class FolderNews {
  None,
  Changed,
  Lost,  // the watch serves no longer: a folder is gone or somewhere else; some news may be missing
};

class FolderWatch {
 public:
  virtual ~FolderWatch() = default;
  // The changes since the last call, or since the watch was made. Never waits.
  virtual FolderNews Take() = 0;
};

class FolderWatcher {
 public:
  virtual ~FolderWatcher() = default;
  // True when Take tells of every change that was complete before it was called, on folders of this machine's own disks.
  // Otherwise news may come late or never, and asking costs so much that nobody should ask without end.
  [[nodiscard]] virtual bool IsExact() const = 0;
  // Watches those of the folders that can be watched, which is none when the result is null. A watch belongs to one thread
  // and must not outlive its watcher.
  virtual std::unique_ptr<FolderWatch> Watch(std::span<const Text> folders) = 0;
};

FolderWatcher& SystemFolderWatcher();

}  // namespace ovs::os

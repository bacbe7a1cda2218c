// Port: news of what happens in a folder, its files' contents included, its sub-folders' not.
#pragma once

#include <memory>

#include "base/Text.h"

namespace ovs::os {

enum class FolderNews {
  None,
  Changed,
  Lost,  // the watch serves no longer: the folder is gone or somewhere else; some news may be missing
};

class FolderWatch {
 public:
  virtual ~FolderWatch() = default;
  // What happened since the last call, or since the watch was made. Never waits.
  virtual FolderNews Take() = 0;
};

class FolderWatcher {
 public:
  virtual ~FolderWatcher() = default;
  // True when Take tells of every change that was complete before it was called, on folders of this machine's own disks.
  // Otherwise news may come late or never, and asking costs so much that nobody should ask without end.
  [[nodiscard]] virtual bool IsExact() const = 0;
  // Null when the folder cannot be watched; the number is recorded with SetPendingSystemError. A watch belongs to one thread
  // and must not outlive its watcher.
  virtual std::unique_ptr<FolderWatch> Watch(TextView folder) = 0;
};

FolderWatcher& SystemFolderWatcher();

}  // namespace ovs::os

#include <windows.h>

#include <algorithm>
#include <vector>

#include "base/Fold.h"
#include "os/FolderWatch.h"
#include "os/win32/Win32Path.h"

namespace ovs::os {

namespace {

using namespace ovs::win32;

constexpr DWORD kWhat = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_ATTRIBUTES |
                        FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_CREATION;

class ChangeHandles final : public FolderWatch {
 public:
  ChangeHandles() = default;
  ~ChangeHandles() override {
    for (const HANDLE handle : handles_) FindCloseChangeNotification(handle);
  }
  ChangeHandles(const ChangeHandles&) = delete;
  ChangeHandles& operator=(const ChangeHandles&) = delete;

  bool Add(TextView folder, bool withSubFolders) {
    std::wstring path;
    if (ExtendedPath(folder, path).Failed()) return false;
    const HANDLE handle = FindFirstChangeNotificationW(path.c_str(), withSubFolders, kWhat);
    if (handle == INVALID_HANDLE_VALUE) return false;
    handles_.push_back(handle);
    return true;
  }

  FolderNews Take() override {
    const DWORD result = WaitForMultipleObjects(static_cast<DWORD>(handles_.size()), handles_.data(), FALSE, 0);
    if (result == WAIT_TIMEOUT) return FolderNews::None;
    const std::size_t at = result - WAIT_OBJECT_0;
    if (at >= handles_.size()) return FolderNews::Lost;
    return FindNextChangeNotification(handles_[at]) ? FolderNews::Changed : FolderNews::Lost;
  }

 private:
  std::vector<HANDLE> handles_;
};

bool IsBelow(TextView inner, TextView outer) {
  return inner.size() > outer.size() && inner[outer.size()] == u'\\' && EqualsFolded(inner.substr(0, outer.size()), outer);
}

// A folder below another one is watched from there: while a handle is open on it, Windows lets nobody rename the folder that
// it lies in. The handle on the outer folder itself is shared for deletion, which allows that.
class ChangeWatcher final : public FolderWatcher {
 public:
  // By its documentation the system may tell of a write only when it reaches the disk.
  [[nodiscard]] bool IsExact() const override { return false; }
  std::unique_ptr<FolderWatch> Watch(std::span<const Text> folders) override {
    auto watch = std::make_unique<ChangeHandles>();
    bool any = false;
    for (const Text& folder : folders) {
      if (std::ranges::any_of(folders, [&](const Text& other) { return IsBelow(folder, other); })) continue;
      const bool holdsOther = std::ranges::any_of(folders, [&](const Text& other) { return IsBelow(other, folder); });
      any = watch->Add(folder, holdsOther) || any;
    }
    if (!any) return nullptr;
    return watch;
  }
};

}  // namespace

FolderWatcher& SystemFolderWatcher() {
  static ChangeWatcher watcher;
  return watcher;
}

}  // namespace ovs::os

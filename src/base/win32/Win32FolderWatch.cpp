#include <windows.h>

#include "base/os/FolderWatch.h"
#include "base/win32/Win32Error.h"
#include "base/win32/Win32Path.h"

namespace ovs::os {

namespace {

using namespace ovs::win32;

constexpr DWORD kWhat = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_ATTRIBUTES |
                        FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_CREATION;

class ChangeHandle final : public FolderWatch {
 public:
  explicit ChangeHandle(HANDLE handle) : handle_(handle) {}
  ~ChangeHandle() override { FindCloseChangeNotification(handle_); }
  ChangeHandle(const ChangeHandle&) = delete;
  ChangeHandle& operator=(const ChangeHandle&) = delete;

  FolderNews Take() override {
    switch (WaitForSingleObject(handle_, 0)) {
      case WAIT_TIMEOUT:
        return FolderNews::None;
      case WAIT_OBJECT_0:
        return FindNextChangeNotification(handle_) ? FolderNews::Changed : FolderNews::Lost;
      default:
        return FolderNews::Lost;
    }
  }

 private:
  HANDLE handle_;
};

class ChangeWatcher final : public FolderWatcher {
 public:
  // By its documentation the system may tell of a write only when it reaches the disk.
  [[nodiscard]] bool IsExact() const override { return false; }
  std::unique_ptr<FolderWatch> Watch(TextView folder) override {
    const auto path = ExtendedPath(folder);
    if (!path) return nullptr;
    const HANDLE handle = FindFirstChangeNotificationW(path->c_str(), FALSE, kWhat);
    if (handle == INVALID_HANDLE_VALUE) {
      FailLast();
      return nullptr;
    }
    return std::make_unique<ChangeHandle>(handle);
  }
};

}  // namespace

FolderWatcher& SystemFolderWatcher() {
  static ChangeWatcher watcher;
  return watcher;
}

}  // namespace ovs::os

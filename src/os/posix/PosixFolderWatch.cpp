#include <sys/inotify.h>
#include <sys/ioctl.h>

#include <array>
#include <cerrno>
#include <utility>

#include "os/FolderWatch.h"
#include "os/posix/PosixOpenFile.h"
#include "os/posix/PosixPath.h"

namespace ovs::os {

namespace {

using namespace ovs::posix;

constexpr std::uint32_t kContent = IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVE | IN_ATTRIB;
constexpr std::uint32_t kFolderItself = IN_DELETE_SELF | IN_MOVE_SELF;
// IN_IGNORED: the folder is gone; IN_Q_OVERFLOW: the queue was full.
constexpr std::uint32_t kEnd = kFolderItself | IN_IGNORED | IN_UNMOUNT | IN_Q_OVERFLOW;

class InotifyWatch final : public FolderWatch {
 public:
  explicit InotifyWatch(UniqueFd fd) : fd_(std::move(fd)) {}

  FolderNews Take() override {
    // Cheaper than a read that finds nothing.
    int waiting = 0;
    if (ioctl(fd_.Get(), FIONREAD, &waiting) != 0) return FolderNews::Lost;
    return waiting == 0 ? FolderNews::None : Drain();
  }

 private:
  FolderNews Drain() {
    alignas(inotify_event) std::array<char, std::size_t{16} * 1024> buffer;
    FolderNews news = FolderNews::Changed;
    for (;;) {
      const ssize_t got = read(fd_.Get(), buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return got < 0 && errno == EAGAIN ? news : FolderNews::Lost;
      for (const char* at = buffer.data(); at < buffer.data() + got;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(at);
        if ((event->mask & kEnd) != 0) news = FolderNews::Lost;
        at += sizeof(inotify_event) + event->len;
      }
    }
  }

  UniqueFd fd_;
};

class InotifyWatcher final : public FolderWatcher {
 public:
  [[nodiscard]] bool IsExact() const override { return true; }
  std::unique_ptr<FolderWatch> Watch(std::span<const Text> folders) override {
    UniqueFd fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    bool any = false;
    for (const Text& folder : folders) any = (fd && Add(fd, folder)) || any;
    return any ? std::make_unique<InotifyWatch>(std::move(fd)) : nullptr;
  }

 private:
  static bool Add(const UniqueFd& fd, TextView folder) {
    NativePath native;
    return FindNative(folder, native).Ok() &&
           inotify_add_watch(fd.Get(), native.path.c_str(), kContent | kFolderItself | IN_ONLYDIR) >= 0;
  }
};

}  // namespace

FolderWatcher& SystemFolderWatcher() {
  static InotifyWatcher watcher;
  return watcher;
}

}  // namespace ovs::os

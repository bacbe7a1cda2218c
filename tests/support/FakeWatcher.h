// News of folders as the test wants them.
#pragma once

#include "os/FolderWatch.h"

namespace ovs::fakes {

class FakeWatcher final : public os::FolderWatcher {
 public:
  [[nodiscard]] bool IsExact() const override { return exact; }
  std::unique_ptr<os::FolderWatch> Watch(std::span<const Text> /*folders*/) override {
    ++watches;
    return canWatch ? std::make_unique<Watcher>(*this) : nullptr;
  }

  // Unless a test says otherwise there is always news, so every look is a look at the files themselves.
  os::FolderNews news = os::FolderNews::Changed;
  bool exact = true;
  bool canWatch = true;
  int watches = 0;
  int asked = 0;

 private:
  class Watcher final : public os::FolderWatch {
   public:
    explicit Watcher(FakeWatcher& owner) : owner_(owner) {}
    os::FolderNews Take() override {
      ++owner_.asked;
      return owner_.news;
    }

   private:
    FakeWatcher& owner_;
  };
};

}  // namespace ovs::fakes

// Another Files that fails on order.
//
// Counted are all calls, those on open files included. A call that is to fail does nothing else, save that a Write with
// "disk full" (112) leaves the first half of its bytes in the file.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "os/Files.h"

namespace ovs::fakes {

class FaultyFiles final : public os::Files {
 public:
  // `inner` must outlive this object.
  explicit FaultyFiles(os::Files& inner) : inner_(inner) {}

  // From now on every call on a path that contains this part, in any case, fails.
  void FailPath(TextView part, os::Error error) { badParts_.emplace_back(part, error); }
  // The nth call from now (the next one is the first) fails. Several may be given.
  void FailCall(std::uint64_t nth, os::Error error) { badCalls_.insert_or_assign(calls_ + nth, error); }
  void Heal();
  std::function<void(TextView path)> onCall;  // runs before each
  [[nodiscard]] std::uint64_t Calls() const { return calls_; }
  bool refuseDeletes = false;  // of files, as where somebody holds them open

  // Counts a call: the failure that it is to have, if any.
  os::Error Admit(TextView path);

  os::Error Info(TextView path, os::FileInfo& out) override {
    return Call(path, [&] { return inner_.Info(path, out); });
  }
  os::Error OpenRead(TextView path, std::unique_ptr<os::ReadFile>& out) override;
  os::Error OpenAppend(TextView path, std::unique_ptr<os::AppendFile>& out) override;
  os::Error Write(TextView path, std::string_view bytes) override;
  os::Error Flush(TextView path) override {
    return Call(path, [&] { return inner_.Flush(path); });
  }
  os::Error Rename(TextView from, TextView to) override;
  os::Error Delete(TextView path) override {
    return Call(path, [&] { return refuseDeletes ? os::Error(SystemError::kSharingViolation) : inner_.Delete(path); });
  }
  os::Error RemoveDir(TextView path) override {
    return Call(path, [&] { return inner_.RemoveDir(path); });
  }
  os::Error CreateDir(TextView path) override {
    return Call(path, [&] { return inner_.CreateDir(path); });
  }
  os::Error MakeSureDirectoryPathExists(TextView path) override {
    return Call(path, [&] { return inner_.MakeSureDirectoryPathExists(path); });
  }
  os::Error List(TextView folder, std::vector<os::DirEntry>& out) override {
    return Call(folder, [&] { return inner_.List(folder, out); });
  }
  os::Error FolderIdentity(TextView folder, os::FileStamp& out) override {
    return Call(folder, [&] { return inner_.FolderIdentity(folder, out); });
  }
  os::Error LongPathName(TextView path, Text& out) override {
    return Call(path, [&] { return inner_.LongPathName(path, out); });
  }
  os::Error Version(TextView path, os::FileVersion& out) override {
    return Call(path, [&] { return inner_.Version(path, out); });
  }
  os::Error FileSystemName(TextView root, Text& out) override {
    return Call(root, [&] { return inner_.FileSystemName(root, out); });
  }
  os::Error SetCurrentDir(TextView path) override {
    return Call(path, [&] { return inner_.SetCurrentDir(path); });
  }
  os::Error TempFolder(Text& out) override {
    return Call({}, [&] { return inner_.TempFolder(out); });
  }

  // A call of any port that counts among these.
  template <class Inner>
  os::Error Call(TextView path, Inner inner) {
    const os::Error error = Admit(path);
    return error.Failed() ? error : inner();
  }

 private:
  os::Files& inner_;
  std::vector<std::pair<Text, os::Error>> badParts_;
  std::uint64_t calls_ = 0;
  std::map<std::uint64_t, os::Error> badCalls_;
};

}  // namespace ovs::fakes

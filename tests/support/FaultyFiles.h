// Another Files that fails on order.
//
// Counted are all calls, those on open files included. A call that is to fail does nothing else, save that a Write with
// the number "disk full" (112) leaves the first half of its bytes in the file.
#pragma once

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
  void FailPath(TextView part, std::uint32_t number) { badParts_.emplace_back(part, number); }
  // The nth call from now (the next one is the first) fails. Several may be given.
  void FailCall(std::uint64_t nth, std::uint32_t number) { badCalls_.insert_or_assign(calls_ + nth, number); }
  void Heal();
  [[nodiscard]] std::uint64_t Calls() const { return calls_; }

  // Counts a call; false, with the pending system error set, when it is to fail.
  bool Admit(TextView path);

  bool Info(TextView path, os::FileInfo& out) override { return Admit(path) && inner_.Info(path, out); }
  std::unique_ptr<os::ReadFile> OpenRead(TextView path) override;
  std::unique_ptr<os::AppendFile> OpenAppend(TextView path) override;
  bool Write(TextView path, std::string_view bytes) override;
  bool Rename(TextView from, TextView to) override;
  bool Delete(TextView path) override { return Admit(path) && inner_.Delete(path); }
  bool RemoveDir(TextView path) override { return Admit(path) && inner_.RemoveDir(path); }
  bool CreateDir(TextView path) override { return Admit(path) && inner_.CreateDir(path); }
  bool MakeSureDirectoryPathExists(TextView path) override {
    return Admit(path) && inner_.MakeSureDirectoryPathExists(path);
  }
  bool List(TextView folder, std::vector<os::DirEntry>& out) override { return Admit(folder) && inner_.List(folder, out); }
  bool LongPathName(TextView path, Text& out) override { return Admit(path) && inner_.LongPathName(path, out); }
  bool Version(TextView path, os::FileVersion& out) override { return Admit(path) && inner_.Version(path, out); }
  bool FileSystemName(TextView root, Text& out) override { return Admit(root) && inner_.FileSystemName(root, out); }
  bool SetCurrentDir(TextView path) override { return Admit(path) && inner_.SetCurrentDir(path); }
  bool TempFolder(Text& out) override { return Admit({}) && inner_.TempFolder(out); }

 private:
  os::Files& inner_;
  std::vector<std::pair<Text, std::uint32_t>> badParts_;
  std::uint64_t calls_ = 0;
  std::map<std::uint64_t, std::uint32_t> badCalls_;
};

}  // namespace ovs::fakes

// Files and folders in memory, with the contract of the port.
//
// Every root ("C:", "\\server\share") exists by itself, all other folders must be created. Names are found without regard
// to case and kept as first written; a folder lists its entries in the order they were made there. Each change has a time
// of its own, later than all before. Version numbers, attributes, dates and the file system's name are set by the test.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "os/Files.h"
#include "os/WindowsPath.h"

namespace ovs::fakes {

class MemoryFiles final : public os::Files {
 public:
  os::Error Info(TextView path, os::FileInfo& out) override;
  os::Error OpenRead(TextView path, std::unique_ptr<os::ReadFile>& out) override;
  os::Error OpenAppend(TextView path, std::unique_ptr<os::AppendFile>& out) override;
  os::Error Write(TextView path, std::string_view bytes) override;
  os::Error Flush(TextView path) override;
  os::Error Rename(TextView from, TextView to) override;
  os::Error Delete(TextView path) override;
  os::Error RemoveDir(TextView path) override;
  os::Error CreateDir(TextView path) override;
  // As the call of that name, it carries Windows-1252 characters only.
  os::Error MakeSureDirectoryPathExists(TextView path) override;
  os::Error List(TextView folder, std::vector<os::DirEntry>& out) override;
  os::Error FolderIdentity(TextView folder, os::FileStamp& out) override;
  os::Error LongPathName(TextView path, Text& out) override;
  os::Error Version(TextView path, os::FileVersion& out) override;
  os::Error FileSystemName(TextView root, Text& out) override;
  os::Error SetCurrentDir(TextView path) override;
  // "C:\Temp\", which does not exist at first.
  os::Error TempFolder(Text& out) override;

  // Makes a link to a folder that exists.
  os::Error Link(TextView path, TextView target);
  // Writes an existing file within the tick in which it was written last: nothing but its content tells.
  void WriteInTheSameTick(TextView path, std::string_view bytes);
  // These three fail when there is no such file. What is a folder stays one.
  os::Error SetAttributes(TextView path, std::uint32_t attributes);
  os::Error SetDates(TextView path, os::FileTicks created, os::FileTicks accessed, os::FileTicks modified);
  os::Error SetVersion(TextView path, const os::FileVersion& version);
  // Paths as they were given, in their order.
  [[nodiscard]] const std::vector<Text>& Flushed() const { return flushed_; }
  os::Error flushError;
  void SetFileSystemName(TextView name) { fileSystemName_ = name; }

  struct Node;

 private:
  using NodePtr = std::shared_ptr<Node>;
  struct Place {
    NodePtr folder;  // null when the path is a root
    NodePtr node;    // null when the last name does not exist
    Text name;       // the last name, as asked
    Text onDisk;     // the full path as it is spelled on disk
    bool trailing = false;
  };

  NodePtr Root(const Text& name);
  // Walks to the last name. Fails when the path is invalid or a folder before the last name is missing.
  os::Error Find(TextView path, Place& out);
  // The same, for what must exist, and for what must be a folder.
  os::Error FindExisting(TextView path, Place& out);
  os::Error FindFolder(TextView path, Place& out);
  // The file of that path, made when it is missing. Fails when it is a folder, read-only or has no folder.
  os::Error FileForWriting(TextView path, NodePtr& out);
  NodePtr Add(const Place& place, std::uint32_t attributes);
  void Remove(const Place& place);
  [[nodiscard]] os::FileTicks NextTime() { return *now_ += 10'000; }

  std::map<Text, NodePtr> roots_;  // by folded name
  std::uint64_t lastIndex_ = 0;
  // Shared with the open files.
  std::shared_ptr<os::FileTicks> now_ = std::make_shared<os::FileTicks>(133'500'000'000'000'000);
  std::vector<Text> flushed_;
  Text currentFolder_ = u"C:\\";
  Text fileSystemName_ = u"NTFS";
};

}  // namespace ovs::fakes

// Finds files, and on request folders, by masks under one or more folders.
//
// Settings and lists first, then StartSearch, then the results; a further search adds to them until InitClassVars.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

// In which form GetSingleFileResult and its like name a file.
enum class DirListObject : std::int32_t {
  ReportedPath = 0,  // in lower case, as in MatchingFilesFullPath
  PathOnDisk = 1,    // as it is spelled on disk
};

class FS_DirList {
 public:
  // `files` must outlive this object.
  explicit FS_DirList(os::Files& files) : files_(files) { InitClassVars(); }

  // Back to the initial settings, without lists and results.
  void InitClassVars();

  bool IncludeFiles = true;
  // Folders are reported whatever their names, each behind what was found in it; masks and exclusions are for files.
  bool IncludeDirs = false;
  // Files with a read-only, hidden, system or archive attribute that is missing here are left out; with the initial value
  // none is.
  std::int32_t FileAttribs = 167;
  // How many levels below a search path are searched; -1 all, 0 none. A junction or symbolic link is a sub-folder too, but
  // one that leads to a folder it lies in, or where another one has led, is not entered.
  std::int32_t RecursionLevel = -1;
  DirListObject ReturnObjectType = DirListObject::ReportedPath;

  void AddSearchPath(TextView path) { searchPaths_.emplace_back(path); }
  // See MatchesMask. Without a mask no file is found.
  void AddFileMask(TextView mask) { masks_.emplace_back(mask); }

  // Searches each path in the order added; a sub-folder is searched where it is met. Results come in the order of the
  // file system. A folder that does not exist is reported and skipped.
  void StartSearch();

  // The files found by their full paths as spelled on disk, to open and to show them.
  [[nodiscard]] const std::vector<Text>& MatchingFilesOnDisk() const { return filesOnDisk_; }
  [[nodiscard]] const std::vector<Text>& MatchingDirsOnDisk() const { return dirsOnDisk_; }
  // --- For other programs of the family; the service itself does not call these ---

  // Texts that a file's name, or the name of a sub-folder to be entered, must not contain; empty ones do not count.
  void AddFileInStrExclusion(TextView text) { fileExclusions_.emplace_back(text); }
  void AddRecursiveSubDirInStrExclusion(TextView text) { dirExclusions_.emplace_back(text); }
  // Names and full paths in lower case, of files and reported folders in the order in which they were found.
  [[nodiscard]] const std::vector<Text>& MatchingFileNames() const { return fileNames_; }
  [[nodiscard]] const std::vector<Text>& MatchingFilesFullPath() const { return filesFullPath_; }
  [[nodiscard]] std::size_t MatchingFileCount() const { return filesOnDisk_.size(); }
  [[nodiscard]] std::size_t MatchingDirCount() const { return dirsOnDisk_.size(); }
  [[nodiscard]] std::size_t MatchingFileAndDirCount() const { return filesOnDisk_.size() + dirsOnDisk_.size(); }
  // One full path out of the results; empty when there is none. GetSingleFileResult gives the first one.
  Text GetSingleFileResult();
  Text GetNewestFileByModifiedDate();
  Text GetNewestFileByVersion();

 private:
  struct OpenFolder {
    Text pathBS;  // ends in "\"
    std::vector<os::DirEntry> entries;
    std::size_t next = 0;
    std::int32_t level = 0;
    Text name = {};  // in its parent; empty of a search path
  };

  void SearchDir(TextView sPath);
  [[nodiscard]] std::optional<OpenFolder> List(TextView sPath, std::int32_t lRecursionLevel);
  [[nodiscard]] OpenFolder Enter(const os::DirEntry& entry, const std::vector<OpenFolder>& open);
  [[nodiscard]] bool MayEnter(const os::DirEntry& entry, const OpenFolder& parent) const;
  [[nodiscard]] static std::vector<Text> FoldersAbove(const std::vector<OpenFolder>& open);
  [[nodiscard]] bool MayFollow(const Text& link, const std::vector<OpenFolder>& open);
  [[nodiscard]] bool IsWanted(const os::DirEntry& file) const;
  void ReportFolder(OpenFolder& folder);
  void Report(std::vector<Text>& onDisk, const Text& path, const Text& name);
  [[nodiscard]] Text Chosen(std::size_t at) const;
  // The index of the file for which `key` gives the greatest value; none without files.
  template <class KeyOf>
  [[nodiscard]] std::optional<std::size_t> Greatest(class Proc& proc, KeyOf keyOf);

  os::Files& files_;
  std::vector<Text> searchPaths_;
  std::vector<Text> masks_;
  std::vector<Text> fileExclusions_;
  std::vector<Text> dirExclusions_;
  std::vector<os::FileStamp> followed_;  // where links have led, by identity
  Text joinedMasks_;
  std::vector<Text> fileNames_;
  std::vector<Text> filesFullPath_;
  std::vector<Text> filesOnDisk_;
  std::vector<Text> dirsOnDisk_;
};

// True when the name matches the mask: "*" stands for any characters, "?" for exactly one; without regard to case. "*.*"
// matches every name. Several masks may be joined with ";": one of them must match. Blanks around a mask do not count; an
// empty mask matches nothing.
[[nodiscard]] bool MatchesMask(TextView name, TextView masks);

}  // namespace ovs

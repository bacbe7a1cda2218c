// Port: files and folders.
//
// Paths are Windows-style texts ("C:\a\b", "\\server\share\x", or extended "\\?\" forms). A native build maps "Z:\x" to
// the folder /x and finds names without regard to case when no name matches exactly.
//
// Every call returns how it ended (see os/Error.h); `out` counts only when it did its work, unless its comment says what a
// failure leaves. Any call may fail with 3 or 123 for a text that is no path, 5 where rights are missing or the name is a
// device's, 32 while another program keeps the file to itself, and others that only a log shows. No call throws for a
// failure of the system; only memory can run out. All calls are made from one thread at a time. Objects must not outlive
// the Files that made them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

using FileTicks = std::int64_t;  // 100 ns since 1601-01-01 00:00 UTC

namespace FileAttribute {
inline constexpr std::uint32_t kReadOnly = 0x1;
inline constexpr std::uint32_t kHidden = 0x2;
inline constexpr std::uint32_t kSystem = 0x4;
inline constexpr std::uint32_t kDirectory = 0x10;
inline constexpr std::uint32_t kArchive = 0x20;
inline constexpr std::uint32_t kNormal = 0x80;
// The entry stands for another place: a symbolic link, a junction, a mount point. Not set for files that a driver keeps in a
// way of its own (deduplicated, in the cloud): they are files like any other.
inline constexpr std::uint32_t kReparsePoint = 0x400;
}  // namespace FileAttribute

struct FileInfo {
  std::uint32_t attributes = 0;  // FileAttribute bits
  std::uint64_t size = 0;        // bytes
  FileTicks created = 0;
  FileTicks accessed = 0;
  FileTicks modified = 0;

  [[nodiscard]] bool IsDirectory() const { return (attributes & FileAttribute::kDirectory) != 0; }
};

// The identity of one state of one file. Two equal stamps mean: the same file, not written in between, as far as the
// file system's times can tell.
struct FileStamp {
  std::uint64_t volume = 0;
  std::uint64_t index = 0;  // file number on its volume
  std::uint64_t size = 0;
  FileTicks modified = 0;
  FileTicks changed = 0;  // last change of content or attributes; 0 where the system does not tell

  bool operator==(const FileStamp&) const = default;
};

struct DirEntry {
  Text name;  // as it is on disk, without folder; never "." or ".."
  FileInfo info;
  FileStamp stamp;  // volume, and where the system does not tell them index and change time, are 0
};

struct FileVersion {
  std::uint16_t part[4] = {0, 0, 0, 0};
};

// A file opened for reading. Other programs may read, write, rename and delete it meanwhile.
class ReadFile {
 public:
  virtual ~ReadFile() = default;
  // Size and identity of the open file.
  virtual Error Stamp(FileStamp& out) = 0;
  // Reads up to buffer.size() bytes from `offset`; `got` is 0 at the end of the file. A failure leaves 0 in `got`, and in
  // the buffer what it likes.
  virtual Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) = 0;
};

// A file opened for appending. Other programs may read, rotate and delete it meanwhile.
class AppendFile {
 public:
  virtual ~AppendFile() = default;
  virtual Error Stamp(FileStamp& out) = 0;
  // Appends all bytes by one write, or none: what a failing write left behind is cut off again, unless another program has
  // appended meanwhile. 112 when the disk is full.
  virtual Error Append(std::string_view bytes) = 0;
  // Cuts off all behind the first `to` bytes of a file of `from` bytes; 32 when it has another size by now, because another
  // program writes to it too.
  virtual Error Shorten(std::uint64_t from, std::uint64_t to) = 0;
};

class Files {
 public:
  virtual ~Files() = default;

  // Attributes, size and times of a file or folder. IsNotFound when there is none.
  virtual Error Info(TextView path, FileInfo& out) = 0;

  // A plain file alone: a folder, pipe or device fails with 5. IsNotFound when there is none. A failure leaves `out` null,
  // here and in OpenAppend.
  virtual Error OpenRead(TextView path, std::unique_ptr<ReadFile>& out) = 0;
  // Opens for appending; a missing file is created, a missing folder is not (3).
  virtual Error OpenAppend(TextView path, std::unique_ptr<AppendFile>& out) = 0;
  // Writes a file whole: a new one, or one whose content is replaced, flushed to the disk before the call returns. A
  // failure may leave the file empty or with a part of the bytes: what must not be lost is written beside it and renamed.
  virtual Error Write(TextView path, std::string_view bytes) = 0;
  // All that was written to an existing file is on the disk when the call returns, by whatever handle it was written.
  virtual Error Flush(TextView path) = 0;
  // Renames within one volume; an existing file of the new name is replaced. A failure leaves both as they were; 5 when the
  // new name is a folder's or a read-only file's.
  virtual Error Rename(TextView from, TextView to) = 0;
  // Deletes a file; a folder or a read-only file stays (5).
  virtual Error Delete(TextView path) = 0;
  // Deletes an empty folder; one that holds something stays (145).
  virtual Error RemoveDir(TextView path) = 0;

  // Creates one folder; 183 when the name exists, 3 when its parent does not.
  virtual Error CreateDir(TextView path) = 0;
  // Creates all folders up to the last "\" of a plain path below 248 characters (else 206). A failure leaves those that it
  // made.
  virtual Error MakeSureDirectoryPathExists(TextView path) = 0;
  // Appends the entries of a folder in file-system order. A failure leaves the entries that were read; IsNotFound or 267
  // when there is no such folder.
  virtual Error List(TextView folder, std::vector<DirEntry>& out) = 0;

  // What a folder is, whatever path leads to it, through links too: volume and index of the stamp alone. Fails as List.
  virtual Error FolderIdentity(TextView folder, FileStamp& out) = 0;

  // The long form of a path that may have short (8.3) parts.
  virtual Error LongPathName(TextView path, Text& out) = 0;
  // The fixed file version of a program or library; 1812 or 1813 when it has none.
  virtual Error Version(TextView path, FileVersion& out) = 0;
  // The name of the file system of a volume, such as "NTFS"; `root` is a drive root "C:\".
  virtual Error FileSystemName(TextView root, Text& out) = 0;
  virtual Error SetCurrentDir(TextView path) = 0;
  // The folder for temporary files, ending in "\".
  virtual Error TempFolder(Text& out) = 0;
};

// The files of the machine the program runs on.
Files& SystemFiles();

// --- For files that hold secrets ---

// Replaces the file's content whole, or makes the file: another file beside it is written, flushed and renamed, and removed
// again when that fails. At no moment may anybody read either who may not read the file now; one that is new has the
// rights of its folder on Windows and is its owner's alone elsewhere. A failure leaves the file as it was. What is
// read-only or no plain file is refused.
Error ReplaceFileSafely(TextView path, std::string_view bytes);

}  // namespace ovs::os

// Files and folders on disk, traced. No operation raises: a failure is a false or empty result and a debug entry.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

#include "base/Text.h"
#include "diag/Proc.h"
#include "os/Files.h"
#include "os/System.h"
#include "platform/TextFileWriter.h"

namespace ovs {

enum class SaveMode {
  Append,              // at the end of the file, by one write
  Replace,             // in place of the file, which other programs see whole, before or after
  AppendNoDuplicates,  // as Append, unless the file has the text already (see SaveTextToFile)
};

class App_FileSystem {
 public:
  // Both must outlive this object.
  explicit App_FileSystem(os::Files& files, os::System& system);

  [[nodiscard]] os::Files& Files() { return files_; }

  // Makes the folder and its parents unless it exists; a file in its place is removed. `lFailReason` is a system error
  // number, 0 when no creating call failed.
  bool EnsureDirExists(TextView sDir, std::uint32_t& lFailReason);
  // Makes the folders of a path one by one from its root, passing over "access denied" and "already exists".
  bool CreateDirW(TextView destDir, std::uint32_t& lFailReason);
  bool DirExist(TextView sDir);
  // True when a new file can be made in the folder.
  bool HasWriteAccess(TextView sDir);

  // A folder is no file. With `bEnsureNonZeroByte` a file of 0 bytes counts as missing.
  bool FileExist(TextView sFile, bool bEnsureNonZeroByte = false);
  bool FileDelete(TextView sFile);

  // The decoded text of a file of up to kMaxTextFileBytes. `refusal`, where given, tells why a file that is there was not
  // read.
  bool GetFileToString(TextView sFile, Text& out, Text* refusal = nullptr);
  // The same, cut into lines at CR LF and nowhere else. A CR LF at the end of the file begins no further line.
  bool GetFileToArray(TextView sFile, std::vector<Text>& lines);

  // Writes a text as it is; a missing folder is made. New files are UTF-8 without a mark, an existing one is continued in
  // its encoding; what this cannot carry is replaced (see EncodeFor) and noted, and half a character that an interrupted
  // write left at the end is cut off. A file that another program keeps to itself is tried again for 200 ms, but not at the
  // next call, when it is still kept. A failed write leaves the file as it was.
  //
  // AppendNoDuplicates: the text without its own final CR LF is there already when it stands anywhere in the file
  // followed by CR LF or by the end of the file, without regard to case. The result is then true and nothing is written.
  bool SaveTextToFile(TextView sText, TextView sFile, SaveMode mode);

  // --- For other programs of the family; the service itself does not call these ---

  bool SetCurrentDir(TextView sPath);
  // As FileExist, of a NUL-terminated text; false for a null pointer.
  bool FileExistByStringPointer(const char16_t* lStringPointer);
  // True when a folder (`Obj_Is_Dir`) or a file (otherwise) of the name exists.
  bool FSObjectExistByStringPointer(const char16_t* lStringPointer, bool Obj_Is_Dir);
  // Deletes the files of a folder (not of its sub-folders) that match the mask; false when one could not be deleted.
  bool DeleteFilesInPath(TextView sPath, TextView sFileMask);
  // Attributes, size and times of a file or folder.
  bool GetFileWFAD(TextView sFile, os::FileInfo& info);
  // "1.2.3.4"; with `bImposeVBLimitIfPossible` "1.2.4" when the third number is 0, the three numbers of a VB version.
  // Empty when the file has no version.
  Text GetFileVersion(TextView sFile, bool bImposeVBLimitIfPossible = false);
  // The file system's name, such as "NTFS", of a drive given as "C", "C:" or "C:\".
  Text GetFileSystemType_AsString(TextView sDriveLetter);
  // A new empty file "vtt<number>.tmp" in the given folder or the one for temporary files; with
  // `bRemoveFileBeforeReturn` only its name. Empty on failure.
  Text GetTempFile(TextView sAltPath = {}, bool bRemoveFileBeforeReturn = false, bool bEnsurePathExists = false);
  // The path with its short (8.3) parts replaced; unchanged on failure.
  Text MakeLongPath(TextView sPath);

 private:
  // Bounds the memory; a file beyond it is tried for its time at each call.
  static constexpr std::size_t kMaxInUse = 16;

  bool ForceDelete(TextView sFile);
  bool RemoveFileInTheWay(Proc& proc, TextView dir);
  bool CreateMissing(Proc& proc, TextView dir, std::uint32_t& failReason);
  bool ReportCreated(Proc& proc, TextView dir, bool created, bool usedW);
  Text TempFolder();
  Text NewTempName(TextView folder);
  SaveOutcome Save(TextView text, TextView file, SaveMode mode);
  SaveOutcome SavePatiently(TextView text, TextView path, SaveMode mode);
  bool ReportSaved(Proc& proc, TextView path, const SaveOutcome& outcome);

  os::Files& files_;
  os::System& system_;
  TextFileWriter writer_;
  std::set<Text, std::less<>> inUse_;  // files that could not be written for that reason when they were last tried
  std::uint32_t tempNumber_ = 0;
};

}  // namespace ovs

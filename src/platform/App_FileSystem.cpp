#include "platform/App_FileSystem.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_FileSystem";

}  // namespace

App_FileSystem::App_FileSystem(os::Files& files, os::System& system)
    : files_(files), system_(system), writer_(files, system.ProcessId()) {}

bool App_FileSystem::DirExist(TextView sDir) {
  Proc proc(kModule, u"DirExist", ProcKind::Function);
  proc.ByVal(u"sDir", sDir);
  return proc.Run(false, [&] {
    os::FileInfo info;
    return files_.Info(App_FilePath::PortPath(sDir), info).Ok() && info.IsDirectory();
  });
}

bool App_FileSystem::HasWriteAccess(TextView sDir) {
  Proc proc(kModule, u"HasWriteAccess", ProcKind::Function);
  proc.ByVal(u"sDir", sDir);
  return proc.Run(false, [&] {
    const Text probe = NewTempName(sDir);
    const os::Error error = probe.empty() ? os::kSuccess : files_.Write(App_FilePath::PortPath(probe), {});
    if (probe.empty() || error.Failed()) {
      proc.Fail(error).Log(u"No write access!", EventType::Verbose, {}, {}, u"2,3,5,19");
      return false;
    }
    if (const os::Error left = files_.Delete(App_FilePath::PortPath(probe)); left.Failed()) {
      proc.Fail(left).Log(u"The file of the test could not be deleted: " + probe, EventType::ApiError);
    }
    return true;
  });
}

bool App_FileSystem::SetCurrentDir(TextView sPath) {
  Proc proc(kModule, u"SetCurrentDir", ProcKind::Function);
  proc.ByVal(u"sPath", sPath);
  return proc.Run(false, [&] {
    const os::Error error = files_.SetCurrentDir(sPath);
    if (error.Ok()) return true;
    proc.Fail(error).Log(u"SetCurrentDirectoryW failure!", EventType::ApiError);
    return false;
  });
}

bool App_FileSystem::FileExist(TextView sFile, bool bEnsureNonZeroByte) {
  Proc proc(kModule, u"FileExist", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"bEnsureNonZeroByte", bEnsureNonZeroByte);
  return proc.Run(false, [&] {
    if (sFile.empty()) {
      proc.Log(u"Passed empty string!");
      return false;
    }
    os::FileInfo info;
    if (const os::Error error = files_.Info(App_FilePath::PortPath(sFile), info); error.Failed()) {
      if (error == SystemError::kPathNotFound) {
        proc.Log(u"Path not found!", EventType::Verbose);
      } else if (error == SystemError::kFileNotFound) {
        proc.Log(u"File not found!", EventType::Verbose);
      } else {
        proc.Log(u"API Error: " + Diagnostics().GetSystemMsg(error.Number(), true), EventType::ApiError);
      }
      return false;
    }
    const bool zeroByte = bEnsureNonZeroByte && info.size == 0;
    if (info.IsDirectory()) {
      proc.Log(u"File not found!", EventType::Verbose);
    } else {
      proc.Log(zeroByte ? u"Zero Byte File!" : u"File exists!", EventType::Verbose);
    }
    return !info.IsDirectory() && !zeroByte;
  });
}

bool App_FileSystem::FileExistByStringPointer(const char16_t* lStringPointer) {
  Proc proc(kModule, u"FileExistByStringPointer", ProcKind::Function);
  return proc.Run(false, [&] { return FSObjectExistByStringPointer(lStringPointer, false); });
}

bool App_FileSystem::FSObjectExistByStringPointer(const char16_t* lStringPointer, bool Obj_Is_Dir) {
  Proc proc(kModule, u"FSObjectExistByStringPointer", ProcKind::Function);
  proc.ByVal(u"Obj_Is_Dir", Obj_Is_Dir);
  return proc.Run(false, [&] {
    os::FileInfo info;
    if (lStringPointer == nullptr || *lStringPointer == u'\0') return false;
    return files_.Info(App_FilePath::PortPath(lStringPointer), info).Ok() && info.IsDirectory() == Obj_Is_Dir;
  });
}

bool App_FileSystem::FileDelete(TextView sFile) {
  Proc proc(kModule, u"FileDelete", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  return proc.Run(false, [&] {
    const Text path = App_FilePath::PortPath(sFile);
    const os::Error error = files_.Delete(path);
    if (error.Ok()) return true;
    os::FileInfo info;
    const bool isFolder = files_.Info(path, info).Ok() && info.IsDirectory();
    const TextView message = isFolder ? u"DeleteFileW failed; file is a directory!" : u"DeleteFileW failed!";
    proc.Fail(error).Log(message, EventType::ApiError);
    return false;
  });
}

bool App_FileSystem::DeleteFilesInPath(TextView sPath, TextView sFileMask) {
  Proc proc(kModule, u"DeleteFilesInPath", ProcKind::Function);
  proc.ByVal(u"sPath", sPath);
  proc.ByVal(u"sFileMask", sFileMask);
  return proc.Run(false, [&] {
    std::vector<os::DirEntry> entries;
    const os::Error error = files_.List(App_FilePath::PortPath(sPath), entries);
    if (error.Failed()) proc.Fail(error).Log(u"Path cannot be read!", EventType::ApiError);
    Text deleted;
    Text kept;
    for (const os::DirEntry& entry : entries) {
      if (entry.info.IsDirectory() || !MatchesMask(entry.name, sFileMask)) continue;
      (FileDelete(App_FilePath::JoinPath(sPath, entry.name)) ? deleted : kept) += entry.name + u"\r\n";
    }
    if (!deleted.empty()) proc.Log(u"Deleted:\r\n" + deleted, EventType::Verbose);
    if (!kept.empty()) proc.Log(u"Not deleted:\r\n" + kept);
    return error.Ok() && kept.empty();
  });
}

bool App_FileSystem::GetFileWFAD(TextView sFile, os::FileInfo& info) {
  Proc proc(kModule, u"GetFileWFAD", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  return proc.Run(false, [&] {
    const os::Error error = files_.Info(App_FilePath::PortPath(sFile), info);
    if (error.Ok()) return true;
    if (error.IsNotFound()) {
      proc.Log(u"File does not exist!", EventType::Verbose);
    } else {
      proc.Fail(error).Log(u"GetFileAttributesExW failure!", EventType::ApiError);
    }
    return false;
  });
}

Text App_FileSystem::GetFileVersion(TextView sFile, bool bImposeVBLimitIfPossible) {
  Proc proc(kModule, u"GetFileVersion", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"bImposeVBLimitIfPossible", bImposeVBLimitIfPossible);
  return proc.Run(Text(), [&] {
    os::FileVersion version;
    if (const os::Error error = files_.Version(App_FilePath::PortPath(sFile), version); error.Failed()) {
      proc.Fail(error).Log(u"GetFileVersionInfoW failure!", EventType::Normal, {}, {}, u"2,3,1812,1813");
      return Text();
    }
    const bool threeNumbers = bImposeVBLimitIfPossible && version.part[2] == 0;
    Text text = NumberText(version.part[0]) + u"." + NumberText(version.part[1]);
    if (!threeNumbers) text += u"." + NumberText(version.part[2]);
    return text + u"." + NumberText(version.part[3]);
  });
}

Text App_FileSystem::GetFileSystemType_AsString(TextView sDriveLetter) {
  Proc proc(kModule, u"GetFileSystemType_AsString", ProcKind::Function);
  proc.ByVal(u"sDriveLetter", sDriveLetter);
  return proc.Run(Text(), [&] {
    const Text letter = App_FilePath::PathToDriveLetter(sDriveLetter);
    if (letter.empty() || sDriveLetter.size() > 3) {
      proc.Log(u"Invalid value passed as drive letter!");
      return Text();
    }
    Text name;
    if (const os::Error error = files_.FileSystemName(letter + u":\\", name); error.Failed()) {
      proc.Fail(error).Log(u"GetVolumeInformationW failure!", EventType::ApiError);
      name.clear();
    }
    return name;
  });
}

Text App_FileSystem::MakeLongPath(TextView sPath) {
  Proc proc(kModule, u"MakeLongPath", ProcKind::Function);
  proc.ByVal(u"sPath", sPath);
  return proc.Run(Text(sPath), [&] {
    Text path;
    const os::Error error = files_.LongPathName(App_FilePath::PortPath(sPath), path);
    if (error.Ok()) return App_FilePath::FixPathFromAPI(path);
    proc.Fail(error).Log(u"GetLongPathNameW failure!", EventType::ApiError);
    return Text(sPath);
  });
}

Text App_FileSystem::TempFolder() {
  Text folder;
  if (files_.TempFolder(folder).Ok() && !folder.empty()) return folder;
  return App_FilePath::JoinPath(App_FilePath::LocalPathFromEnvVar(system_, u"SystemRoot"), u"Temp\\");
}

Text App_FileSystem::NewTempName(TextView folder) {
  constexpr std::uint32_t kNumbers = 0x10000;
  constexpr TextView kDigits = u"0123456789ABCDEF";
  if (tempNumber_ == 0) tempNumber_ = system_.ProcessId() * 31;
  for (std::uint32_t tried = 0; tried < kNumbers; ++tried) {
    const std::uint32_t number = ++tempNumber_ % kNumbers;
    Text name = u"vtt";
    for (int shift = 12; shift >= 0; shift -= 4) name += kDigits[(number >> shift) & 0xF];
    Text path = App_FilePath::JoinPath(folder, name + u".tmp");
    os::FileInfo info;
    if (files_.Info(App_FilePath::PortPath(path), info).Failed()) return path;
  }
  return {};
}

Text App_FileSystem::GetTempFile(TextView sAltPath, bool bRemoveFileBeforeReturn, bool bEnsurePathExists) {
  Proc proc(kModule, u"GetTempFile", ProcKind::Function);
  proc.ByVal(u"sAltPath", sAltPath);
  proc.ByVal(u"bRemoveFileBeforeReturn", bRemoveFileBeforeReturn);
  proc.ByVal(u"bEnsurePathExists", bEnsurePathExists);
  return proc.Run(Text(), [&] {
    const Text folder = sAltPath.empty() ? TempFolder() : Text(sAltPath);
    std::uint32_t failReason = 0;
    if (bEnsurePathExists && !EnsureDirExists(folder, failReason)) {
      proc.Log(u"Could not create path!");
      return Text();
    }
    Text path = NewTempName(folder);
    const os::Error error = path.empty() ? os::kSuccess : files_.Write(App_FilePath::PortPath(path), {});
    if (path.empty() || error.Failed()) {
      proc.Fail(error).Log(u"GetTempFileNameW failure!", EventType::ApiError);
      return Text();
    }
    if (bRemoveFileBeforeReturn) FileDelete(path);
    return path;
  });
}

}  // namespace ovs

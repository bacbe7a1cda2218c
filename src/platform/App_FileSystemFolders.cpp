// The part of App_FileSystem that makes folders.
#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"
#include "platform/App_FileSystem.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_FileSystem";
// The call that makes all folders at once takes less than 248 characters, trailing "\" included.
constexpr std::size_t kFirstLengthForW = 245;

Text ErrorPhrase(std::uint32_t number) { return NumberText(number) + u" " + Diagnostics().GetSystemMsg(number); }

}  // namespace

bool App_FileSystem::EnsureDirExists(TextView sDir, std::uint32_t& lFailReason) {
  Proc proc(kModule, u"EnsureDirExists", ProcKind::Function);
  proc.ByVal(u"sDir", sDir);
  proc.ReturnedByRef(u"lFailReason", lFailReason);
  lFailReason = 0;
  return proc.Run(false, [&] {
    const TextView dir = App_Strings::TrimBlanks(sDir);
    if (dir.find(u':') == TextView::npos && dir.find(u"\\\\") == TextView::npos) {
      proc.Log(Text(u"Passed bad string (no colon or \\\\ in string) for sDir: [").append(sDir) + u"]");
      return false;
    }
    if (DirExist(dir)) {
      proc.Log(u"DirExist = True!", EventType::Verbose);
      return true;
    }
    return RemoveFileInTheWay(proc, dir) && CreateMissing(proc, dir, lFailReason);
  });
}

bool App_FileSystem::RemoveFileInTheWay(Proc& proc, TextView dir) {
  // No file is found by a name that ends in "\".
  const Text file = App_Strings::StripTrailingBackslash(dir);
  if (!FileExist(file)) return true;
  if (!FileDelete(file) && !ForceDelete(file)) {
    proc.Log(u"Aborting; failure to remove existing file!");
    return false;
  }
  proc.Log(u"A file existed of same name, but was deleted successfully!");
  return true;
}

// A file that is in use or protected can often still be renamed, which frees its name.
bool App_FileSystem::ForceDelete(TextView sFile) {
  Proc proc(kModule, u"ForceDelete", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  return proc.Run(false, [&] {
    const Text aside = Text(sFile) + u"." + NumberText(system_.ProcessId()) + u".old";
    if (const os::Error error = files_.Rename(App_FilePath::PortPath(sFile), App_FilePath::PortPath(aside));
        error.Failed()) {
      proc.Fail(error).Log(u"MoveFileExW failed!", EventType::ApiError);
      return false;
    }
    if (const os::Error error = files_.Delete(App_FilePath::PortPath(aside)); error.Failed()) {
      proc.Fail(error).Log(u"The file was renamed but could not be deleted: " + aside);
    }
    return true;
  });
}

bool App_FileSystem::CreateMissing(Proc& proc, TextView dir, std::uint32_t& failReason) {
  if (App_FilePath::PathNeedsWideAPI(dir) || dir.size() >= kFirstLengthForW) {
    return ReportCreated(proc, dir, CreateDirW(dir, failReason), true);
  }
  const os::Error firstFailure = files_.MakeSureDirectoryPathExists(App_FilePath::JoinPath(dir, {}));
  if (firstFailure.Ok()) return ReportCreated(proc, dir, true, false);
  proc.Log(u"MakeSureDirectoryPathExists failure, sending to CreateDirW...");
  const bool created = CreateDirW(dir, failReason);
  failReason = firstFailure.Number();
  return ReportCreated(proc, dir, created, true);
}

bool App_FileSystem::ReportCreated(Proc& proc, TextView dir, bool created, bool usedW) {
  if (!DirExist(dir)) {
    proc.Log(usedW ? u"Completed via CreateDirectoryW; DirExist = False!"
                   : u"Completed via MakeSureDirectoryPathExists; DirExist = False!");
    return false;
  }
  if (created) {
    proc.Log(u"Completed; Success = True!", EventType::Verbose);
  } else {
    proc.Log(u"Completed; Success <> True, yet DirExist = True; returning success!");
  }
  return true;
}

bool App_FileSystem::CreateDirW(TextView destDir, std::uint32_t& lFailReason) {
  Proc proc(kModule, u"CreateDirW", ProcKind::Function);
  proc.ByVal(u"destDir", destDir);
  proc.ReturnedByRef(u"lFailReason", lFailReason);
  lFailReason = 0;
  return proc.Run(false, [&] {
    const std::size_t rootLength = App_FilePath::RootLength(destDir);
    Text prefix(destDir.substr(0, rootLength));
    for (const TextView name : App_Strings::SplitViews(destDir.substr(rootLength), u"\\")) {
      if (name.empty()) continue;
      prefix = App_FilePath::JoinPath(prefix, name);
      if (DirExist(prefix)) continue;
      const os::Error error = files_.CreateDir(App_FilePath::PortPath(prefix));
      if (error.Ok()) continue;
      lFailReason = error.Number();
      if (error == SystemError::kAccessDenied || error == SystemError::kAlreadyExists) continue;
      proc.Log(u"Aborting; CreateDirectoryW Failure, Error " + ErrorPhrase(lFailReason));
      break;
    }
    return DirExist(destDir);
  });
}

}  // namespace ovs

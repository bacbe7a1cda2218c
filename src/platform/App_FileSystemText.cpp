// The part of App_FileSystem that reads and writes text files.
#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"
#include "platform/App_FileSystem.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_FileSystem";
constexpr int kTries = 8;
constexpr std::uint32_t kPauseMilliseconds = 25;

// By another program. A file that is to be replaced while it is open elsewhere is refused with "access denied".
bool IsInUse(os::Error error, SaveMode mode) {
  return error == SystemError::kSharingViolation || error == SystemError::kLockViolation ||
         (mode == SaveMode::Replace && error == SystemError::kAccessDenied);
}

}  // namespace

bool App_FileSystem::GetFileToString(TextView sFile, Text& out, Text* refusal) {
  Proc proc(kModule, u"GetFileToString", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  out.clear();
  return proc.Run(false, [&] {
    std::string bytes;
    const ReadOutcome outcome = ReadFileBytes(files_, App_FilePath::PortPath(sFile), bytes);
    if (outcome == ReadOutcome::Ok) {
      out = DecodeFile(bytes);
      return true;
    }
    const Text reason = DescribeReadOutcome(outcome);
    proc.Log(Text(u"Cannot read file [").append(sFile) + u"]: " + reason,
             outcome == ReadOutcome::Missing ? EventType::Verbose : EventType::Normal);
    if (refusal != nullptr && outcome != ReadOutcome::Missing) *refusal = reason;
    return false;
  });
}

bool App_FileSystem::GetFileToArray(TextView sFile, std::vector<Text>& lines) {
  Proc proc(kModule, u"GetFileToArray", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  lines.clear();
  return proc.Run(false, [&] {
    Text content;
    if (!GetFileToString(sFile, content)) return false;
    for (std::size_t start = 0; start < content.size();) {
      const std::size_t end = std::min(content.find(kCrLf, start), content.size());
      lines.push_back(content.substr(start, end - start));
      start = end + kCrLf.size();
    }
    return true;
  });
}

SaveOutcome App_FileSystem::SavePatiently(TextView text, TextView path, SaveMode mode) {
  const auto inUse = inUse_.find(path);
  const bool wasInUse = inUse != inUse_.end();
  SaveOutcome outcome = Save(text, path, mode);
  for (int tries = 1; !wasInUse && tries < kTries && IsInUse(outcome.error, mode); ++tries) {
    system_.Pause(kPauseMilliseconds);
    outcome = Save(text, path, mode);
  }
  const bool isInUse = IsInUse(outcome.error, mode);
  if (wasInUse && !isInUse) inUse_.erase(inUse);
  if (!wasInUse && isInUse && inUse_.size() < kMaxInUse) inUse_.emplace(path);
  return outcome;
}

SaveOutcome App_FileSystem::Save(TextView text, TextView file, SaveMode mode) {
  const Text path = App_FilePath::PortPath(file);
  switch (mode) {
    case SaveMode::Replace:
      return writer_.Replace(path, text);
    case SaveMode::AppendNoDuplicates:
      return writer_.AppendNoDuplicates(path, text);
    case SaveMode::Append:
      break;
  }
  return writer_.Append(path, text);
}

bool App_FileSystem::SaveTextToFile(TextView sText, TextView sFile, SaveMode mode) {
  Proc proc(kModule, u"SaveTextToFile", ProcKind::Function);
  proc.ByVal(u"sText", sText);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"SaveMode", mode);
  return proc.Run(false, [&] {
    SaveOutcome outcome = SavePatiently(sText, sFile, mode);
    const Text folder = App_FilePath::FolderOf(sFile);
    std::uint32_t failReason = 0;
    if (outcome.error.IsNotFound() && !DirExist(folder) && EnsureDirExists(folder, failReason)) {
      outcome = Save(sText, sFile, mode);
    }
    return ReportSaved(proc, sFile, outcome);
  });
}

bool App_FileSystem::ReportSaved(Proc& proc, TextView path, const SaveOutcome& outcome) {
  if (outcome.alreadyThere) proc.Log(u"The file has this text already!", EventType::Verbose);
  if (!outcome.lossless) {
    proc.Log(Text(u"Characters that the encoding of the file cannot carry were replaced: [").append(path) + u"]");
  }
  if (outcome.cutOff) {
    proc.Log(Text(u"Half a character, as an interrupted write leaves it, was cut off the end of the file: [").append(path) +
             u"]");
  }
  if (outcome.error.Failed()) {
    const Text reason = Diagnostics().GetSystemMsg(outcome.error.Number(), true);
    proc.Fail(outcome.error).Log(Text(u"Cannot write file [").append(path) + u"]: " + reason, EventType::ApiError);
  }
  return outcome.error.Ok();
}

}  // namespace ovs

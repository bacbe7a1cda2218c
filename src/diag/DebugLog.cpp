#include "diag/DebugLog.h"

#include <utility>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/PendingError.h"

namespace ovs {

namespace {

// Splits at the last "." of the name; without one the extension is empty.
void SplitExtension(TextView path, TextView& base, TextView& extension) {
  const std::size_t dot = path.rfind(u'.');
  const std::size_t backslash = path.rfind(u'\\');
  const bool hasExtension = dot != TextView::npos && (backslash == TextView::npos || dot > backslash);
  base = hasExtension ? path.substr(0, dot) : path;
  extension = hasExtension ? path.substr(dot) : TextView();
}

Text DroppedNote(std::uint64_t count) {
  return u"Debug log was not writable: " + NumberText(static_cast<std::int64_t>(count)) +
         u" older entries were dropped.\r\n\r\n";
}

// The log is this module's own: without a mark it is UTF-8.
FileEncoding EncodingOf(os::Files& files, TextView path) {
  const std::string_view utf16Mark = MarkOf(FileEncoding::Utf16Le);
  std::unique_ptr<os::ReadFile> existing;
  char start[2] = {};
  std::size_t got = 0;
  const bool read = files.OpenRead(path, existing).Ok() && existing->ReadAt(0, start, got).Ok();
  return read && std::string_view(start, got) == utf16Mark ? FileEncoding::Utf16Le : FileEncoding::Utf8;
}

}  // namespace

void DebugLog::Attach(os::Files* files, os::System* system, DebugEnvironment environment) {
  files_ = files;
  system_ = system;
  environment_ = std::move(environment);
}

void DebugLog::SetGrowthStep(std::uint32_t step) noexcept {
  run_.SetGrowthStep(step);
  pending_.SetGrowthStep(step);
}

bool DebugLog::IsWritten(EventType type) const noexcept {
  return options_.verbose || !(type == EventType::Verbose || IsFlow(type));
}

// Masked once more as a whole: a secret may have come together only here, out of two parts.
void DebugLog::Deliver(DebugMessage parts) {
  const Text body = secrets_.Masked(ConstructDebugMsg(parts));
  Text entry = clock_.NowText();
  if (!entry.empty()) entry += u" ";
  entry.append(GetEventTypeAsString(parts.type)).append(u" Event\r\n").append(body);

  const struct Delivering {
    explicit Delivering(bool& flag) : flag_(flag) { flag_ = true; }
    ~Delivering() { flag_ = false; }
    bool& flag_;
  } delivering(delivering_);
  if (options_.systemOutput && system_ != nullptr) {
    const TextView shown = parts.message.empty() ? kNoMessage : parts.message;
    const Text prefixed = u"[" + options_.systemOutputPrefix + u"]  " + Text(shown);
    parts.message = prefixed;
    system_->DebugOutput(u"\r\n" + secrets_.Masked(ConstructDebugMsg(parts)));
  }
  AddEntry(entry);
  if (listener_) listener_(entry, parts.type);
}

void DebugLog::AddEntry(TextView entry) {
  run_.Append(entry);
  pending_.Append(entry);
  Write(true);
}

void DebugLog::DebugOutput(TextView text) {
  if (options_.systemOutput && system_ != nullptr) system_->DebugOutput(secrets_.Masked(text));
}

Text DebugLog::FileFor(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const {
  const Text defaultFolder = environment_.dataFolder + Text(kDebugLogsFolder);
  const Text defaultName = environment_.programFileName + u".log";
  Text path = App_Strings::StripTrailingBackslash(folder.size() < 4 ? TextView(defaultFolder) : folder);
  path.append(u"\\").append(subFolder.empty() ? TextView(environment_.subFolder) : subFolder).append(u"\\");

  TextView base;
  TextView extension;
  SplitExtension(fileName.size() < 3 ? TextView(defaultName) : fileName, base, extension);
  path += base;
  if (qualifyName) path += u" " + environment_.qualifier;
  path += u" (" + environment_.instanceNumber + u")";
  return path.append(extension.empty() ? TextView(u".log") : extension);
}

void DebugLog::SetFile(TextView path) {
  const std::size_t backslash = path.rfind(u'\\');
  TextView base;
  TextView extension;
  SplitExtension(path, base, extension);
  path_ = path;
  pathNoExt_ = base;
  folder_ = backslash == TextView::npos ? TextView() : path.substr(0, backslash);
}

void DebugLog::SwitchFile(TextView path) {
  if (App_Strings::StringsMatch(path, path_) || (file_ == nullptr && !wantsOpen_)) return;
  Write(false);
  Close();
  SetFile(path);
}

bool DebugLog::EnsureFolder() {
  const PendingErrorScope keeper;
  if (files_ == nullptr || path_.empty()) return false;
  return environment_.ensureDirExists ? environment_.ensureDirExists(folder_)
                                      : files_->MakeSureDirectoryPathExists(folder_ + u"\\").Ok();
}

// Writes out at once: entries that came before the file was opened belong in front of the next one.
bool DebugLog::StartRealTime() {
  const PendingErrorScope keeper;
  const bool writable = EnsureFolder() && (!environment_.hasWriteAccess || environment_.hasWriteAccess(folder_));
  if (!writable || !Open()) return false;
  Write(true);
  return true;
}

bool DebugLog::Open() noexcept {
  if (file_ != nullptr) return true;
  wantsOpen_ = true;
  if (files_ == nullptr || path_.empty()) return false;
  try {
    encoding_ = EncodingOf(*files_, path_);
    files_->OpenAppend(path_, file_).Ignore();
  } catch (...) {
    file_ = nullptr;
  }
  return file_ != nullptr;
}

void DebugLog::Close() noexcept {
  wantsOpen_ = false;
  file_ = nullptr;
}

// An entry is in the file, or pending, or counted as dropped, whatever fails: the buffer is emptied only when the append has
// succeeded. Closing is what makes other programs, and a system that stops at this moment, see the entry.
void DebugLog::Write(bool reopen) noexcept {
  if (pending_.Used() <= 1 || (file_ == nullptr && !(wantsOpen_ && Open()))) return;
  try {
    const Text note = pending_.DroppedEntries() > 0 ? DroppedNote(pending_.DroppedEntries()) : Text();
    const Text text = note + Text(pending_.UsedText());
    // An append that failed leaves the entries pending; they go with the next one.
    if (file_->Append(EncodeFor(encoding_, text)).Ok()) pending_.Empty();
  } catch (...) {
    file_ = nullptr;
  }
  if (!reopen) return;
  file_ = nullptr;
  Open();
}

}  // namespace ovs

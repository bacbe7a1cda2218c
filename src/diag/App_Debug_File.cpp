// Where the log file lies, and when entries and dumps reach the disk.
#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_DebugState.h"

namespace ovs {

namespace {

constexpr std::size_t kDumpChunk = std::size_t{64} * 1024;

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
  const auto existing = files.OpenRead(path);
  char start[2] = {};
  std::size_t got = 0;
  const bool read = existing != nullptr && existing->ReadAt(0, start, got);
  return read && std::string_view(start, got) == utf16Mark ? FileEncoding::Utf16Le : FileEncoding::Utf8;
}

}  // namespace

Text App_Debug::DebugLogGetLogFileVar(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const {
  const DebugEnvironment& environment = state_->environment;
  const Text defaultFolder = environment.dataFolder + Text(kDebugLogsFolder);
  const Text defaultName = environment.programFileName + u".log";
  Text path = App_Strings::StripTrailingBackslash(folder.size() < 4 ? TextView(defaultFolder) : folder);
  path.append(u"\\").append(subFolder.empty() ? TextView(environment.subFolder) : subFolder).append(u"\\");

  TextView base;
  TextView extension;
  SplitExtension(fileName.size() < 3 ? TextView(defaultName) : fileName, base, extension);
  path += base;
  if (qualifyName) path += u" " + environment.qualifier;
  path += u" (" + environment.instanceNumber + u")";
  return path.append(extension.empty() ? TextView(u".log") : extension);
}

void App_Debug::DebugLogSetLogFileVars(TextView path) {
  const State::Lock lock(state_->mutex);
  state_->SetLogFile(path);
}

void App_Debug::State::SetLogFile(TextView path) {
  const std::size_t backslash = path.rfind(u'\\');
  TextView base;
  TextView extension;
  SplitExtension(path, base, extension);
  logFile = path;
  logFileNoExt = base;
  logExtension = extension;
  logFolder = backslash == TextView::npos ? TextView() : path.substr(0, backslash);
  logName = backslash == TextView::npos ? base : base.substr(backslash + 1);
  spool.SetPath(logFileNoExt + u" Dump_Proc.tmp");
}

Text App_Debug::DebugLogPath(bool withTrailingBackslash) const {
  const Text& folder = state_->logFolder;
  return folder.empty() || !withTrailingBackslash ? folder : folder + u"\\";
}

Text App_Debug::DebugLogFile() const { return state_->logFile; }

Text App_Debug::DebugLogFileNoExt() const { return state_->logFileNoExt; }

Text App_Debug::DebugLogText() const {
  const State::Lock lock(state_->mutex);
  return Text(state_->run.UsedText());
}

bool App_Debug::DebugLogStartRealTime() noexcept {
  try {
    const State::Lock lock(state_->mutex);
    return state_->StartRealTime();
  } catch (...) {
    return false;
  }
}

bool App_Debug::State::StartRealTime() {
  const PendingErrorKeeper keeper;
  if (ports.files == nullptr || logFile.empty()) return false;
  const bool exists = environment.ensureDirExists ? environment.ensureDirExists(logFolder)
                                                  : ports.files->MakeSureDirectoryPathExists(logFolder + u"\\");
  const bool writable = exists && (!environment.hasWriteAccess || environment.hasWriteAccess(logFolder));
  if (!writable || !Open()) return false;
  Write(true);
  return true;
}

bool App_Debug::DebugLogOpen() noexcept {
  const State::Lock lock(state_->mutex);
  return state_->Open();
}

bool App_Debug::State::Open() noexcept {
  if (file != nullptr) return true;
  wantsOpen = true;
  if (ports.files == nullptr || logFile.empty()) return false;
  const PendingErrorKeeper keeper;
  try {
    encoding = EncodingOf(*ports.files, logFile);
    file = ports.files->OpenAppend(logFile);
  } catch (...) {
    file = nullptr;
  }
  return file != nullptr;
}

void App_Debug::DebugLogClose() noexcept {
  const State::Lock lock(state_->mutex);
  state_->Close();
}

void App_Debug::State::Close() noexcept {
  wantsOpen = false;
  file = nullptr;
}

void App_Debug::DebugLogWrite(bool reopen) noexcept {
  const State::Lock lock(state_->mutex);
  state_->Write(reopen);
}

void App_Debug::State::Write(bool reopen) noexcept {
  if (pending.Used() <= 1 || (file == nullptr && !(wantsOpen && Open()))) return;
  const PendingErrorKeeper keeper;
  try {
    const Text note = pending.DroppedEntries() > 0 ? DroppedNote(pending.DroppedEntries()) : Text();
    const Text text = note + Text(pending.UsedText());
    // What could not be written stays pending and goes with the next entry.
    if (file->Append(EncodeFor(encoding, text))) pending.Empty();
  } catch (...) {
    file = nullptr;
  }
  if (!reopen) return;
  file = nullptr;
  Open();
}

void App_Debug::DebugLogAddEntry(TextView entry) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    state_->AddEntry(state_->Masked(entry));
  } catch (...) {
    return;
  }
}

void App_Debug::State::AddEntry(TextView entry) {
  run.Append(entry);
  pending.Append(entry);
  Write(true);
}

void App_Debug::CleanupDebug_WriteLogs() noexcept {
  const State::Lock lock(state_->mutex);
  const PendingErrorKeeper keeper;
  state_->Write(false);
  state_->Close();
  try {
    state_->WriteDumpFiles();
  } catch (...) {
    return;
  }
}

void App_Debug::State::WriteDumpFiles() {
  const bool wanted = switches.procDump || switches.envDump;
  if (!wanted || dumpsWritten || ports.files == nullptr || logFile.empty()) return;
  dumpsWritten = true;
  if (environment.environmentReport) {
    ports.files->Write(logFileNoExt + u" Dump_Env.log", ToUtf8(Masked(environment.environmentReport())));
  }
  if (switches.procDump && WriteProcDumpFile(logFileNoExt + u" Dump_Proc.log")) spool.Remove();
}

// Written beside its name and renamed, so that the dump appears whole however long it is.
bool App_Debug::State::WriteProcDumpFile(TextView path) {
  const Text unfinished = Text(path) + u".new";
  if (!ports.files->Write(unfinished, {})) return false;
  auto out = ports.files->OpenAppend(unfinished);
  bool good = out != nullptr;
  std::string waiting;
  const auto flush = [&] {
    good = good && out->Append(waiting);
    waiting.clear();
  };
  WriteProcDump(switches.procDumpIncompleteOnly, [&](std::string_view utf8) {
    waiting.append(utf8);
    if (waiting.size() >= kDumpChunk) flush();
  });
  flush();
  out = nullptr;
  return good && ports.files->Rename(unfinished, path);
}

}  // namespace ovs

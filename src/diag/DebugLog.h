// The debug log: finished entries in two buffers, the file they are written to, and the other places an entry goes to.
//
// It knows entries alone, nothing of procedures or counters. Not locked: its owner lets one thread in at a time. While it
// uses the ports it keeps the pending system error of whoever logs.
#pragma once

#include <functional>
#include <memory>

#include "base/Encoding.h"
#include "base/Text.h"
#include "diag/DebugBuffer.h"
#include "diag/DebugMessage.h"
#include "diag/DebugSettings.h"
#include "diag/DebugTime.h"
#include "diag/SecretMask.h"
#include "os/Files.h"
#include "os/System.h"

namespace ovs {

class DebugLog {
 public:
  struct Options {
    bool verbose = false;
    bool systemOutput = false;
    Text systemOutputPrefix;
  };
  using Listener = std::function<void(TextView entry, EventType type)>;

  // Both must outlive the log.
  DebugLog(const SecretMask& secrets, const EntryClock& clock) : secrets_(secrets), clock_(clock) {}

  void Attach(os::Files* files, os::System* system, DebugEnvironment environment);
  void SetOptions(Options options) { options_ = std::move(options); }
  void SetListener(Listener listener) { listener_ = std::move(listener); }
  // Of both buffers, in characters.
  void SetGrowthStep(std::uint32_t step) noexcept;

  // --- entries

  // True when events of this type become entries.
  [[nodiscard]] bool IsWritten(EventType type) const noexcept;
  // True while an entry is on its way out: whatever is logged meanwhile may only be counted.
  [[nodiscard]] bool IsDelivering() const noexcept { return delivering_; }
  // Makes the entry and gives it to the debugger output, the buffers and the listener, in this order. A listener's exception
  // comes through.
  void Deliver(DebugMessage parts);
  // A finished entry for the buffers alone, which are written out.
  void AddEntry(TextView entry);
  void DebugOutput(TextView text);
  // The entries of the run, or their end; see the buffer's limit.
  [[nodiscard]] TextView RunText() const noexcept { return run_.UsedText(); }

  // --- the file

  // See App_Debug::DebugLogGetLogFileVar.
  [[nodiscard]] Text FileFor(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const;
  void SetFile(TextView path);
  // Unlike SetFile this happens only to a log that is open (or tried again), which is written out and closed first.
  void SwitchFile(TextView path);
  [[nodiscard]] const Text& Folder() const noexcept { return folder_; }  // without trailing backslash
  [[nodiscard]] const Text& File() const noexcept { return path_; }
  [[nodiscard]] const Text& FileNoExt() const noexcept { return pathNoExt_; }

  // True from Open to Close, whether or not the file can be reached.
  [[nodiscard]] bool IsOpen() const noexcept { return wantsOpen_; }
  // False when the folder is missing and cannot be made.
  bool EnsureFolder();
  // False when there is no folder for the file, or the file cannot be opened.
  bool StartRealTime();
  bool Open() noexcept;
  void Close() noexcept;
  // Writes out the pending entries; with `reopen` the file is closed and opened again, so that they are on disk.
  void Write(bool reopen) noexcept;

 private:
  const SecretMask& secrets_;
  const EntryClock& clock_;
  os::Files* files_ = nullptr;
  os::System* system_ = nullptr;
  DebugEnvironment environment_;
  Options options_;
  Listener listener_;
  bool delivering_ = false;

  // Half a million characters are 1 MB.
  DebugBuffer run_{std::size_t{512} * 1024, DebugBuffer::Bound::Tail};
  DebugBuffer pending_{std::size_t{2} * 1024 * 1024, DebugBuffer::Bound::WholeEntries};
  Text folder_;
  Text path_;
  Text pathNoExt_;
  std::unique_ptr<os::AppendFile> file_;
  bool wantsOpen_ = false;  // opened once and not closed since: reached again when it could not be
  FileEncoding encoding_ = FileEncoding::Utf8;
};

}  // namespace ovs

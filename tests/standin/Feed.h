// STAND-IN for tests: a feed file that grows while it is read, the side file that tells a test how far it was read, and
// the settings that say which feed to play.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ovs::standin {

struct HandleCloser {
  void operator()(void* handle) const noexcept;
};
struct ChangeCloser {
  void operator()(void* handle) const noexcept;
};
using Handle = std::unique_ptr<void, HandleCloser>;
using ChangeHandle = std::unique_ptr<void, ChangeCloser>;

inline constexpr std::uint32_t kForever = 0xFFFFFFFF;

// A text file of lines ended by LF that somebody else appends to. Lines come out in order, the first one first. A file
// that is missing counts as empty until it appears; one that is made shorter or exchanged meanwhile is not supported.
// For one thread at a time.
class Feed {
 public:
  explicit Feed(std::wstring path);

  // Takes the next line, without its LF, if it is there in full.
  bool TryRead(std::string& line);
  // Waits until the file may have changed, at most `milliseconds`. In a single-threaded apartment window messages are
  // dispatched meanwhile, as a call to the real service would do.
  void WaitForChange(std::uint32_t milliseconds);

 private:
  bool Fill();

  std::wstring path_;
  Handle file_;
  ChangeHandle change_;
  std::string buffer_;
  std::size_t taken_ = 0;    // bytes of buffer_ that were handed out
  std::size_t scanned_ = 0;  // bytes of buffer_ known to hold no LF
};

// Numbers a test can wait for. A record was worked off by its receiver when `calls` is greater than
// `delivered` + `failed`: the receiver has come back for the next one.
struct Progress {
  std::uint64_t delivered = 0;  // records
  std::uint64_t skipped = 0;    // broken lines
  std::uint64_t failed = 0;     // NextEvent calls that failed on order
  std::uint64_t calls = 0;      // NextEvent calls begun
};

// The file "<feed>.count", one line: "delivered N skipped N failed N calls N". It is emptied at the start and rewritten
// in place by one write each; the numbers only grow, so a reader never finds the rest of a longer line.
class ProgressFile {
 public:
  explicit ProgressFile(const std::wstring& feed);
  void Write(const Progress& progress);

 private:
  Handle file_;
};

// Path of the feed, from the environment variable or else the registry; empty when neither names one.
std::wstring ConfiguredFeed();
// A switch in the settings key: on when its number is not 0.
bool SwitchIsOn(const wchar_t* value);

}  // namespace ovs::standin

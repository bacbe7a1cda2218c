// Tells whoever waits how far a long piece of work has come.
//
// On a terminal a line with a bar, renewed at most ten times a second and gone at the end. Elsewhere a plain line every few
// seconds. Work that is soon done is not spoken of.
#pragma once

#include <cstdint>
#include <string>

#include "os/Clock.h"

namespace ovs {

// How far the work is.
struct ProgressState {
  std::uint64_t done = 0;   // bytes, for instance
  std::uint64_t total = 0;  // not more than `done` when it is not known
  std::uint64_t count = 0;  // what is counted for the reader
  std::uint64_t milliseconds = 0;
};

class Progress {
 public:
  // `unit` names what is counted, such as "records". The clock must outlive this object.
  explicit Progress(std::string unit, os::Clock& clock = os::SystemClock());
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(std::uint64_t done, std::uint64_t total, std::uint64_t count);

  // The line for a terminal, never longer than `width`; ASCII.
  [[nodiscard]] static std::string Line(const ProgressState& state, const std::string& unit, std::size_t width);

 private:
  std::string unit_;
  os::Clock& clock_;
  bool onTerminal_;
  std::uint64_t start_;
  std::uint64_t next_;  // when to show something
};

}  // namespace ovs

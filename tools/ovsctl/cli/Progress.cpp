#include "ovsctl/cli/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "ovsctl/cli/Console.h"
#include "ovsctl/os/Terminal.h"

namespace ovs {

namespace {

struct Pace {
  std::uint64_t first;
  std::uint64_t between;
};
constexpr Pace kOnTerminal{300, 100};
constexpr Pace kElsewhere{2000, 5000};

constexpr std::size_t kWidestBar = 40;
constexpr std::size_t kNarrowestBar = 6;

bool TotalKnown(const ProgressState& state) { return state.total > state.done; }

std::uint64_t RateOf(const ProgressState& state) {
  return state.count * 1000 / std::max<std::uint64_t>(state.milliseconds, 1);
}

// "4:05", "1:04:05"
std::string TimeLeft(const ProgressState& state) {
  const double perByte =
      static_cast<double>(state.milliseconds) / static_cast<double>(std::max<std::uint64_t>(state.done, 1));
  const long long seconds = std::llround(perByte * static_cast<double>(state.total - state.done) / 1000);
  char text[40];
  if (seconds < 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
  }
  return text;
}

std::string Bar(double share, std::size_t width) {
  const std::size_t inside = width - 2;
  const auto full = std::min(inside, static_cast<std::size_t>(share * static_cast<double>(inside)));
  return "[" + std::string(full, '#') + std::string(inside - full, '-') + "] ";
}

std::string PlainLine(const ProgressState& state, const std::string& unit) {
  std::string line = std::to_string(state.count) + " " + unit + ", " + std::to_string(RateOf(state)) + " a second";
  if (!TotalKnown(state)) return line;
  return line + ", " + std::to_string(state.done * 100 / state.total) + "%, " + TimeLeft(state) + " left";
}

}  // namespace

Progress::Progress(std::string unit, os::Clock& clock)
    : unit_(std::move(unit)),
      clock_(clock),
      onTerminal_(os::IsTerminal(os::Stream::Messages)),
      start_(clock.Milliseconds()),
      next_(start_ + (onTerminal_ ? kOnTerminal.first : kElsewhere.first)) {}

Progress::~Progress() { Console::ShowStatus({}); }

void Progress::Update(std::uint64_t done, std::uint64_t total, std::uint64_t count) {
  const std::uint64_t now = clock_.Milliseconds();
  if (now < next_) return;
  next_ = now + (onTerminal_ ? kOnTerminal.between : kElsewhere.between);
  const ProgressState state{done, total, count, now - start_};
  if (onTerminal_) {
    // The last column stays free: some terminals go to the next line when it is filled.
    Console::ShowStatus(Line(state, unit_, static_cast<std::size_t>(std::max(os::Columns(os::Stream::Messages), 2) - 1)));
  } else {
    Console::Say(PlainLine(state, unit_));
  }
}

std::string Progress::Line(const ProgressState& state, const std::string& unit, std::size_t width) {
  const std::string rate = std::to_string(RateOf(state));
  if (!TotalKnown(state)) {
    return (std::to_string(state.count) + " " + unit + "  " + rate + "/s").substr(0, width);
  }
  const double share = static_cast<double>(state.done) / static_cast<double>(state.total);
  char percent[8];
  std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(share * 100));
  // From the fullest form to the shortest; the bar takes what they leave.
  std::string left = "  ";
  left.append(TimeLeft(state)).append(" left");
  const std::string shortRate = "  " + rate + "/s";
  std::string fullRate = "  ";
  fullRate.append(rate).append(" ").append(unit).append("/s");
  for (const std::string& middle : {fullRate, shortRate, std::string()}) {
    std::string words = percent;
    words.append(middle).append(left);
    if (words.size() + kNarrowestBar + 1 > width) continue;
    return Bar(share, std::min(kWidestBar, width - words.size() - 1)) + words;
  }
  return std::string(percent).substr(0, width);
}

}  // namespace ovs

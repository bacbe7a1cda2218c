// When a rule book looks at its files. Pure: milliseconds of a clock that only grows come in, decisions go out.
#pragma once

#include <algorithm>
#include <cstdint>

namespace ovs {

// All the files are looked at when the last such look is older than the freshness window: ten times the duration of that
// look, so that looking takes no more than a tenth of the time, but at least 50 ms and never more than a second. Between the
// looks the folders' news are asked for. A look or a file that the system refused may be a moment's trouble and is tried
// again with the next records; but trouble that lasts, such as a share that is away, must not cost every record its time, so
// after three tries it is tried once a window, which for single files is that of their last try. A window begins when what
// it follows has ended.
class RuleTiming {
 public:
  static constexpr std::uint64_t kShortestWindow = 50;  // milliseconds
  static constexpr std::uint64_t kLongestWindow = 1000;
  static constexpr std::uint64_t kWindowPerCost = 10;
  static constexpr int kTriesAtOnce = 3;

  // How far the folders' news can be relied on.
  enum class News {
    None,   // there are none
    Slow,   // asking is so costly that it is done once a tick of the clock
    Exact,  // they tell of every change at once, and asking is cheap
  };
  enum class Step { Nothing, AskForNews, LookAtAll };

  // The step to take before a record is handled.
  [[nodiscard]] Step Next(std::uint64_t now, News news) {
    if (mustLook_ ? looks_.MayTry(now) : looks_.WindowIsOver(now)) return Step::LookAtAll;
    if (news == News::None || (news == News::Slow && now == lastAsked_)) return Step::Nothing;
    lastAsked_ = now;
    return Step::AskForNews;
  }

  // Everything was looked at; `complete` unless part of it was refused.
  void Looked(std::uint64_t start, std::uint64_t end, bool complete) {
    looks_.Tried(start, end, complete);
    mustLook_ = !complete;
  }

  // The last look counts no longer.
  void LookAgain() { mustLook_ = true; }

  // Whether single files that were refused are to be tried before this record.
  [[nodiscard]] bool RetryIsDue(std::uint64_t now, bool anyRefused) {
    if (!anyRefused) retries_ = {};
    return anyRefused && retries_.MayTry(now);
  }
  // They were tried, with whatever success.
  void Retried(std::uint64_t start, std::uint64_t end) { retries_.Tried(start, end, false); }

 private:
  class Tries {
   public:
    void Tried(std::uint64_t start, std::uint64_t end, bool worked) {
      failed_ = worked ? 0 : std::min(failed_ + 1, kTriesAtOnce);
      last_ = end;
      const std::uint64_t cost = std::min(end - start, kLongestWindow);
      window_ = std::clamp(cost * kWindowPerCost, kShortestWindow, kLongestWindow);
    }
    [[nodiscard]] bool WindowIsOver(std::uint64_t now) const { return now - last_ >= window_; }
    [[nodiscard]] bool MayTry(std::uint64_t now) const { return failed_ < kTriesAtOnce || WindowIsOver(now); }

   private:
    int failed_ = 0;  // in a row
    std::uint64_t last_ = 0;
    std::uint64_t window_ = 0;
  };

  Tries looks_;
  Tries retries_;
  std::uint64_t lastAsked_ = 0;
  bool mustLook_ = true;
};

}  // namespace ovs

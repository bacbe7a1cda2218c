// Counts that a replay keeps, each in memory that has a bound whatever is counted.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/DateTime.h"
#include "base/Text.h"

namespace ovs {

// Minutes since 1601-01-01 00:00 UTC.
using Minute = std::int64_t;

inline constexpr std::int64_t kTicksPerMinute = 60 * kTicksPerSecond;
inline constexpr std::int64_t kMinutesPerHour = 60;

// The number that a stretch of time holds.
struct TimeCount {
  std::int64_t stretch = 0;  // its number since 1601
  std::uint64_t count = 0;
};

// Finds the busiest hour. Past so many hours those with the fewest are forgotten.
class BusiestHour {
 public:
  void Add(Minute minute);

  [[nodiscard]] Minute Start() const { return best_.stretch * kMinutesPerHour; }
  [[nodiscard]] std::uint64_t Count() const { return best_.count; }
  // False when hours were forgotten: the count is then the least that it can be.
  [[nodiscard]] bool IsExact() const { return exact_; }

 private:
  static constexpr std::size_t kMostHours = 8192;

  void ForgetQuietHours();

  std::vector<TimeCount> hours_;  // ascending
  TimeCount best_;
  bool exact_ = true;
};

// Counts along time in stretches that are as short as the bound allows.
class TimeLine {
 public:
  // Lengths that a stretch can have, in minutes; each divides the next. Behind a day, weeks by powers of two: enough for all
  // years of the calendar.
  static constexpr Minute kWeek = 10'080;
  static constexpr Minute kLengths[] = {
      1,           5,           15,          30,           60,           180,         360,        720,
      1440,        kWeek,       kWeek * 2,   kWeek * 4,    kWeek * 8,    kWeek * 16,  kWeek * 32, kWeek * 64,
      kWeek * 128, kWeek * 256, kWeek * 512, kWeek * 1024, kWeek * 2048, kWeek * 4096};

  void Add(Minute minute);

  [[nodiscard]] Minute Length() const { return kLengths[step_]; }
  [[nodiscard]] const std::vector<TimeCount>& Stretches() const { return stretches_; }

 private:
  static constexpr std::size_t kMostStretches = 512;

  void Widen();

  std::size_t step_ = 0;
  std::vector<TimeCount> stretches_;  // ascending
};

struct SourceCount {
  std::uint64_t records = 0;
  std::uint64_t alerts = 0;
};

// Counts by source. Past so many sources those with the fewest records are forgotten.
class SourceTally {
 public:
  // The source's counts, good until the next call.
  [[nodiscard]] SourceCount& Of(TextView source);

  struct Named {
    Text name;
    SourceCount count;
  };
  // Those with the most records first.
  [[nodiscard]] std::vector<Named> Top(std::size_t most) const;
  [[nodiscard]] bool IsExact() const { return exact_; }

 private:
  static constexpr std::size_t kMostSources = 4096;
  static constexpr std::size_t kLongestName = 256;

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(TextView text) const { return std::hash<TextView>()(text); }
  };

  void ForgetRareSources();

  std::unordered_map<Text, SourceCount, Hash, std::equal_to<>> sources_;
  bool exact_ = true;
};

}  // namespace ovs

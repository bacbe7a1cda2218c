// The findings of a replay: the records it was given, and for each rule what became of them.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "monitor/Alert.h"
#include "ovsctl/replay/ReplayTally.h"

namespace ovs {

// The earliest and the latest of some records, by the times that they carry.
struct TimeSpan {
  bool isEmpty = true;
  std::int64_t first = 0;  // ticks, UTC
  std::int64_t last = 0;
  Text firstGenerated;  // as the records have it
  Text lastGenerated;

  void Add(std::int64_t ticks, TextView timeGenerated);
};

// The first record of a rule in the order of reading.
struct AlertSample {
  Text source;
  Text id;
  Text message;  // its first line that is not blank, cut when it is long
};

using HiddenCounts = std::array<std::uint64_t, GlobalExclusions::kListCount>;

struct RuleStatistics {
  std::uint64_t matches = 0;   // alerts
  std::uint64_t mailings = 0;  // alerts that the service hands to e-mail
  HiddenCounts hidden{};       // what exclusion lists kept from being alerts
  TimeSpan span;
  BusiestHour busiest;
  TimeLine line;
  AlertSample sample;
};

class ReplayStatistics final : public AlertSink {
 public:
  // A rule's name, and whether it stands for the disk check.
  using RuleKey = std::pair<bool, Text>;

  // `next`, when there is one, writes down what is counted.
  explicit ReplayStatistics(AlertSink* next) : next_(next) {}

  // Each record, before the rule engine gets it; it must live until the engine is done with it.
  void Take(const EventRecord& record);
  // An alert was handed to e-mail; its OnAlert follows.
  void AlertMailed() { mailed_ = true; }
  void OnAlert(const Alert& alert) override;
  void OnHidden(const HiddenAlert& alert) override;

  [[nodiscard]] std::uint64_t Records() const { return records_; }
  [[nodiscard]] std::uint64_t Alerts() const { return alerts_; }
  // Records of a log that no rule can name, and those whose time is no date.
  [[nodiscard]] std::uint64_t OtherLogs() const { return otherLogs_; }
  [[nodiscard]] std::uint64_t WithoutTime() const { return withoutTime_; }
  [[nodiscard]] const TimeSpan& Span() const { return span_; }
  [[nodiscard]] const SourceTally& Sources() const { return sources_; }
  [[nodiscard]] const HiddenCounts& HiddenByList() const { return hidden_; }
  [[nodiscard]] const std::map<RuleKey, RuleStatistics>& Rules() const { return rules_; }

 private:
  AlertSink* next_;
  std::uint64_t records_ = 0;
  std::uint64_t alerts_ = 0;
  std::uint64_t otherLogs_ = 0;
  std::uint64_t withoutTime_ = 0;
  TimeSpan span_;
  HiddenCounts hidden_{};
  SourceTally sources_;
  std::map<RuleKey, RuleStatistics> rules_;

  // The record at hand.
  SourceCount* source_ = nullptr;
  std::optional<std::int64_t> ticks_;
  bool mailed_ = false;
};

}  // namespace ovs

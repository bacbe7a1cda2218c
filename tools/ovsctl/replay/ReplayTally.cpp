#include "ovsctl/replay/ReplayTally.h"

#include <algorithm>
#include <utility>

namespace ovs {

namespace {

// Records mostly come in the order of time, so that the place is one of the last.
TimeCount& At(std::vector<TimeCount>& counts, std::int64_t stretch) {
  auto place = counts.end();
  if (!counts.empty() && counts.back().stretch >= stretch) {
    place = std::ranges::lower_bound(counts, stretch, {}, &TimeCount::stretch);
    if (place->stretch == stretch) return *place;
  }
  return *counts.insert(place, {stretch, 0});
}

std::int64_t FloorDiv(std::int64_t value, std::int64_t by) { return value / by - (value % by < 0 ? 1 : 0); }

}  // namespace

// --- the busiest hour

void BusiestHour::Add(Minute minute) {
  if (hours_.size() >= kMostHours) ForgetQuietHours();
  TimeCount& hour = At(hours_, FloorDiv(minute, kMinutesPerHour));
  ++hour.count;
  if (hour.count > best_.count) best_ = hour;
}

void BusiestHour::ForgetQuietHours() {
  std::vector<TimeCount> byCount = hours_;
  const auto middle = byCount.begin() + static_cast<std::ptrdiff_t>(byCount.size() / 2);
  std::ranges::nth_element(byCount, middle, std::ranges::greater(), &TimeCount::count);
  byCount.erase(middle, byCount.end());
  std::ranges::sort(byCount, {}, &TimeCount::stretch);
  hours_ = std::move(byCount);
  exact_ = false;
}

// --- the time line

void TimeLine::Add(Minute minute) {
  ++At(stretches_, FloorDiv(minute, Length())).count;
  while (stretches_.size() > kMostStretches && step_ + 1 < std::size(kLengths)) Widen();
}

void TimeLine::Widen() {
  const Minute before = Length();
  ++step_;
  std::vector<TimeCount> wide;
  for (const TimeCount& each : stretches_) At(wide, FloorDiv(each.stretch * before, Length())).count += each.count;
  stretches_ = std::move(wide);
}

// --- sources

SourceCount& SourceTally::Of(TextView source) {
  source = source.substr(0, kLongestName);
  const auto found = sources_.find(source);
  if (found != sources_.end()) return found->second;
  if (sources_.size() >= kMostSources) ForgetRareSources();
  return sources_.emplace(Text(source), SourceCount()).first->second;
}

std::vector<SourceTally::Named> SourceTally::Top(std::size_t most) const {
  std::vector<Named> named;
  named.reserve(sources_.size());
  for (const auto& [name, count] : sources_) named.push_back({name, count});
  std::ranges::sort(named, [](const Named& a, const Named& b) {
    return a.count.records != b.count.records ? a.count.records > b.count.records : a.name < b.name;
  });
  if (named.size() > most) named.resize(most);
  return named;
}

void SourceTally::ForgetRareSources() {
  std::vector<Named> kept = Top(kMostSources / 2);
  sources_.clear();
  for (Named& each : kept) sources_.emplace(std::move(each.name), each.count);
  exact_ = false;
}

}  // namespace ovs

#include "diag/DebugTime.h"

#include "base/DateTime.h"

namespace ovs {

namespace {

// A timer that stands still must not hang the service: one tick is a few ten thousand readings.
constexpr int kMostReadings = 20'000'000;

void AddTwoDigits(std::uint32_t value, Text& out) {
  out += static_cast<char16_t>(u'0' + value / 10 % 10);
  out += static_cast<char16_t>(u'0' + value % 10);
}

}  // namespace

void EntryClock::Attach(os::Clock* clock, os::TimeZone* timeZone) noexcept {
  clock_ = clock;
  timeZone_ = timeZone;
}

Text EntryClock::NowText() const {
  if (clock_ == nullptr) return {};
  const DateTime utc = DateTimeFromTicks(clock_->UtcNow());
  DateTime local = utc;
  if (timeZone_ != nullptr && timeZone_->ToLocal(utc, local).Failed()) local = utc;
  DateFormat format;
  format.includeTime = true;
  format.includeSeconds = true;
  return FormatDate(local, format);
}

bool PerfTimer::InitValues(os::Error& why) noexcept {
  std::uint32_t maximum = 0;
  if (timer_ != nullptr) why = timer_->Periods(minimum_, maximum);
  known_ = timer_ != nullptr && why.Ok();
  return known_;
}

bool PerfTimer::HighRes_Start(std::uint32_t& startTime) noexcept {
  startTime = 0;
  if (started_ || !known_ || minimum_ == 0 || timer_->Begin(minimum_).Failed()) return false;
  AlignToPeriod();
  started_ = true;
  startTime = GetTime();
  return true;
}

// Until two readings in a row lie one period apart, the timer still runs at its former, longer period.
void PerfTimer::AlignToPeriod() noexcept {
  std::uint32_t before = timer_->Now();
  for (int reading = 0; reading < kMostReadings; ++reading) {
    const std::uint32_t now = timer_->Now();
    if (now - before == minimum_) return;
    before = now;
  }
}

bool PerfTimer::HighRes_Stop(std::uint32_t& endTime) noexcept {
  endTime = 0;
  if (!started_) return false;
  if (known_) timer_->End(minimum_).Ignore();
  endTime = GetTime();
  started_ = false;
  return true;
}

std::uint32_t PerfTimer::GetTime() noexcept {
  if (!started_) return 0;
  const std::uint32_t before = timer_->Now();
  std::uint32_t now = before;
  for (int reading = 0; now == before && reading < kMostReadings; ++reading) now = timer_->Now();
  return now;
}

Text PerfTimer::MakeTimePretty(std::uint32_t milliseconds, bool withMillis) {
  const std::uint32_t seconds = milliseconds / 1000;
  Text text;
  AddTwoDigits(seconds / 3600 % 24, text);
  text += u':';
  AddTwoDigits(seconds / 60 % 60, text);
  text += u':';
  AddTwoDigits(seconds % 60, text);
  if (withMillis) {
    text += u'.';
    text += static_cast<char16_t>(u'0' + milliseconds % 1000 / 100);
    AddTwoDigits(milliseconds % 100, text);
  }
  return text;
}

}  // namespace ovs

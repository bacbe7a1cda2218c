#include "base/DateTime.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace ovs {

namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr std::int64_t kTicksPerMillisecond = 10'000;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kTicksPerDay = kSecondsPerDay * kTicksPerSecond;
constexpr std::int64_t kDaysPerCycle = 146'097;  // 400 years

constexpr std::int64_t kEpoch1601 = sys_days(std::chrono::year(1601) / 1 / 1).time_since_epoch().count();

std::int64_t FloorDiv(std::int64_t value, std::int64_t divisor) { return value / divisor - (value % divisor < 0 ? 1 : 0); }

// Days since 1601 of the first day of a month. Any year: the calendar repeats every 400 years, the library's does not go
// on for ever.
std::int64_t DaysOfMonthStart(std::int64_t year, unsigned month) {
  const std::int64_t cycle = FloorDiv(year, 400);
  const std::chrono::year inCycle(static_cast<int>(year - cycle * 400));
  return sys_days(inCycle / std::chrono::month(month) / 1).time_since_epoch().count() + cycle * kDaysPerCycle - kEpoch1601;
}

void SetDate(std::int64_t daysSince1601, DateTime& out) {
  const std::int64_t cycle = FloorDiv(daysSince1601, kDaysPerCycle);
  const auto inCycle = static_cast<days::rep>(daysSince1601 - cycle * kDaysPerCycle + kEpoch1601);
  const std::chrono::year_month_day date{sys_days(days(inCycle))};
  out.year = static_cast<int>(date.year()) + static_cast<int>(cycle * 400);
  out.month = static_cast<int>(static_cast<unsigned>(date.month()));
  out.day = static_cast<int>(static_cast<unsigned>(date.day()));
}

void SetTime(std::int64_t secondOfDay, DateTime& out) {
  out.hour = static_cast<int>(secondOfDay / 3600);
  out.minute = static_cast<int>(secondOfDay / 60 % 60);
  out.second = static_cast<int>(secondOfDay % 60);
}

int CenturyAdded(int year) {
  if (year < 0 || year > 99) return year;
  return year < 30 ? year + 2000 : year + 1900;
}

bool InRange(int value, int low, int high) { return value >= low && value <= high; }

// Reads a text from its start, piece by piece.
class Reader {
 public:
  explicit Reader(TextView text) : rest_(text) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

  bool Take(char16_t c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // All digits that stand there; between `low` and `high` of them.
  bool Number(std::size_t low, std::size_t high, int& out, std::size_t* length = nullptr) {
    std::size_t count = 0;
    int value = 0;
    while (count < rest_.size() && count <= high && rest_[count] >= u'0' && rest_[count] <= u'9') {
      value = value * 10 + (rest_[count++] - u'0');
    }
    if (count < low || count > high) return false;
    rest_.remove_prefix(count);
    out = value;
    if (length != nullptr) *length = count;
    return true;
  }

  // " AM" or " PM" in small or capital letters.
  bool HalfOfDay(bool& afternoon) {
    if (rest_.size() < 3 || rest_[0] != u' ' || (rest_[2] | 0x20) != u'm') return false;
    const int letter = rest_[1] | 0x20;
    if (letter != u'a' && letter != u'p') return false;
    afternoon = letter == u'p';
    rest_.remove_prefix(3);
    return true;
  }

 private:
  TextView rest_;
};

bool ReadDate(Reader& reader, DateTime& out) {
  int first = 0;
  int second = 0;
  int third = 0;
  std::size_t length = 0;
  if (!reader.Number(1, 4, first, &length) || length == 3) return false;
  const char16_t separator = reader.Take(u'/') ? u'/' : u'-';
  if (separator == u'-' && !reader.Take(u'-')) return false;
  const bool yearFirst = length == 4;
  const std::size_t lastLow = yearFirst ? 1 : 4;
  const std::size_t lastHigh = yearFirst ? 2 : 4;
  if (!reader.Number(1, 2, second) || !reader.Take(separator) || !reader.Number(lastLow, lastHigh, third)) return false;
  out.year = yearFirst ? first : third;
  out.month = yearFirst ? second : first;
  out.day = yearFirst ? third : second;
  return true;
}

bool ReadTime(Reader& reader, DateTime& out) {
  if (!reader.Number(1, 2, out.hour) || !reader.Take(u':') || !reader.Number(2, 2, out.minute)) return false;
  if (reader.Take(u':') && !reader.Number(2, 2, out.second)) return false;
  bool afternoon = false;
  if (!reader.HalfOfDay(afternoon)) return true;
  if (!InRange(out.hour, 1, 12)) return false;
  out.hour = out.hour % 12 + (afternoon ? 12 : 0);
  return true;
}

void AppendNumber(Text& out, int value, std::size_t digits) {
  const std::string number = std::to_string(value);
  if (number.size() < digits) out.append(digits - number.size(), u'0');
  out.append(number.begin(), number.end());
}

void AppendTime(Text& out, const DateTime& value, const DateFormat& format) {
  const int hour = format.use24Hour ? value.hour : (value.hour + 11) % 12 + 1;
  out += u' ';
  AppendNumber(out, hour, format.stripLeadingZeros ? 1 : 2);
  out += u':';
  AppendNumber(out, value.minute, 2);
  if (format.includeSeconds) {
    out += u':';
    AppendNumber(out, value.second, 2);
  }
  if (!format.use24Hour) out += value.hour < 12 ? u" AM" : u" PM";
}

}  // namespace

bool IsValid(const DateTime& value) {
  if (!InRange(value.year, 1, 9999) || !InRange(value.month, 1, 12) || value.day < 1) return false;
  const std::chrono::year_month_day date(std::chrono::year(value.year),
                                         std::chrono::month(static_cast<unsigned>(value.month)),
                                         std::chrono::day(static_cast<unsigned>(value.day)));
  return value.day <= 31 && date.ok() && InRange(value.hour, 0, 23) && InRange(value.minute, 0, 59) &&
         InRange(value.second, 0, 59) && InRange(value.millisecond, 0, 999);
}

std::int64_t TicksFromDateTime(const DateTime& value) {
  const std::int64_t day = DaysOfMonthStart(value.year, static_cast<unsigned>(value.month)) + value.day - 1;
  const std::int64_t second = (value.hour * 60LL + value.minute) * 60 + value.second;
  return day * kTicksPerDay + second * kTicksPerSecond + value.millisecond * kTicksPerMillisecond;
}

DateTime DateTimeFromTicks(std::int64_t ticks) {
  const std::int64_t day = FloorDiv(ticks, kTicksPerDay);
  // Not ticks - day * kTicksPerDay, which would overflow near the smallest value.
  const std::int64_t ofDay = (ticks % kTicksPerDay + kTicksPerDay) % kTicksPerDay;
  DateTime out;
  SetDate(day, out);
  SetTime(ofDay / kTicksPerSecond, out);
  out.millisecond = static_cast<int>(ofDay % kTicksPerSecond / kTicksPerMillisecond);
  return out;
}

std::optional<DateTime> DateFromSerialParts(int year, int month, int day, int hour, int minute, int second) {
  const std::int64_t months = CenturyAdded(year) * 12LL + month - 1;
  const std::int64_t fullYear = FloorDiv(months, 12);
  const std::int64_t seconds = (hour * 60LL + minute) * 60 + second;
  const std::int64_t carry = FloorDiv(seconds, kSecondsPerDay);
  const auto realMonth = static_cast<unsigned>(months - fullYear * 12 + 1);
  const std::int64_t dayNumber = DaysOfMonthStart(fullYear, realMonth) + day - 1 + carry;
  if (dayNumber < DaysOfMonthStart(100, 1) || dayNumber >= DaysOfMonthStart(10000, 1)) return std::nullopt;
  DateTime out;
  SetDate(dayNumber, out);
  SetTime(seconds - carry * kSecondsPerDay, out);
  return out;
}

std::optional<DateTime> ParseDateText(TextView text) {
  DateTime out{.year = 1899, .month = 12, .day = 30};
  Reader reader(text);
  if (text.find(u':') < std::min<std::size_t>(text.size(), 3)) {
    if (!ReadTime(reader, out)) return std::nullopt;
  } else if (!ReadDate(reader, out) || (reader.Take(u' ') && !ReadTime(reader, out))) {
    return std::nullopt;
  }
  if (!reader.AtEnd() || !IsValid(out)) return std::nullopt;
  return out;
}

Text FormatDate(const DateTime& value, const DateFormat& format) {
  const std::size_t digits = format.stripLeadingZeros ? 1 : 2;
  Text out;
  if (format.yearFirst) {
    AppendNumber(out, value.year, 4);
    out += u'/';
  }
  AppendNumber(out, value.month, digits);
  out += u'/';
  AppendNumber(out, value.day, digits);
  if (!format.yearFirst) {
    out += u'/';
    AppendNumber(out, value.year, 4);
  }
  if (format.includeTime) AppendTime(out, value, format);
  return out;
}

}  // namespace ovs

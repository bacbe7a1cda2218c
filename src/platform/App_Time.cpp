#include "platform/App_Time.h"

#include <iterator>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_Time";
constexpr std::int64_t kTicksPerDay = kTicksPerSecond * 86'400;

Text DateText(const DateTime& date, const DateStringOptions& options) {
  Text text = FormatDate(date, {.stripLeadingZeros = options.bStripLeadingZeros,
                                .yearFirst = options.bYearFirst,
                                .includeTime = options.bIncludeTime,
                                .includeSeconds = options.bIncludeTimeSeconds,
                                .use24Hour = options.bUse24HourTime});
  if (options.bReplaceNonNumericChars) {
    App_Strings::StripNonNumericValuesFromTimeDateString(text, options.sNonNumericCharReplacement);
  }
  return text;
}

DateTime Fields(const SystemTime& time) {
  return {time.year, time.month, time.day, time.hour, time.minute, time.second, time.milliseconds};
}

std::uint16_t Word(std::int64_t value) { return static_cast<std::uint16_t>(value); }

// 1601-01-01 was a Monday.
std::uint16_t DayOfWeek(const DateTime& date) {
  const DateTime midnight{date.year, date.month, date.day, 0, 0, 0, 0};
  const std::int64_t days = TicksFromDateTime(midnight) / kTicksPerDay;
  return Word(((days + 1) % 7 + 7) % 7);
}

SystemTime WithDayOfWeek(const DateTime& date) {
  return {.year = Word(date.year),
          .month = Word(date.month),
          .dayOfWeek = DayOfWeek(date),
          .day = Word(date.day),
          .hour = Word(date.hour),
          .minute = Word(date.minute),
          .second = Word(date.second),
          .milliseconds = Word(date.millisecond)};
}

os::FileTicks TicksOf(const os::FileInfo& info, FileDateType type) {
  switch (type) {
    case FileDateType::Created:
      return info.created;
    case FileDateType::Accessed:
      return info.accessed;
    case FileDateType::Modified:
      break;
  }
  return info.modified;
}

}  // namespace

// The zone tells one direction only. Its offset at the local time taken as UTC is nearly always the one; near a change of
// daylight saving the second look corrects it.
os::Error App_Time::ToUtc(const DateTime& local, DateTime& utc) {
  const std::int64_t wanted = TicksFromDateTime(local);
  std::int64_t ticks = wanted;
  for (int look = 0; look < 2; ++look) {
    DateTime there;
    if (const os::Error error = zone_.ToLocal(DateTimeFromTicks(ticks), there); error.Failed()) return error;
    ticks += wanted - TicksFromDateTime(there);
  }
  utc = DateTimeFromTicks(ticks);
  return os::kSuccess;
}

DateTime App_Time::LocalNow() {
  const DateTime utc = DateTimeFromTicks(clock_.UtcNow());
  DateTime local;
  return zone_.ToLocal(utc, local).Ok() ? local : utc;
}

Text App_Time::GetDateString(const DateStringOptions& options, TextView sAltDate) {
  Proc proc(kModule, u"GetDateString", ProcKind::Function);
  proc.ByVal(u"sAltDate", sAltDate);
  return proc.Run(Text(), [&] {
    const std::optional<DateTime> date = sAltDate.empty() ? LocalNow() : ParseDateText(sAltDate);
    if (date) return DateText(*date, options);
    proc.Log(u"Not a date!", EventType::Normal, Text(u"sAltDate=").append(sAltDate));
    return Text();
  });
}

bool App_Time::StoresLocalTime(TextView sFile) {
  const Text letter = App_FilePath::PathToDriveLetter(sFile);
  Text name;
  if (letter.empty() || files_.FileSystemName(letter + u":\\", name).Failed()) return false;
  return App_Strings::StringStartsWith(name, u"FAT");
}

// Every file system's dates come as UTC. What stores local time is converted by the offset of this moment, whatever offset
// held on that date; so that offset gives back what is stored.
os::Error App_Time::FileDate(os::FileTicks ticks, bool isLocal, bool asUtc, DateTime& out) {
  out = DateTimeFromTicks(ticks);
  if (!isLocal) return asUtc ? os::kSuccess : zone_.ToLocal(DateTime(out), out);
  const os::FileTicks now = clock_.UtcNow();
  DateTime localNow;
  if (const os::Error error = zone_.ToLocal(DateTimeFromTicks(now), localNow); error.Failed()) return error;
  out = DateTimeFromTicks(ticks + TicksFromDateTime(localNow) - now);
  return asUtc ? ToUtc(DateTime(out), out) : os::kSuccess;
}

std::optional<DateTime> App_Time::GetFileDate_FromWFAD_AsDate(FileDateType type, bool bReturnAsUTC, TextView sFile) {
  Proc proc(kModule, u"GetFileDate_FromWFAD_AsDate", ProcKind::Function);
  proc.ByVal(u"FileDateType", type);
  proc.ByVal(u"bReturnAsUTC", bReturnAsUTC);
  proc.ByVal(u"sFile", sFile);
  std::optional<DateTime> date;
  proc.Run([&] {
    os::FileInfo info;
    DateTime found;
    os::Error error = files_.Info(sFile, info);
    if (error.Ok()) error = FileDate(TicksOf(info, type), StoresLocalTime(sFile), bReturnAsUTC, found);
    if (error.Ok()) {
      date = found;
      return;
    }
    proc.Fail(error).Log(u"Cannot determine file date!", EventType::Normal, Text(u"sFile=").append(sFile), {}, u"2,3");
  });
  return date;
}

std::optional<SystemTime> App_Time::GetFileDate_FromWFAD(FileDateType type, bool bReturnAsUTC, TextView sFile) {
  const std::optional<DateTime> date = GetFileDate_FromWFAD_AsDate(type, bReturnAsUTC, sFile);
  return date ? DateToSystemTime(*date) : std::nullopt;
}

bool App_Time::GetFileDates_AsDate(TextView sFile, bool bReturnAsUTC, DateTime& created, DateTime& accessed,
                                   DateTime& modified) {
  Proc proc(kModule, u"GetFileDates_AsDate", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"bReturnAsUTC", bReturnAsUTC);
  return proc.Run(false, [&] {
    os::FileInfo info;
    os::Error error = files_.Info(sFile, info);
    DateTime dates[3];
    const bool isLocal = error.Ok() && StoresLocalTime(sFile);
    const os::FileTicks stored[] = {info.created, info.accessed, info.modified};
    for (std::size_t i = 0; i < std::size(dates) && error.Ok(); ++i) {
      error = FileDate(stored[i], isLocal, bReturnAsUTC, dates[i]);
    }
    if (error.Failed()) {
      proc.Fail(error).Log(u"Cannot determine file date!", EventType::Normal, Text(u"sFile=").append(sFile), {}, u"2,3");
      return false;
    }
    created = dates[0];
    accessed = dates[1];
    modified = dates[2];
    return true;
  });
}

std::optional<SystemTime> App_Time::DateToSystemTime(const DateTime& date) {
  Proc proc(kModule, u"DateToSystemTime", ProcKind::Function);
  if (IsValid(date)) return WithDayOfWeek(date);
  proc.Log(u"Not a date!");
  return std::nullopt;
}

std::optional<DateTime> App_Time::SystemTimeToDate(const SystemTime& time) {
  Proc proc(kModule, u"SystemTimeToDate", ProcKind::Function);
  const DateTime date = Fields(time);
  if (IsValid(date)) return date;
  proc.Log(u"Not a date!");
  return std::nullopt;
}

Text App_Time::SystemTimeToDateString(const SystemTime& time, const DateStringOptions& options) {
  Proc proc(kModule, u"SystemTimeToDateString", ProcKind::Function);
  return proc.Run(Text(), [&] {
    const std::optional<DateTime> date = SystemTimeToDate(time);
    return date ? DateText(*date, options) : Text();
  });
}

std::optional<SystemTime> App_Time::SystemTimeUTC_To_SystemTimeLocal(const SystemTime& utc) {
  Proc proc(kModule, u"SystemTimeUTC_To_SystemTimeLocal", ProcKind::Function);
  std::optional<SystemTime> local;
  proc.Run([&] {
    const std::optional<DateTime> date = SystemTimeToDate(utc);
    if (!date) return;
    DateTime converted;
    if (const os::Error error = zone_.ToLocal(*date, converted); error.Ok()) {
      local = WithDayOfWeek(converted);
    } else {
      proc.Fail(error).Log(u"SystemTimeToTzSpecificLocalTime failure!", EventType::ApiError);
    }
  });
  return local;
}

std::optional<DateTime> App_Time::TimeUTCtoLocal(const std::optional<DateTime>& vDateTime_UTC) {
  Proc proc(kModule, u"TimeUTCtoLocal", ProcKind::Function);
  std::optional<DateTime> local;
  proc.Run([&] {
    if (!vDateTime_UTC || !IsValid(*vDateTime_UTC)) {
      proc.Log(u"Not a date!");
      return;
    }
    DateTime converted;
    if (const os::Error error = zone_.ToLocal(*vDateTime_UTC, converted); error.Ok()) {
      local = converted;
    } else {
      proc.Fail(error).Log(u"SystemTimeToTzSpecificLocalTime failure!", EventType::ApiError);
    }
  });
  return local;
}

std::optional<DateTime> App_Time::TimeUTCtoLocal(TextView vDateTime_UTC) {
  return TimeUTCtoLocal(ParseDateText(vDateTime_UTC));
}

}  // namespace ovs

// Dates: the display form, the dates of files, and the ways between UTC and local time. Traced; nothing here raises.
#pragma once

#include <cstdint>
#include <optional>

#include "base/DateTime.h"
#include "base/Text.h"
#include "os/Clock.h"
#include "os/Files.h"

namespace ovs {

struct DateStringOptions {
  bool bReplaceNonNumericChars = false;
  Text sNonNumericCharReplacement{};
  bool bStripLeadingZeros = false;
  bool bYearFirst = false;
  bool bIncludeTime = false;
  bool bIncludeTimeSeconds = false;
  bool bUse24HourTime = false;
};

// A date as the system's calls carry it, with the day of the week (0 Sunday).
struct SystemTime {
  std::uint16_t year = 1601;
  std::uint16_t month = 1;
  std::uint16_t dayOfWeek = 1;
  std::uint16_t day = 1;
  std::uint16_t hour = 0;
  std::uint16_t minute = 0;
  std::uint16_t second = 0;
  std::uint16_t milliseconds = 0;

  bool operator==(const SystemTime&) const = default;
};

enum class FileDateType { Created, Accessed, Modified };

class App_Time {
 public:
  // All must outlive this object.
  App_Time(os::Clock& clock, os::TimeZone& zone, os::Files& files) : clock_(clock), zone_(zone), files_(files) {}

  // By the daylight-saving rules of that date. None when the system does not convert the date.
  std::optional<DateTime> TimeUTCtoLocal(const std::optional<DateTime>& vDateTime_UTC);

  // --- For other programs of the family; the service itself does not call these ---

  // The present local time, or the date in sAltDate (see ParseDateText), in the display form. Empty when sAltDate is no
  // date.
  Text GetDateString(const DateStringOptions& options = {}, TextView sAltDate = {});
  // A date of a file or folder. A "FAT" file system stores local time, which is given as it is stored; its UTC is by the
  // rules of that date. None when the date cannot be read.
  std::optional<SystemTime> GetFileDate_FromWFAD(FileDateType type, bool bReturnAsUTC, TextView sFile);
  std::optional<DateTime> GetFileDate_FromWFAD_AsDate(FileDateType type, bool bReturnAsUTC, TextView sFile);
  // All three dates of one moment.
  bool GetFileDates_AsDate(TextView sFile, bool bReturnAsUTC, DateTime& created, DateTime& accessed, DateTime& modified);
  std::optional<SystemTime> SystemTimeUTC_To_SystemTimeLocal(const SystemTime& utc);
  std::optional<DateTime> TimeUTCtoLocal(TextView vDateTime_UTC);
  // None when a field is out of its range.
  std::optional<SystemTime> DateToSystemTime(const DateTime& date);
  std::optional<DateTime> SystemTimeToDate(const SystemTime& time);
  // Empty for a time that is no date.
  Text SystemTimeToDateString(const SystemTime& time, const DateStringOptions& options = {});

 private:
  [[nodiscard]] DateTime LocalNow();
  os::Error ToUtc(const DateTime& local, DateTime& utc);
  [[nodiscard]] bool StoresLocalTime(TextView sFile);
  os::Error FileDate(os::FileTicks ticks, bool isLocal, bool asUtc, DateTime& out);

  os::Clock& clock_;
  os::TimeZone& zone_;
  os::Files& files_;
};

}  // namespace ovs

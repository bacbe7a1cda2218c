// STAND-IN for tests: one line of a feed of recorded event records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace ovs::standin {

inline constexpr std::array<std::string_view, 7> kProperties = {"EventType", "Type",    "EventCode",    "SourceName",
                                                                "Message",   "Logfile", "TimeGenerated"};
inline constexpr std::size_t kEventType = 0;
inline constexpr std::size_t kEventCode = 2;

struct Null {};
// Days since 30 December 1899, as automation dates count.
struct Date {
  double days;
};
// Some object, for clients that must cope with one.
struct Object {};
// Texts are UTF-8 and may hold NULs.
using Value = std::variant<Null, std::int32_t, double, bool, std::string, Date, Object>;

// A record: the values of kProperties, in that order.
struct RecordLine {
  std::array<Value, kProperties.size()> values;
};
// {"standin": "fail-nextevent", "hresult": N}: the next NextEvent fails once.
struct FailNextEventLine {
  std::int32_t hresult;
};
// {"standin": "fail-property", "name": "Message", "hresult": N}: reading that property of the next record fails.
struct FailPropertyLine {
  std::size_t property;
  std::int32_t hresult;
};
struct BrokenLine {};
using FeedLine = std::variant<BrokenLine, RecordLine, FailNextEventLine, FailPropertyLine>;

// Reads a line of JSON. A record is an object with any of the seven keys; a missing key counts as null, another key is
// ignored. A value is null, a number, a truth value, a text, {"date": days} or {"object": true}; an EventCode that is a
// decimal text becomes a number, as the real service delivers it. "hresult" may be missing (0x80041001, generic
// failure). Anything else is broken: no JSON, an unknown order, a lone surrogate in a text (UTF-8 cannot hold one).
FeedLine ParseFeedLine(std::string_view line);

}  // namespace ovs::standin

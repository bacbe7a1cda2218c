#include "events/EventSource.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"

namespace ovs {
namespace {

TEST(RawText, OrdinaryTextForms) {
  struct {
    RawValue value;
    TextView text;
  } const cases[] = {
      {std::monostate(), u""},
      {Text(u"  two  words "), u"two  words"},
      {Text(u"\0 a\0\r\nb \0", 9), u"a\r\nb"},
      {Text(u"\t tab stays"), u"\t tab stays"},
      {std::int64_t{7}, u"7"},
      {std::int64_t{-2147483649}, u"-2147483649"},
      {1.5, u"1.5"},
      {1e20, u"1E+20"},
      {-0.25, u"-0.25"},
      {true, u"True"},
      {false, u"False"},
      {DateValue{45358.5}, u"3/7/2024 12:00:00 PM"},
      {DateValue{45358}, u"3/7/2024"},
      {DateValue{0.25}, u"12/30/1899 6:00:00 AM"},
      {DateValue{-1.25}, u"12/29/1899 6:00:00 AM"},
      {DateValue{45358.999999999}, u"3/8/2024"},
      {DateValue{1e300}, u""},
      {DateValue{-1e300}, u""},
      {ObjectValue{u"SWbemObjectEx"}, u"SWbemObjectEx"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(ToUtf8(RawText(each.value)), ToUtf8(each.text)) << each.value.index();
  }
}

TEST(RawEventType, OneOfSixteenBitsElseNone) {
  struct {
    RawValue value;
    std::int16_t number;
  } const cases[] = {
      {std::int64_t{1}, 1},
      {std::int64_t{-32768}, -32768},
      {std::int64_t{32768}, 0},
      {std::monostate(), 0},
      {Text(u" 5 "), 5},
      {Text(u"five"), 0},
      {Text(u"99999"), 0},
      {2.5, 2},
      {3.5, 4},
      {1e300, 0},
      {DateValue{1}, 0},
      {true, 0},
  };
  for (const auto& each : cases) EXPECT_EQ(RawEventType(each.value), each.number) << each.value.index();
}

}  // namespace
}  // namespace ovs

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "diag/DebugBuffer.h"

namespace ovs {
namespace {

DebugBuffer Buffer(std::size_t limit, DebugBuffer::Bound bound) {
  DebugBuffer buffer(limit, bound);
  buffer.SetGrowthStep(1000);
  return buffer;
}

TEST(DebugBuffer, GrowsByWholeSteps) {
  struct {
    std::size_t first, second;
    std::uint64_t capacity, used;
  } const cases[] = {{996, 0, 1000, 1000}, {997, 0, 2000, 1001},   {1, 0, 1000, 5},        {0, 0, 0, 0},
                     {996, 1, 2000, 1005}, {500, 492, 1000, 1000}, {500, 493, 2000, 1001}, {9996, 0, 10000, 10000}};
  for (const auto& each : cases) {
    for (const auto bound : {DebugBuffer::Bound::Tail, DebugBuffer::Bound::WholeEntries}) {
      DebugBuffer buffer = Buffer(1 << 20, bound);
      buffer.Append(Text(each.first, u'x'));
      buffer.Append(Text(each.second, u'x'));
      EXPECT_EQ(buffer.Capacity(), each.capacity) << each.first << "+" << each.second;
      EXPECT_EQ(buffer.Used(), each.used) << each.first << "+" << each.second;
      buffer.Empty();
      EXPECT_EQ(buffer.Capacity() + buffer.Used() + buffer.UsedText().size(), 0u);
    }
  }
}

// Of what was appended, a buffer that is full holds the end: characters, or whole entries.
TEST(DebugBuffer, AFullBufferHoldsTheEnd) {
  for (const auto bound : {DebugBuffer::Bound::Tail, DebugBuffer::Bound::WholeEntries}) {
    const bool isTail = bound == DebugBuffer::Bound::Tail;
    DebugBuffer buffer = Buffer(5000, bound);
    Text all;
    std::vector<std::size_t> starts;
    const auto append = [&](std::size_t length, char16_t unit) {
      starts.push_back(all.size());
      buffer.Append(Text(length, unit));
      all.append(length, unit).append(u"\r\n\r\n");
      const std::size_t held = buffer.UsedText().size();
      ASSERT_TRUE(TextView(all).ends_with(buffer.UsedText()));
      ASSERT_LE(held, length > 5000 ? length + 4 : 5000u);
      ASSERT_GE(held, std::min<std::size_t>(all.size(), 2500 - (isTail ? 0 : 200)));
      ASSERT_EQ(buffer.Used(), isTail ? all.size() : held);
      ASSERT_EQ(buffer.Capacity(), (buffer.Used() + 999) / 1000 * 1000);
      ASSERT_TRUE(isTail || all.size() - held == starts.at(static_cast<std::size_t>(buffer.DroppedEntries())));
    };
    for (std::size_t i = 0; i < 300; ++i) append(1 + i * 37 % 190, static_cast<char16_t>(u'a' + i % 26));
    append(20'000, u'G');
    EXPECT_EQ(buffer.UsedText().size(), 20'004u);
    buffer.Append(u"z");
    EXPECT_TRUE(buffer.UsedText().ends_with(isTail ? u"GG\r\n\r\nz\r\n\r\n" : u"z\r\n\r\n"));
    EXPECT_EQ(buffer.UsedText().size() == 5, !isTail);
    buffer.Empty();
    EXPECT_EQ(buffer.DroppedEntries(), 0u);
  }
}

}  // namespace
}  // namespace ovs

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

TEST(DebugBuffer, TailForgetsTheOldestButCountsOn) {
  DebugBuffer buffer = Buffer(5000, DebugBuffer::Bound::Tail);
  Text all;
  for (int i = 0; i < 300; ++i) {
    const Text entry(static_cast<std::size_t>(1 + i % 90), static_cast<char16_t>(u'a' + i % 26));
    buffer.Append(entry);
    all += entry + u"\r\n\r\n";
    ASSERT_EQ(buffer.Used(), all.size());
    ASSERT_EQ(buffer.Capacity(), (all.size() + 999) / 1000 * 1000);
    ASSERT_LE(buffer.UsedText().size(), 5000u);
    ASSERT_GE(buffer.UsedText().size(), std::min<std::size_t>(all.size(), 2500));
    ASSERT_TRUE(TextView(all).ends_with(buffer.UsedText()));
  }
  const Text giant(20'000, u'G');
  buffer.Append(giant);
  EXPECT_EQ(buffer.UsedText(), giant + u"\r\n\r\n");
  buffer.Append(u"z");
  EXPECT_TRUE(buffer.UsedText().ends_with(u"GG\r\n\r\nz\r\n\r\n"));
  EXPECT_LE(buffer.UsedText().size(), 5000u);
  EXPECT_EQ(buffer.Used(), all.size() + 20'004 + 5);
}

TEST(DebugBuffer, WholeEntriesDropsTheOldestAndTells) {
  DebugBuffer buffer = Buffer(5000, DebugBuffer::Bound::WholeEntries);
  std::vector<Text> all;
  const auto expected = [&] {
    Text held;
    for (auto i = static_cast<std::size_t>(buffer.DroppedEntries()); i < all.size(); ++i) held += all[i] + u"\r\n\r\n";
    return held;
  };
  for (int i = 0; i < 300; ++i) {
    all.emplace_back(static_cast<std::size_t>(1 + i * 37 % 190), static_cast<char16_t>(u'a' + i % 26));
    buffer.Append(all.back());
    ASSERT_EQ(buffer.UsedText(), expected()) << i;
    ASSERT_EQ(buffer.Used(), buffer.UsedText().size());
    ASSERT_EQ(buffer.Capacity() % 1000, 0u);
    ASSERT_LE(buffer.Used(), 5000u);
  }
  buffer.Append(Text(20'000, u'G'));
  EXPECT_EQ(buffer.DroppedEntries(), all.size());
  buffer.Append(u"z");
  EXPECT_EQ(buffer.UsedText(), u"z\r\n\r\n");
  EXPECT_EQ(buffer.Capacity(), 1000u);
  buffer.Empty();
  EXPECT_EQ(buffer.DroppedEntries(), 0u);
}

}  // namespace
}  // namespace ovs

// SPDX-License-Identifier: ISC
#include "engine/channel_switcher.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// Gains end to end, for blocks of the given lengths and one selector value.
std::vector<double> gains(ChannelSwitcher& switcher, float select, const std::vector<int>& blocks) {
  std::vector<double> all;
  for (const int n : blocks) {
    std::vector<double> block(static_cast<std::size_t>(std::max(n, 0)), -1.0);
    switcher.fillGain(select, n, block.data());
    all.insert(all.end(), block.begin(), block.end());
  }
  return all;
}

// N falling gains, one silent sample, N - 1 rising ones, then nothing but 1.
std::vector<double> wholeSwitch(int N, std::size_t length) {
  const double step = 1.0 / N;
  std::vector<double> expected(length, 1.0);
  for (int k = 0; k < N; ++k) {
    expected[static_cast<std::size_t>(k)] = (N - k) * step;
    expected[static_cast<std::size_t>(N + k)] = step * k;
  }
  return expected;
}

TEST(ChannelSwitcher, FadesOverSixteenMilliseconds) {
  const struct {
    double rate;
    int length;
  } rows[] = {{44100.0, 705}, {48000.0, 768}, {88200.0, 1411}, {96000.0, 1536}, {192000.0, 3072},
              {125.0, 2},     {62.5, 1},      {62.4, 1},       {1e-30, 1}};
  for (const auto& row : rows) {
    ChannelSwitcher switcher(row.rate, 0.0f);
    EXPECT_EQ(switcher.fadeLength, row.length) << row.rate;
    const int whole = 2 * row.length;
    EXPECT_EQ(gains(switcher, 1.0f, {whole + 5}),
              wholeSwitch(row.length, static_cast<std::size_t>(whole) + 5))
        << row.rate;
    EXPECT_EQ(switcher.fadeState, ChannelSwitcher::idle);
  }
  // A nonsensical rate may ask for a long fade, not for gigabytes.
  EXPECT_LT(ChannelSwitcher(3e38, 0.0f).fadeLength, 1 << 24);
}

TEST(ChannelSwitcher, GainsDoNotDependOnTheBlocks) {
  Random random(sessionSeed() ^ 0x73776974);
  for (int round = 0; round < 50; ++round) {
    ChannelSwitcher switcher(44100.0, 0.5f);
    EXPECT_EQ(gains(switcher, 0.5f, {40}), std::vector<double>(40, 1.0)) << "nothing has moved";
    std::vector<int> blocks;
    for (int left = 2000; left > 0; left -= blocks.back())
      blocks.push_back(
          std::min(left, random.chance(0.2) ? random.integer(0, 1) : random.integer(0, 900)));
    EXPECT_EQ(gains(switcher, 0.6f, blocks), wholeSwitch(705, 2000));
  }
  // Boundaries on and around the switch point and the end.
  for (const int edge : {-1, 0, 1}) {
    ChannelSwitcher switcher(44100.0, 0.0f);
    EXPECT_EQ(gains(switcher, 0.2f, {705 + edge, 705 - edge + edge, 90 - edge}),
              wholeSwitch(705, 1500));
  }
}

TEST(ChannelSwitcher, ABlockWithoutSamplesStartsTheFadeOnly) {
  ChannelSwitcher switcher(44100.0, 0.0f);
  for (const int n : {0, -1, std::numeric_limits<int>::min()}) switcher.fillGain(1.0f, n, nullptr);
  EXPECT_EQ(switcher.fadeState, ChannelSwitcher::fadingOut);
  EXPECT_EQ(switcher.fadePos, 0);
  EXPECT_EQ(gains(switcher, 1.0f, {1500}), wholeSwitch(705, 1500));
}

// What arrives during the fade-out needs no fade of its own, even where it is the old value again.
TEST(ChannelSwitcher, AChangeDuringTheFadeOutJoinsTheRunningSwitch) {
  for (const float last : {0.0f, 0.5f, 1.0f}) {
    ChannelSwitcher switcher(44100.0, 0.0f);
    std::vector<double> all = gains(switcher, 0.5f, {100});
    for (const float select : {1.0f, last}) {
      const std::vector<double> more = gains(switcher, select, {select == last ? 1800 : 100});
      all.insert(all.end(), more.begin(), more.end());
      if (select == last) break;
    }
    EXPECT_EQ(all, wholeSwitch(705, all.size())) << last;
    EXPECT_EQ(gains(switcher, last, {10}), std::vector<double>(10, 1.0));
  }
}

// What arrives during the fade-in starts a switch once that has ended, unless it is gone by then.
TEST(ChannelSwitcher, AChangeDuringTheFadeInFollowsInASwitchOfItsOwn) {
  for (const bool stays : {true, false}) {
    ChannelSwitcher switcher(44100.0, 0.0f);
    gains(switcher, 0.5f, {705});
    gains(switcher, 0.5f, {5});
    EXPECT_EQ(switcher.fadeState, ChannelSwitcher::fadingIn);
    gains(switcher, 1.0f, {600});
    const float last = stays ? 1.0f : 0.5f;
    gains(switcher, last, {100});
    EXPECT_EQ(switcher.fadeState, ChannelSwitcher::idle);
    EXPECT_EQ(gains(switcher, last, {1500}),
              stays ? wholeSwitch(705, 1500) : std::vector<double>(1500, 1.0));
  }
}

TEST(ChannelSwitcher, AdoptedAndUnorderedValuesStartNothing) {
  ChannelSwitcher switcher(44100.0, 0.0f);
  switcher.adopt(0.7f);
  EXPECT_EQ(gains(switcher, 0.7f, {5}), std::vector<double>(5, 1.0));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(gains(switcher, nan, {1500}), wholeSwitch(705, 1500)) << "a change like any other";
  EXPECT_EQ(gains(switcher, nan, {5}), std::vector<double>(5, 1.0)) << "which then stays";
}

}  // namespace
}  // namespace quellard::test

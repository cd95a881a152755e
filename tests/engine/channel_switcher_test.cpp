// SPDX-License-Identifier: ISC
#include "engine/channel_switcher.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr int kFade = 705;  // samples of 16 ms at 44100 Hz

// Gains end to end, for blocks of the given lengths and one selector value.
std::vector<double> gains(ChannelSwitcher& switcher, float select, const std::vector<int>& blocks) {
  std::vector<double> all;
  for (const int n : blocks) {
    std::vector<double> block(static_cast<std::size_t>(n), -1.0);
    switcher.fillGain(select, n, block.data());
    all.insert(all.end(), block.begin(), block.end());
  }
  return all;
}

// N falling gains, one silent sample, N - 1 rising ones, then nothing but 1.
std::vector<double> wholeSwitch(int N, int length) {
  const double step = 1.0 / N;
  std::vector<double> expected(static_cast<std::size_t>(length), 1.0);
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
  } rows[] = {{44100.0, kFade}, {96000.0, 1536}, {125.0, 2}, {62.5, 1}, {62.4, 1}, {1e-30, 1}};
  for (const auto& row : rows) {
    ChannelSwitcher switcher(row.rate, 0.0f);
    EXPECT_EQ(switcher.fadeLength, row.length) << row.rate;
    const int whole = 2 * row.length + 5;
    EXPECT_EQ(gains(switcher, 1.0f, {whole}), wholeSwitch(row.length, whole)) << row.rate;
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
    // The first boundaries are one before, on and one after the switch point.
    std::vector<int> blocks = {0, kFade - 1 + round % 3};
    for (int left = 2000 - blocks.back(); left > 0; left -= blocks.back())
      blocks.push_back(std::min(left, random.integer(0, random.chance(0.2) ? 1 : 900)));
    EXPECT_EQ(gains(switcher, 0.6f, blocks), wholeSwitch(kFade, 2000));
  }
  ChannelSwitcher switcher(44100.0, 0.0f);
  switcher.fillGain(1.0f, std::numeric_limits<int>::min(), nullptr);
  EXPECT_EQ(switcher.fadeState, ChannelSwitcher::fadingOut) << "started without a sample";
  EXPECT_EQ(gains(switcher, 1.0f, {1500}), wholeSwitch(kFade, 1500));
}

// What arrives during the fade-out needs no fade of its own, even where it is the old value again.
TEST(ChannelSwitcher, AChangeDuringTheFadeOutJoinsTheRunningSwitch) {
  for (const float last : {0.0f, 0.5f, 1.0f}) {
    ChannelSwitcher switcher(44100.0, 0.0f);
    std::vector<double> all = gains(switcher, 0.5f, {100});
    const std::vector<double> more = gains(switcher, last, {1900});
    all.insert(all.end(), more.begin(), more.end());
    EXPECT_EQ(all, wholeSwitch(kFade, 2000)) << last;
  }
}

// What arrives during the fade-in starts a switch once that has ended, unless it is gone by then.
TEST(ChannelSwitcher, AChangeDuringTheFadeInFollowsInASwitchOfItsOwn) {
  for (const float last : {1.0f, 0.5f}) {
    ChannelSwitcher switcher(44100.0, 0.0f);
    gains(switcher, 0.5f, {kFade, 5});
    gains(switcher, 1.0f, {600});
    EXPECT_EQ(switcher.fadeState, ChannelSwitcher::fadingIn);
    gains(switcher, last, {100});
    EXPECT_EQ(gains(switcher, last, {1500}),
              last == 1.0f ? wholeSwitch(kFade, 1500) : std::vector<double>(1500, 1.0));
  }
}

TEST(ChannelSwitcher, AdoptedAndUnorderedValuesStartNothing) {
  ChannelSwitcher switcher(44100.0, 0.0f);
  switcher.adopt(0.7f);
  EXPECT_EQ(gains(switcher, 0.7f, {5}), std::vector<double>(5, 1.0));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(gains(switcher, nan, {1500}), wholeSwitch(kFade, 1500)) << "a change like any other";
  EXPECT_EQ(gains(switcher, nan, {5}), std::vector<double>(5, 1.0)) << "which then stays";
}

}  // namespace
}  // namespace quellard::test

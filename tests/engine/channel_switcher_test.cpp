// SPDX-License-Identifier: ISC
#include "engine/channel_switcher.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "tests/reference/reference_amplifier.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// N falling gains, one silent sample, N - 1 rising gains, then 1.
TEST(ChannelSwitcher, FadesOverSixteenMilliseconds) {
  const std::pair<double, int> rows[] = {{44100.0, 705}, {96000.0, 1536}, {125.0, 2},
                                         {62.5, 1},      {62.4, 1},       {1e-30, 1}};
  for (const auto& [rate, N] : rows) {
    ChannelSwitcher switcher(rate, 0.0f);
    ASSERT_EQ(switcher.fadeLength, N) << rate;
    std::vector<double> gain(static_cast<std::size_t>(2 * N + 5));
    EXPECT_EQ(switcher.fillGain(1.0f, 2 * N + 5, gain.data()), N) << rate;
    for (int k = 0; k < 2 * N + 5; ++k) {
      const double wanted = k < N ? (N - k) * (1.0 / N) : k < 2 * N ? (1.0 / N) * (k - N) : 1.0;
      ASSERT_EQ(gain[static_cast<std::size_t>(k)], wanted) << rate << ' ' << k;
    }
  }
  // An absurd rate must not allocate gigabytes for its fade.
  EXPECT_LT(ChannelSwitcher(3e38, 0.0f).fadeLength, 1 << 24);
}

// Selectors that move during either half of a switch or are NaN, and blocks of random lengths,
// whose boundaries fall before, on and after the silent sample.
TEST(ChannelSwitcher, MovesLikeTheReferenceInBlocksOfAnyLength) {
  Random random(sessionSeed() ^ 0x73776974);
  const std::vector<float> selectors = {0.0f, 0.5f, 0.6f, 1.0f,
                                        std::numeric_limits<float>::quiet_NaN()};
  for (int round = 0; round < 200; ++round) {
    ChannelSwitcher shipped(1000.0, 0.5f);  // 16 samples a half
    reference::Switcher model(1000.0, 0.5f);
    float select = 0.5f;
    for (int block = 0; block < 100; ++block) {
      if (random.chance(0.3)) select = random.pick(selectors);
      const int n = random.chance(0.1) ? std::numeric_limits<int>::min() : random.integer(0, 20);
      std::vector<double> gain(static_cast<std::size_t>(std::max(n, 0)), -1.0), expected = gain;
      const int switchPoint = shipped.fillGain(select, n, gain.data());
      model.fillGain(select, n, expected.data());
      ASSERT_TRUE(sameBits(gain, expected)) << "block " << block << " of " << n;
      const auto silent = std::find(gain.begin(), gain.end(), 0.0);
      if (n > 0) {
        ASSERT_EQ(switchPoint, silent - gain.begin());
      }
    }
  }
}

}  // namespace
}  // namespace quellard::test

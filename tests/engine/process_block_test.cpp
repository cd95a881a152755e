// SPDX-License-Identifier: ISC
// What processBlock does around the channels, observed with channels that only multiply.
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

#include "engine/amplifier.h"
#include "params/parameter_values.h"
#include "tests/support/effort.h"
#include "tests/support/floating_point_mode.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// Multiplies by its factor.
class FakeChannel : public AmpChannelBase {
 public:
  explicit FakeChannel(double by) : AmpChannelBase(44100.0), factor(by) {}
  void signalProcess(double* in, double* out, int n) override {
    for (int i = 0; i < n; ++i) out[i] = factor * in[i];
    if (inBlock) inBlock();
  }
  void clearState() override { ++cleared; }

  double factor;
  int cleared = 0;
  std::function<void()> inBlock;
};

class ProcessBlock : public testing::Test {
 protected:
  ProcessBlock() { prepare(44100.0); }

  void prepare(double rate) {
    amp.prepare(rate);
    for (std::size_t c = 0; c < 3; ++c) {
      auto fake = std::make_unique<FakeChannel>(static_cast<double>(c + 1));
      fakes[c] = fake.get();
      amp.channels[c] = std::move(fake);
    }
  }

  // Of ones.
  std::vector<double> block(std::size_t frames) {
    std::vector<double> in(frames, 1.0), out(frames, -7.0);
    amp.processBlock(in.data(), out.data(), static_cast<int>(frames));
    return out;
  }

  Amplifier amp;
  FakeChannel* fakes[3];
};

TEST_F(ProcessBlock, ABlockWithoutFramesMovesTheKnobsOnly) {
  double sample = -7.0;
  amp.controlValues[5] = 0.25f;
  amp.processBlock(&sample, &sample, std::numeric_limits<int>::min());
  EXPECT_EQ(amp.appliedValues[5], 0.25f);
  EXPECT_EQ(sample, -7.0);
}

// -0 after 0 too, though they compare equal: hosts read these fields.
TEST_F(ProcessBlock, EveryBlockTakesAllValuesAsApplied) {
  for (const float value : {0.0f, -0.0f}) {
    for (auto& control : amp.controlValues) control = value;
    block(4);
    for (const float applied : amp.appliedValues)
      EXPECT_EQ(std::signbit(applied), std::signbit(value));
  }
}

TEST_F(ProcessBlock, AChannelThatTurnsNonFiniteIsSilencedAndCleared) {
  using Double = std::numeric_limits<double>;
  for (const double poison : {Double::infinity(), -Double::infinity(), Double::quiet_NaN()}) {
    fakes[2]->factor = poison;
    EXPECT_EQ(block(9), std::vector<double>(9, 0.0));
    fakes[2]->factor = 3.0;
    EXPECT_EQ(block(9), std::vector<double>(9, 3.0));
  }
  EXPECT_EQ(fakes[2]->cleared, 3);
  // In a block in which two channels play, only the faulty one is cleared.
  amp.typeValue = 0.0f;
  EXPECT_EQ(block(704).back(), 3.0 * (2 * (1.0 / 705)));
  fakes[0]->factor = Double::quiet_NaN();
  EXPECT_EQ(block(20), std::vector<double>(20, 0.0));
  EXPECT_EQ(fakes[0]->cleared, 1);
  EXPECT_EQ(fakes[2]->cleared, 3);
}

// Whenever the selector moves, within a fade, at its silent sample or at a block's end: once it
// rests, its channel plays at full level.
TEST_F(ProcessBlock, ASelectorAtRestIsHeard) {
  constexpr int kMixed = 0;
  Random random(sessionSeed() ^ 0x77616c6b);
  for (const double rate : {44100.0, 48000.0, 96000.0, 8000.0}) {
    prepare(rate);
    for (const int length : {64, 128, 256, 705, kMixed}) {
      for (int walk = 0; walk < effort(400); ++walk) {
        const auto frames = [&] { return length != kMixed ? length : random.integer(0, 1000); };
        const double restless = random.between(0.05, 0.9);
        for (int i = 0; i < 30; ++i) {
          if (random.chance(restless)) amp.typeValue = random.pick(std::array{0.0f, 0.5f, 1.0f});
          block(static_cast<std::size_t>(frames()));
        }
        // Enough time for the rest of one switch, the block that ends it, and one more switch.
        for (double rested = 0.0; rested < 4 * 0.016 * rate + 1000.0;)
          rested += static_cast<double>(block(static_cast<std::size_t>(frames())).size());
        const int named = channelFromSelect(amp.typeValue);
        ASSERT_EQ(block(2), std::vector<double>(2, named + 1.0))
            << rate << " Hz, blocks of " << length << ", walk " << walk;
        ASSERT_EQ(amp.activeChannel, named);
        ASSERT_EQ(amp.channelSwitch->fadeState, ChannelSwitcher::idle);
      }
    }
  }
}

TEST_F(ProcessBlock, ChannelsPlayUnderTheLockWithFlushToZero) {
  const unsigned hostsMode = floatingPointMode();
  unsigned inside = 0;
  bool lockWasFree = false;
  fakes[2]->inBlock = [&] {
    inside = floatingPointMode();
    std::thread([&] {
      if (const std::unique_lock lock(amp.processLock, std::try_to_lock); lock) lockWasFree = true;
    }).join();
  };
  for (const unsigned mode :
       {hostsMode, hostsMode | kHostsBits, hostsMode | kFlushToZeroBit, hostsMode | kStickyBits}) {
    setFloatingPointMode(mode);
    block(4);
    const unsigned after = floatingPointMode();
    setFloatingPointMode(hostsMode);
    if (kHasFloatingPointMode) {
      EXPECT_EQ(after, mode) << "the host's mode and flags are restored";
      EXPECT_EQ(inside & ~kStickyBits, (mode | kFlushToZeroBit) & ~kStickyBits);
    }
    EXPECT_FALSE(lockWasFree);
  }
}

}  // namespace
}  // namespace quellard::test

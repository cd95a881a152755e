// SPDX-License-Identifier: ISC
// What runs on the audio thread allocates nothing, whatever block lengths a host sends.
#include <gtest/gtest.h>
#include <vector>

#include "adapters/shared/hosted_amp.h"
#include "shell/quellard.h"
#include "tests/adapters/buffers.h"
#include "tests/support/counted_memory.h"

namespace quellard::test {
namespace {

constexpr int kMost = 500;
constexpr int kBlocks = 400;

// What the call allocates on this thread.
template <typename Call>
long allocationsOf(const Call& call) {
  const long before = allocations;
  call();
  return allocations - before;
}

// Random knobs for a block, at random rates of change; selector switches included.
template <typename Set>
void moveSomething(Random& random, const Set& set) {
  if (!random.chance(0.4)) return;
  const int index = random.integer(1, 19);
  set(index, index == 19 ? static_cast<float>(random.integer(0, 2)) / 2.0F
                         : static_cast<float>(random.unit()));
}

// Beyond the room there is new room, and reserving less or nothing takes none away.
TEST(Realtime, RoomOnlyGrows) {
  Quellard effect(nullptr);
  effect.setSampleRate(44100.0F);
  std::vector<double> io(4 * kMost);
  const auto allocationsFor = [&](int frames) {
    return allocationsOf([&] { effect.processBlock(io.data(), io.data(), frames); });
  };
  EXPECT_EQ(allocationsFor(2 * kMost), 2);
  effect.reserve(kMost);  // shorter than the last block, whose length comes again
  EXPECT_EQ(allocationsFor(2 * kMost), 2);
  for (const int frames : {kMost, 0, -5}) effect.reserve(frames);
  for (const int frames : {1, kMost, 2 * kMost, 0, 7}) EXPECT_EQ(allocationsFor(frames), 0);
  EXPECT_EQ(allocationsFor(3 * kMost), 2);
  EXPECT_EQ(allocationsFor(2 * kMost + 1), 0);
}

TEST(Realtime, HostedAmpAllocatesOnlyWhenPrepared) {
  Random random(sessionSeed() ^ 0x4EA2);
  HostedAmp amp(HostedAmp::kStereo);
  ASSERT_TRUE(amp.prepare(48000.0, kMost));
  Channels<float> io(2, std::vector<float>(3 * kMost, 0.1F));
  const auto pointers = pointersTo(io);
  const AudioChannels block{.floats = pointers.data(), .count = 2};
  EXPECT_EQ(allocationsOf([&] {
              for (int i = 0; i < kBlocks; ++i) {
                moveSomething(random, [&](int index, float value) { amp.setValue(index, value); });
                const int begin = random.integer(0, kMost);
                amp.play(block, block, begin, begin + random.integer(0, 2 * kMost));
                if (random.chance(0.05)) amp.reset();
              }
            }),
            0);
}

}  // namespace
}  // namespace quellard::test

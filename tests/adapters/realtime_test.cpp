// SPDX-License-Identifier: ISC
// What runs on the audio thread allocates nothing, whatever block lengths a host sends.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vector>

#include "adapters/shared/hosted_amp.h"
#include "shell/quellard.h"
#include "tests/adapters/buffers.h"
#include "tests/support/counted_memory.h"
#include "tests/support/opened_effect.h"
#ifdef QUELLARD_CLAP_FILE
#include "tests/adapters/clap_host.h"
#endif

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

TEST(Realtime, Vst2PlaysBothPrecisionsWithoutAllocating) {
  void* const module = dlopen(QUELLARD_VST2_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr);
  const auto entry =
      reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(module, "VSTPluginMain"));
  AEffect* effect = nullptr;
  EXPECT_GT(allocationsOf([&] { effect = entry(answeringHost); }), 0) << "module's are not seen";
  effect->dispatcher(effect, effSetSampleRate, 0, 0, nullptr, 44100.0F);
  effect->dispatcher(effect, effSetBlockSize, 0, 4 * kMost, nullptr, 0.0F);
  Random random(sessionSeed() ^ 0x4EA3);
  std::vector<float> io(4 * kMost, 0.1F);
  std::vector<double> twice(4 * kMost, 0.1);
  float* single = io.data();
  double* channel = twice.data();
  for (int i = 0; i < kBlocks; ++i) {
    const auto block = [&] {
      moveSomething(random,
                    [&](int index, float value) { effect->setParameter(effect, index, value); });
      effect->processReplacing(effect, &single, &single, random.integer(0, 4 * kMost));
      effect->processDoubleReplacing(effect, &channel, &channel, random.integer(0, 4 * kMost));
    };
    ASSERT_EQ(allocationsOf(block), 0);
  }
  effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0F);
}

#ifdef QUELLARD_CLAP_FILE
TEST(Realtime, ClapPlaysAutomationWithoutAllocating) {
  Random random(sessionSeed() ^ 0x4EA4);
  ClapInstance plugin(ClapInstance::kStereo);
  ASSERT_TRUE(plugin.activate(44100.0, kMost));
  Channels<float> io(2, std::vector<float>(kMost, 0.1F));
  for (int i = 0; i < kBlocks; ++i) {
    const int frames = random.integer(1, kMost);
    std::vector<Move> moves;
    for (int time = 0; time < frames; time += 40) {
      moveSomething(random, [&](int index, float value) {
        moves.push_back({.time = static_cast<std::uint32_t>(time),
                         .id = static_cast<clap_id>(index),
                         .value = static_cast<double>(index == 19 ? 2.0F * value : value)});
      });
    }
    const MoveList list(moves);
    auto pointers = pointersTo(io);
    clap_audio_buffer_t buffer = bufferOf(pointers);
    const auto block = [&] {
      plugin.process(buffer, buffer, static_cast<std::uint32_t>(frames), list.get());
    };
    ASSERT_EQ(allocationsOf(block), 0);
    if (random.chance(0.05)) plugin.get()->reset(plugin.get());
  }
}
#endif

}  // namespace
}  // namespace quellard::test

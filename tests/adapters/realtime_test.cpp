// SPDX-License-Identifier: ISC
// What runs on the audio thread allocates nothing, whatever block lengths a host sends. A program
// of its own, since it replaces the process's allocation; the loaded modules use the same.
#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <new>
#include <vector>

#include "adapters/shared/hosted_amp.h"
#include "shell/quellard.h"
#include "tests/adapters/buffers.h"
#include "tests/support/opened_effect.h"
#ifdef QUELLARD_CLAP_FILE
#include "tests/adapters/clap_host.h"
#endif

namespace {

thread_local long allocations = 0;

void* counted(std::size_t size) {
  ++allocations;
  return std::malloc(size > 0 ? size : 1);
}

void* countedOrThrow(std::size_t size) {
  void* memory = counted(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return countedOrThrow(size); }
void* operator new[](std::size_t size) { return countedOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace quellard::test {
namespace {

constexpr int kMost = 500;
constexpr int kBlocks = 400;

// Counts what the calls in its scope allocate on this thread.
class AllocationsOf {
 public:
  long count() const { return allocations - before_; }

 private:
  long before_ = allocations;
};

// Random knobs for a block, at random rates of change; selector switches included.
template <typename Set>
void moveSomething(Random& random, const Set& set) {
  if (!random.chance(0.4)) return;
  const int index = random.integer(1, 19);
  set(index, index == 19 ? static_cast<float>(random.integer(0, 2)) / 2.0F
                         : static_cast<float>(random.unit()));
}

// The effect itself: after reserve() any length up to it, before it every new length. The sound is
// the same.
TEST(Realtime, ReservedEffectKeepsItsBuffers) {
  Random random(sessionSeed() ^ 0x4EA1);
  Quellard reserved(nullptr);
  Quellard plain(nullptr);
  reserved.reserve(kMost);
  std::vector<double> in(2 * kMost);
  for (const float rate : {44100.0F, 96000.0F}) {
    reserved.setSampleRate(rate);
    plain.setSampleRate(rate);
    long ofReserved = 0;
    long ofPlain = 0;
    for (int block = 0; block < kBlocks; ++block) {
      moveSomething(random, [&](int index, float value) {
        reserved.setParameter(index, value);
        plain.setParameter(index, value);
      });
      const int frames = random.integer(0, kMost);
      in = drawBlock(random, 0.5, frames);
      std::vector<double> out = in;
      const AllocationsOf first;
      reserved.processBlock(out.data(), out.data(), frames);
      ofReserved += first.count();
      const AllocationsOf second;
      plain.processBlock(in.data(), in.data(), frames);
      ofPlain += second.count();
      expectPlayed(out, in);
      if (testing::Test::HasFatalFailure()) return;
    }
    EXPECT_EQ(ofReserved, 0);
    EXPECT_GT(ofPlain, kBlocks) << "the count counts nothing";
  }
}

// Beyond the room there is new room, and reserving less or nothing takes none away.
TEST(Realtime, RoomOnlyGrows) {
  Quellard effect(nullptr);
  effect.setSampleRate(44100.0F);
  std::vector<double> io(4 * kMost);
  const auto allocationsFor = [&](int frames) {
    const AllocationsOf block;
    effect.processBlock(io.data(), io.data(), frames);
    return block.count();
  };
  EXPECT_EQ(allocationsFor(2 * kMost), 2);
  effect.reserve(kMost);  // shorter than the last block, whose length comes again
  EXPECT_EQ(allocationsFor(2 * kMost), 2);
  EXPECT_EQ(allocationsFor(kMost), 0);
  for (const int frames : {kMost, 0, -5}) effect.reserve(frames);
  for (const int frames : {1, kMost, 2 * kMost, 0, 7}) EXPECT_EQ(allocationsFor(frames), 0);
  EXPECT_EQ(allocationsFor(3 * kMost), 2);
  EXPECT_EQ(allocationsFor(2 * kMost + 1), 0);
}

TEST(Realtime, HostedAmpAllocatesOnlyWhenPrepared) {
  Random random(sessionSeed() ^ 0x4EA2);
  HostedAmp amp(HostedAmp::kStereo);
  ASSERT_TRUE(amp.prepare(48000.0, kMost));
  std::vector<float> left(3 * kMost, 0.1F);
  std::vector<float> right(3 * kMost, 0.2F);
  std::array<float*, 2> channels = {left.data(), right.data()};
  const AudioChannels block{.floats = channels.data(), .count = 2};
  const AllocationsOf playing;
  for (int i = 0; i < kBlocks; ++i) {
    moveSomething(random, [&](int index, float value) { amp.setValue(index, value); });
    const int begin = random.integer(0, kMost);
    amp.play(block, block, begin, begin + random.integer(0, 2 * kMost));
    if (random.chance(0.05)) amp.reset();
  }
  EXPECT_EQ(playing.count(), 0);
}

TEST(Realtime, Vst2PlaysSinglePrecisionWithoutAllocating) {
  void* const module = dlopen(QUELLARD_VST2_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr);
  const auto entry =
      reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(module, "VSTPluginMain"));
  const AllocationsOf opening;
  AEffect* effect = entry(answeringHost);
  EXPECT_GT(opening.count(), 0) << "the module's allocations are not seen";
  effect->dispatcher(effect, effSetSampleRate, 0, 0, nullptr, 44100.0F);
  effect->dispatcher(effect, effSetBlockSize, 0, 4 * kMost, nullptr, 0.0F);
  Random random(sessionSeed() ^ 0x4EA3);
  std::vector<float> io(4 * kMost, 0.1F);
  std::vector<double> twice(4 * kMost, 0.1);
  float* single = io.data();
  double* channel = twice.data();
  const AllocationsOf playing;
  for (int i = 0; i < kBlocks; ++i) {
    moveSomething(random,
                  [&](int index, float value) { effect->setParameter(effect, index, value); });
    effect->processReplacing(effect, &single, &single, random.integer(0, 4 * kMost));
    effect->processDoubleReplacing(effect, &channel, &channel, random.integer(0, 4 * kMost));
  }
  EXPECT_EQ(playing.count(), 0);
  effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0F);
}

#ifdef QUELLARD_CLAP_FILE
TEST(Realtime, ClapPlaysAutomationWithoutAllocating) {
  Random random(sessionSeed() ^ 0x4EA4);
  ClapInstance plugin(ClapInstance::kStereo);
  ASSERT_TRUE(plugin.activate(44100.0, kMost));
  Channels<float> io(2, std::vector<float>(kMost, 0.1F));
  auto pointers = pointersTo(io);
  clap_audio_buffer_t buffer = bufferOf(pointers);
  for (int i = 0; i < kBlocks; ++i) {
    const auto frames = static_cast<std::uint32_t>(random.integer(1, kMost));
    std::vector<Move> moves;
    for (std::uint32_t time = 0; time < frames; time += 40) {
      moveSomething(random, [&](int index, float value) {
        moves.push_back({.time = time,
                         .id = static_cast<clap_id>(index),
                         .value = static_cast<double>(index == 19 ? 2.0F * value : value)});
      });
    }
    const MoveList list(moves);
    const AllocationsOf block;
    plugin.process(buffer, buffer, frames, list.get());
    if (random.chance(0.05)) plugin.get()->reset(plugin.get());
    ASSERT_EQ(block.count(), 0);
  }
}
#endif

}  // namespace
}  // namespace quellard::test

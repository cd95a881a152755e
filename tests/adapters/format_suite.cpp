// SPDX-License-Identifier: ISC
// Every format beside the effect driven directly.
#include "tests/adapters/format_suite.h"

#include <atomic>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>

#include "tests/support/effort.h"
#ifdef QUELLARD_COUNTS_MEMORY
#include "tests/support/counted_memory.h"
#endif

namespace quellard::test {

long allocationsSoFar() {
#ifdef QUELLARD_COUNTS_MEMORY
  return allocations;
#else
  return 0;
#endif
}

namespace {

constexpr int kMaxFrames = 600;

// Knobs with three decimals, so that they have the same bits in a format that counts to 10.
double drawValue(Random& random, int index) {
  return index == 19 ? random.integer(0, 2) / 2.0 : random.integer(0, 1000) / 1000.0;
}

void setAll(HostedPlugin& plugin, Random& random) {
  for (int index = 1; index <= 19; ++index) plugin.set(index, drawValue(random, index));
}

// One block through both; the plug-in in place or not.
template <typename Sample>
void playBoth(Random& random, HostedPlugin& plugin, DirectAmp& direct, int sides) {
  const int frames = random.integer(1, random.chance(0.3) ? 4 : kMaxFrames);
  Channels<Sample> in = drawChannels<Sample>(random, sides, frames);
  for (int moves = random.integer(-2, 3); moves > 0; --moves) {
    const int index = random.chance(0.2) ? 19 : random.integer(1, 18);
    const double value = drawValue(random, index);
    plugin.set(index, value);
    direct.set(index, value);
  }
  const Channels<double> wanted = direct.play(in);
  Channels<Sample> other(in.size(), std::vector<Sample>(static_cast<std::size_t>(frames), 9));
  Channels<Sample>& out = random.chance(0.4) ? in : other;
  plugin.play(in, out);
  for (std::size_t side = 0; side < out.size(); ++side) expectPlayed(out[side], wanted[side]);
}

// Random blocks, precisions, buffers, rates and settings, by the knob or by a state, before and
// after an activation. A format that can starts anew with each, in the middle of a channel switch
// too: an offline render can be repeated. While it plays it allocates nothing.
TEST_P(Formats, PlayWhatTheEffectPlays) {
  const auto& [name, create, sides, playsDoubles, keepsState] = GetParam();
  Random random(sessionSeed() ^ 0xC1A9);
  const auto plugin = create(), other = create();
  const long before = allocationsSoFar();
  ASSERT_TRUE(plugin->activate(48000.0, kMaxFrames));
#ifdef QUELLARD_COUNTS_MEMORY
  EXPECT_GT(allocationsSoFar(), before) << "the module's are not seen";
#endif
  plugin->deactivate();
  DirectAmp direct(static_cast<std::size_t>(sides));
  double rate = 48000.0;
  for (int cycle = 0; cycle < effort(40); ++cycle) {
    SCOPED_TRACE("activation " + std::to_string(cycle));
    setAll(random.chance(0.5) ? *plugin : *other, random);
    if (random.chance(0.3)) {
      ASSERT_TRUE(plugin->load(other->save()));
    }
    if (random.chance(0.7)) rate = random.pick(std::array{44100.0, 48000.0, 96000.0, 22050.0});
    ASSERT_TRUE(plugin->activate(rate, kMaxFrames));
    direct.activate(rate, *plugin, keepsState);
    for (int block = random.integer(1, 12); block > 0; --block) {
      playsDoubles&& random.chance(0.5) ? playBoth<double>(random, *plugin, direct, sides)
                                        : playBoth<float>(random, *plugin, direct, sides);
      if (testing::Test::HasFatalFailure()) return;
    }
    plugin->deactivate();
  }
  EXPECT_EQ(plugin->allocated(), 0);
}

// A thread gives all parameters anew, while another plays. Both sides stay together, and the last
// settings are heard.
TEST_P(Formats, TakeAFloodOfParametersWhilePlaying) {
  const auto& [name, create, sides, playsDoubles, keepsState] = GetParam();
  const auto plugin = create(), other = create();
  Random random(sessionSeed() ^ 0xF100);
  std::vector<Bytes> states(8);
  for (Bytes& state : states) {
    setAll(*other, random);
    state = other->save();
  }
  ASSERT_TRUE(plugin->activate(44100.0, 64));
  std::atomic<bool> done{false};
  bool sound = true;
  std::thread audio([&, channels = sides] {
    Random notes(1);
    for (int block = 0; block < effort(2000); ++block) {
      Channels<float> io = drawChannels<float>(notes, channels, 64);
      io.back() = io[0];
      plugin->play(io, io);
      for (const float x : io[0]) sound = sound && std::isfinite(x);
      sound = sound && io.back() == io[0];
    }
    done = true;
  });
  std::size_t loads = 0;
  while (!done) EXPECT_TRUE(plugin->load(states[++loads % states.size()]));
  audio.join();
  EXPECT_TRUE(sound) << "not a number, or the sides have parted";
  EXPECT_EQ(plugin->save(), states[loads % states.size()]);
  if (!keepsState) return;  // it plays on, from where nobody knows
  plugin->deactivate();
  ASSERT_TRUE(plugin->activate(96000.0, kMaxFrames));
  ASSERT_TRUE(other->load(states[loads % states.size()]));
  DirectAmp direct(static_cast<std::size_t>(sides));
  direct.activate(96000.0, *other);
  playBoth<float>(random, *plugin, direct, sides);
}

// Two hundred amplifiers at once, each with its own setting, all as if alone.
TEST_P(Formats, ManyInstancesDoNotKnowOfEachOther) {
  const auto rateOf = [](std::size_t i) { return i % 2 == 0 ? 44100.0 : 48000.0; };
  const int sides = GetParam().sides;
  Random random(sessionSeed());
  std::vector<std::unique_ptr<HostedPlugin>> plugins(200);
  for (std::size_t i = 0; i < plugins.size(); ++i) {
    plugins[i] = GetParam().create();
    setAll(*plugins[i], random);
    ASSERT_TRUE(plugins[i]->activate(rateOf(i), kMaxFrames));
  }
  for (std::size_t i = 0; i < plugins.size(); ++i) {
    DirectAmp direct(static_cast<std::size_t>(sides));
    direct.activate(rateOf(i), *plugins[i]);
    playBoth<float>(random, *plugins[i], direct, sides);
  }
}

// What is not a number, infinite or denormal may cost its own block, but not the next one.
TEST_P(Formats, OddSamplesAreSurvived) {
  using Limits = std::numeric_limits<float>;
  const auto plugin = GetParam().create();
  ASSERT_TRUE(plugin->activate(44100.0, 64));
  Random random(3);
  for (const float odd : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                          Limits::max(), Limits::denorm_min()}) {
    Channels<float> io(static_cast<std::size_t>(GetParam().sides), std::vector<float>(64, odd));
    plugin->play(io, io);
    for (auto& channel : io) channel = std::vector<float>(64, 0.25F);
    plugin->play(io, io);
    for (const float x : io.back()) ASSERT_TRUE(x == 0.0F || std::isnormal(x)) << odd;
    EXPECT_NE(io.back(), std::vector<float>(64, 0.0F)) << odd;
  }
}

TEST_P(FormatStates, ComeBackThroughAnyStreamAndRefusedOnesChangeNothing) {
  Random random(sessionSeed() ^ 0x57A7);
  for (const std::size_t chunk : {1U, 3U, 23U, 1000U}) {
    const auto first = GetParam().create(), second = GetParam().create();
    setAll(*first, random);
    const Bytes good = first->save(chunk);
    ASSERT_TRUE(second->load(good, chunk));
    for (int i = 1; i <= 19; ++i) EXPECT_EQ(second->get(i), first->get(i)) << i;
    std::vector<Bytes> damaged(good.size() + 3, good);
    for (std::size_t i = 0; i < good.size(); ++i) damaged[i][i] ^= 0x10;
    damaged[good.size()].clear();
    damaged[good.size() + 1].pop_back();
    damaged[good.size() + 2].push_back(0);
    const std::string foreign(
        "__dpf_program__\0"
        "3\0\xfe\0",
        20);
    damaged.emplace_back(foreign.begin(), foreign.end());
    for (const Bytes& bytes : damaged) EXPECT_FALSE(second->load(bytes, chunk));
    EXPECT_EQ(second->save(), good);
    EXPECT_EQ(second->timesToldOfNewValues(), 1);
  }
}

// Projects hold such bytes: the knobs of parameter i at i/20, the selector at VINTAGE.
TEST_P(FormatStates, OneOfVersion1Loads) {
  std::ifstream file(QUELLARD_TEST_DATA "/state-v1.bin", std::ios::binary);
  const std::string stored{std::istreambuf_iterator<char>(file), {}};
  const auto plugin = GetParam().create();
  ASSERT_TRUE(plugin->load({stored.begin(), stored.end()}));
  for (int i = 1; i <= 18; ++i) EXPECT_NEAR(plugin->get(i), i / 20.0, 1e-7) << i;
  EXPECT_EQ(plugin->get(19), 0.5);
  EXPECT_EQ(plugin->save(), Bytes(stored.begin(), stored.end()));
}

}  // namespace
}  // namespace quellard::test

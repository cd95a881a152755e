// SPDX-License-Identifier: ISC
// Every format is compared with the effect driven directly.
#include "tests/adapters/format_suite.h"

#include <array>
#include <thread>

#include "params/factory_bank.h"
#include "tests/adapters/stored_state.h"
#include "tests/support/effort.h"
#ifdef QUELLARD_COUNTS_MEMORY
#include "tests/support/counted_memory.h"
long quellard::test::allocationsSoFar() { return allocations; }
#else
long quellard::test::allocationsSoFar() { return 0; }
#endif

namespace quellard::test {
namespace {

constexpr int kMaxFrames = 600;
constexpr int kBankSize = kNumFactoryPresets;

// Values that keep their bits in formats whose controls read from 0 to 10 and in decibels. The gate
// stays off: it hears noise as what it is.
double drawValue(Random& random, int index) {
  if (index == kGateParameter) return random.pick(std::array{0.0, 0.0, 0.4, 0.9});
  if (index > 19) return random.pick(std::array{0.0, 0.25, 0.5, 0.5, 0.625, 0.75});
  return index == 19 ? random.integer(0, 2) / 2.0 : random.integer(0, 1000) / 1000.0;
}

void setAll(HostedPlugin& plugin, Random& random) {
  for (const int index : kSetParameters) {
    const double value = drawValue(random, index);
    plugin.set(index, value);
    ASSERT_NEAR(plugin.get(index), value, 1e-7) << "without a block";
  }
}

// Plays one block through both; the plug-in plays it in place or not. A move whose frame lies
// before its predecessor's takes effect together with it.
template <typename Sample>
void playBoth(Random& random, HostedPlugin& plugin, DirectAmp& direct, const Format& format) {
  const int frames = random.integer(1, random.chance(0.3) ? 4 : kMaxFrames);
  Channels<Sample> in = drawChannels<Sample>(random, format.sides, frames);
  Channels<double> wanted = widened(in);
  int done = 0;
  for (int moves = random.integer(-3, 5); moves > 0; --moves) {
    const int index =
        random.chance(0.2) ? random.pick(std::array{19, 21, 23}) : random.integer(1, 18);
    const double value = drawValue(random, index);
    const int frame = format.countsFrames ? random.integer(0, frames) : 0;
    plugin.set(index, value, frame);
    direct.play(wanted, done, frame);
    direct.set(index, value);
    done = std::max(done, frame);
  }
  direct.play(wanted, done, frames);
  Channels<Sample> other(in.size(), std::vector<Sample>(in[0].size(), 9));
  Channels<Sample>& out = random.chance(0.4) ? in : other;
  plugin.play(in, out);
  for (std::size_t side = 0; side < out.size(); ++side) expectPlayed(out[side], wanted[side]);
}

// Random blocks, precisions, buffers and rates, and random values from moves or a loaded state,
// before and after an activation. Each activation starts from silence, also one in the middle of a
// channel switch, so that an offline render can be repeated. Playing allocates nothing.
TEST_P(Formats, PlayWhatTheEffectPlays) {
  const Format& format = GetParam();
  Random random(sessionSeed() ^ 0xC1A9);
  const auto plugin = format.create(), other = format.create();
  const long before = allocationsSoFar();
  ASSERT_TRUE(plugin->activate(48000.0, kMaxFrames));
  EXPECT_EQ(allocationsSoFar() > before, before > 0) << "the module's allocations are not counted";
  plugin->deactivate();
  DirectAmp direct(format.sides);
  double rate = 48000.0;
  for (int cycle = 0; cycle < effort(40); ++cycle) {
    SCOPED_TRACE("activation " + std::to_string(cycle));
    setAll(random.chance(0.5) ? *plugin : *other, random);
    ASSERT_TRUE(random.chance(0.7) || plugin->loadFrom(other->saved()));
    if (random.chance(0.7)) rate = random.pick(std::array{44100.0, 48000.0, 96000.0, 22050.0});
    ASSERT_TRUE(plugin->activate(rate, kMaxFrames));
    direct.activate(rate, *plugin);
    for (int block = random.integer(1, 12); block > 0; --block) {
      if (format.playsDoubles && random.chance(0.5))
        playBoth<double>(random, *plugin, direct, format);
      else
        playBoth<float>(random, *plugin, direct, format);
      if (testing::Test::HasFatalFailure()) return;
    }
    plugin->deactivate();
  }
  EXPECT_EQ(plugin->allocated, 0);
}

// One thread loads states all the time while another plays.
TEST_P(Formats, TakeAFloodOfParametersWhilePlaying) {
  const auto plugin = GetParam().create(), other = GetParam().create();
  Random random(sessionSeed() ^ 0xF100);
  std::vector<Bytes> states;
  for (int i = 0; i < 8; ++i) setAll(*other, random), states.push_back(other->saved());
  ASSERT_TRUE(plugin->activate(44100.0, 64));
  std::atomic<bool> done{false};
  bool sound = true;
  std::thread audio([&, sides = GetParam().sides] {
    Random notes(1);
    for (int block = 0; block < effort(2000); ++block) {
      Channels<float> io = drawChannels<float>(notes, sides, 64);
      io.back() = io[0];
      plugin->play(io, io);
      sound = sound && io.back() == io[0];  // false for NaN, too
    }
    done = true;
  });
  std::size_t loads = 0;
  do {  // once even if the audio has ended first
    EXPECT_TRUE(plugin->loadFrom(states[++loads % states.size()]));
  } while (!done);
  audio.join();
  EXPECT_TRUE(sound) << "NaN, or the two sides differ";
  EXPECT_EQ(plugin->saved(), states[loads % states.size()]);
}

// Two hundred plug-ins with different values play as if each were alone.
TEST_P(Formats, ManyInstancesAreIndependent) {
  constexpr std::array kRates = {44100.0, 48000.0};
  Random random(sessionSeed());
  std::vector<std::unique_ptr<HostedPlugin>> plugins(200);
  for (std::size_t i = 0; i < plugins.size(); ++i) {
    plugins[i] = GetParam().create();
    setAll(*plugins[i], random);
    ASSERT_TRUE(plugins[i]->activate(kRates[i % 2], kMaxFrames));
  }
  for (std::size_t i = 0; i < plugins.size(); ++i) {
    DirectAmp direct(GetParam().sides);
    direct.activate(kRates[i % 2], *plugins[i]);
    playBoth<float>(random, *plugins[i], direct, GetParam());
  }
}

// After the fade the output is the input, bit for bit. After the bypass it is what it would have
// been without: the amplifier goes on processing.
TEST_P(Formats, BypassPassesTheInputAndKeepsProcessing) {
  constexpr int kFrames = 64, kRound = 20, kFading = 8;  // blocks, of which 10 ms take 7.5
  const auto plugin = GetParam().create(), twin = GetParam().create();
  if (!plugin->bypass(false)) GTEST_SKIP() << "the format has no bypass";
  ASSERT_TRUE(plugin->activate(48000.0, kFrames));
  ASSERT_TRUE(twin->activate(48000.0, kFrames));
  Random random(sessionSeed() ^ 0xB19A);
  for (int block = 0; block < 3 * kRound; ++block) {
    const bool bypassed = block / kRound == 1;
    if (block % kRound == 0) plugin->bypass(bypassed);
    Channels<float> in = drawChannels<float>(random, GetParam().sides, kFrames);
    Channels<float> out = in, wet = in;
    plugin->play(in, out);
    twin->play(in, wet);
    for (std::size_t side = 0; side < in.size() && block % kRound >= kFading; ++side)
      EXPECT_TRUE(sameBits(out[side], bypassed ? in[side] : wet[side])) << block;
  }
  EXPECT_EQ(plugin->allocated, 0);
}

TEST_P(StatefulFormats, KeepTheBypass) {
  const auto plugin = GetParam().create();
  if (!plugin->bypass(false)) GTEST_SKIP() << "the format has no bypass";
  const Bytes stored = storedState("state-v2.bin");
  ASSERT_TRUE(plugin->loadFrom(stored));
  ASSERT_TRUE(plugin->activate(48000.0, 64));
  Channels<float> in(static_cast<std::size_t>(GetParam().sides), std::vector<float>(64, 0.25F));
  Channels<float> out = in;
  for (auto& side : out) side.assign(64, 9.0F);
  plugin->play(in, out);
  EXPECT_EQ(out, in) << "without a fade";
  EXPECT_EQ(plugin->saved(), stored);
  ASSERT_TRUE(plugin->loadPreset(1));
  EXPECT_EQ(plugin->saved()[4], 2) << "a preset leaves the bypass alone";
  ASSERT_TRUE(plugin->loadFrom(storedState("state-v1.bin")));
  EXPECT_EQ(plugin->saved()[4], 1);
}

// The stored example has the knobs of parameter i at i/20, the selector at VINTAGE.
TEST_P(StatefulFormats, KeepTheirStateThroughAnyStreamAndRefuseOthers) {
  const Bytes stored = storedState("state-v1.bin");
  Random random(sessionSeed() ^ 0x57A7);
  for (const std::size_t chunk : {1U, 3U, 23U, 1000U}) {
    const auto first = GetParam().create(), second = GetParam().create();
    ASSERT_TRUE(first->loadFrom(stored, chunk));
    for (int i = 1; i <= 19; ++i)
      EXPECT_EQ(static_cast<float>(first->get(i)), i < 19 ? static_cast<float>(i) / 20.0F : 0.5F);
    EXPECT_EQ(first->saved(chunk), stored);
    setAll(*first, random);
    const Bytes good = first->saved(chunk);
    ASSERT_TRUE(second->loadFrom(good, chunk));
    for (const int i : kSetParameters) EXPECT_EQ(second->get(i), first->get(i)) << i;
    std::vector<Bytes> bad(good.size() + 3, good);
    for (std::size_t i = 0; i < good.size(); ++i) bad[i][i] ^= 0x10;
    bad[good.size()].clear();
    bad[good.size() + 1].pop_back();
    bad[good.size() + 2].push_back(0);
    for (const Bytes& bytes : bad) EXPECT_FALSE(second->loadFrom(bytes, chunk));
    EXPECT_EQ(second->saved(), good);
    EXPECT_EQ(second->timesToldOfNewValues(), 1);
  }
}

// Every displayed text is read back as its value, and other texts are refused.
TEST_P(StatefulFormats, ShowAndReadValues) {
  const auto plugin = GetParam().create();
  for (int index = 1; index <= 19; ++index) {
    for (const char* nonsense : {"", "loud", "MODERNE", "1e999"})
      EXPECT_FALSE(plugin->value(index, nonsense).has_value()) << index << nonsense;
    for (int step = 0; step <= 1000; ++step) {
      const std::string shown = plugin->text(index, step / 1000.0);
      const std::optional<double> read = plugin->value(index, shown);
      ASSERT_TRUE(read.has_value()) << index << " shows " << shown;
      ASSERT_NEAR(*read, step / 1000.0, index < 19 ? 1e-7 : 0.5) << shown;
      ASSERT_EQ(plugin->text(index, *read), shown);
    }
  }
  EXPECT_EQ(plugin->text(1, 0.75), "7.50");
  EXPECT_EQ(plugin->text(19, 0.5), "VINTAGE");
  EXPECT_EQ(plugin->text(kInputParameter, 0.25), "-12.0 dB");
  EXPECT_NEAR(plugin->value(kGateParameter, "-30 dB").value_or(-1.0), 1.0, 1e-7);
}

TEST_P(StatefulFormats, OfferTheFactoryBank) {
  const auto plugin = GetParam().create();
  for (int number = kBankSize; number > 0; --number) {
    ASSERT_TRUE(plugin->loadPreset(number));
    for (int i = 1; i <= 19; ++i) {
      const float wanted = presetValue(kFactoryBank[static_cast<std::size_t>(number - 1)], i);
      EXPECT_EQ(static_cast<float>(plugin->get(i)), wanted) << number << ", " << i;
    }
  }
  EXPECT_EQ(plugin->timesToldOfNewValues(), kBankSize);
}

}  // namespace
}  // namespace quellard::test

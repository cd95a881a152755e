// SPDX-License-Identifier: ISC
// HostedAmp: tail, buffers of every kind, input limit, bypass.
#include "rig/hosted_amp.h"

#include <cstdio>
#include <limits>

#include "tests/adapters/format_suite.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

// A loud low string, then silence. Most knobs are at their ends, where the tone controls ring
// longest.
TEST(HostedAmp, TailIsNoLongerThanReported) {
  constexpr std::array kRates = {48000.0, 44100.0, 96000.0, 192000.0};
  double longest = 0.0;  // seconds
  Random random(sessionSeed() ^ 0x7A11);
  for (int setting = 0; setting < effort(48); ++setting) {
    const double rate = kRates[static_cast<std::size_t>(setting % 4)];
    HostedAmp amp(HostedAmp::kMono);
    for (int index = 1; index <= kNumKnobs; ++index)
      amp.setValue(index,
                   static_cast<float>(setting % 5 != 0 ? random.integer(0, 1) : random.unit()));
    for (const int master : {5, 11, 17}) amp.setValue(master, 1.0F);
    amp.setValue(kTypeParameter, static_cast<float>(setting % 3) / 2.0F);
    ASSERT_TRUE(amp.prepare(rate, 512));
    const auto end = static_cast<std::size_t>(rate / 2.0);
    std::vector<double> io = pluckedNote(random, rate, 41.0, 1.0, end);
    io.resize(end + static_cast<std::size_t>(2.5 * rate), 0.0);
    double* channel = io.data();
    const AudioChannels block{.doubles = &channel, .count = 1};
    amp.play(block, block, 0, static_cast<int>(io.size()));
    for (std::size_t i = end; i < io.size(); ++i)
      if (std::fabs(io[i]) > 1e-6)  // -120 dB
        longest = std::max(longest, static_cast<double>(i - end) / rate);
    EXPECT_LT(longest, HostedAmp::kTailSeconds) << rate;
  }
  std::printf("longest tail: %.2f s\n", longest);
}

TEST(HostedAmp, LimitsValuesAndIgnoresNanAndUnknownParameters) {
  HostedAmp amp(HostedAmp::kMono);
  for (const auto& [asked, held] : {std::pair{0.75F, 0.75F},
                                    {NAN, 0.75F},
                                    {HUGE_VALF, 1.0F},
                                    {-HUGE_VALF, 0.0F},
                                    {NAN, 0.0F}}) {
    for (int index = 0; index <= 24; ++index) amp.setValue(index, asked);
    for (int index = 0; index <= 24; ++index) {
      EXPECT_EQ(amp.value(index), index > 0 && index < 24 ? held : 0.0F) << index;
    }
  }
}

// A host may swap the channels of one buffer, mix the precisions, or lack a channel.
TEST(HostedAmp, ReadsEveryChannelBeforeItWritesAny) {
  constexpr int kFrames = 64;
  Random random(sessionSeed() ^ 0xC055);
  Channels<float> in = drawChannels<float>(random, 2, kFrames);
  Channels<double> wide(2, std::vector<double>(kFrames));
  std::vector<float> onlyLeft(kFrames, 9.0F);
  const auto play = [from = pointersTo(in)](const AudioChannels& out) {
    HostedAmp amp(HostedAmp::kStereo);
    ASSERT_TRUE(amp.prepare(44100.0, kFrames));
    amp.play({.floats = from.data(), .count = 2}, out, 0, kFrames);
  };
  play({.doubles = pointersTo(wide).data(), .count = 2});
  play({.floats = std::array<float*, 2>{onlyLeft.data(), nullptr}.data(), .count = 2});
  play({.floats = std::array{in[1].data(), in[0].data()}.data(), .count = 2});
  expectPlayed(in[1], wide[0]);
  expectPlayed(in[0], wide[1]);
  expectPlayed(onlyLeft, wide[0]);
}

// A huge sample sounds like one at the limit, a smaller one is not changed, and NaN and infinity
// sound like silence.
TEST(HostedAmp, LimitsTheInput) {
  const auto playedWith = [](double odd) {
    HostedAmp amp(HostedAmp::kMono);
    amp.setValue(kTypeParameter, 0.0F);
    EXPECT_TRUE(amp.prepare(48000.0, 512));
    std::vector<double> io(24000);
    io[100] = odd;
    double* channel = io.data();
    const AudioChannels block{.doubles = &channel, .count = 1};
    amp.play(block, block, 0, static_cast<int>(io.size()));
    return io;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(sameBits(playedWith(1e300), playedWith(1000.0)));
  EXPECT_TRUE(sameBits(playedWith(-1e300), playedWith(-1000.0)));
  EXPECT_FALSE(sameBits(playedWith(999.0), playedWith(1000.0)));
  for (const double none : {kInfinity, -kInfinity, std::nan("")})
    EXPECT_TRUE(sameBits(playedWith(none), playedWith(0.0)));
  const std::vector<double> late = playedWith(1e300);
  for (std::size_t i = late.size() - 4800; i < late.size(); ++i)
    ASSERT_LT(std::fabs(late[i]), 1e-3) << "half a second later";
}

// Plays a block of both sides through the amplifier.
template <typename Sample>
Channels<Sample> played(HostedAmp& amp, Channels<Sample> in) {
  const auto frames = static_cast<int>(in[0].size());
  const auto from = pointersTo(in);
  Channels<Sample> out(in.size(), std::vector<Sample>(in[0].size()));
  const auto to = pointersTo(out);
  if constexpr (sizeof(Sample) == sizeof(float)) {
    amp.play({.floats = from.data(), .count = 2}, {.floats = to.data(), .count = 2}, 0, frames);
  } else {
    amp.play({.doubles = from.data(), .count = 2}, {.doubles = to.data(), .count = 2}, 0, frames);
  }
  return out;
}

// While bypassed the output is the input, bit for bit. The fades take 10 ms and are linear.
// Afterwards the amplifier sounds like one that was never bypassed.
template <typename Sample>
void expectBypass(Random& random) {
  HostedAmp amp(HostedAmp::kStereo), other(HostedAmp::kStereo);
  for (HostedAmp* one : {&amp, &other}) ASSERT_TRUE(one->prepare(48000.0, 512));
  const auto next = [&](int frames) { return drawChannels<Sample>(random, 2, frames); };
  int fading = 0;
  const auto expectFade = [&](bool bypassed) {
    amp.setBypass(bypassed);
    for (fading = 480; fading > 0;) {
      const int frames = std::min(random.integer(1, 200), fading);
      const Channels<Sample> in = next(frames), out = played(amp, in), wet = played(other, in);
      for (std::size_t i = 0; i < out[0].size(); ++i, --fading) {
        const double share = (bypassed ? 480 - fading : fading) / 480.0;
        const double x = static_cast<double>(in[0][i]), y = static_cast<double>(wet[0][i]);
        ASSERT_NEAR(static_cast<double>(out[0][i]), y + (x - y) * share, 1e-6) << fading;
      }
    }
  };
  for (int round = 0; round < 3; ++round) {
    Channels<Sample> in = next(300);
    EXPECT_EQ(played(amp, in), played(other, in));
    expectFade(true);
    in = next(700);
    in[0][3] = std::numeric_limits<Sample>::denorm_min();
    in[1][5] = std::numeric_limits<Sample>::infinity();
    EXPECT_EQ(played(amp, in), in);
    played(other, in);
    expectFade(false);
  }
}

TEST(HostedAmp, BypassPassesTheInputAndKeepsProcessing) {
  Random random(sessionSeed() ^ 0xB9);
  expectBypass<float>(random);
  expectBypass<double>(random);
}

// A project that was saved bypassed starts bypassed, without a fade.
TEST(HostedAmp, BypassOutlivesPrepareAndReset) {
  Random random(sessionSeed() ^ 0xBA);
  HostedAmp amp(HostedAmp::kStereo);
  amp.setBypass(true);
  for (int activation = 0; activation < 2; ++activation) {
    ASSERT_TRUE(amp.prepare(44100.0, 64));
    const auto in = drawChannels<double>(random, 2, 100);
    EXPECT_EQ(played(amp, in), in);
    amp.reset();
    EXPECT_EQ(played(amp, in), in);
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The bank plays the guitar takes of Debian's sonic-pi-samples equally loud and never beyond full
// scale. `factory_bank_tests --gtest_filter=*Loud` prints the measured table; "to set" is the
// MASTER that would meet the level exactly.
#include "params/factory_bank.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ebur128.h>
#include <gtest/gtest.h>
#include <set>
#include <sndfile.hh>
#include <string>
#include <vector>

#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

constexpr double kLoudnessLufs = -20.0;
constexpr double kToleranceLu = 1.0;
// On one take alone no MASTER brings clean and driven presets to one level: the takes differ by 12
// LU, of which a clean amplifier keeps all and a driven one 2. So each kind has a level on each
// take of guitarTakes(). Edge of Breakup is between the kinds, up to 4.2 LU from clean.
constexpr std::array<double, 4> kCleanLufs = {-18.2, -23.8, -19.8, -29.5};
constexpr std::array<double, 4> kDrivenLufs = {-20.0, -20.8, -19.5, -21.6};
constexpr int kBlock = 512;

struct Take {
  int rate = 0;
  std::vector<double> samples;  // both sides of a stereo take, averaged
};

Take readTake(const std::string& file) {
  SndfileHandle sound(file);
  const auto frames = static_cast<std::size_t>(sound.frames());
  const auto channels = static_cast<std::size_t>(sound.channels());
  std::vector<double> all(frames * channels);
  sound.readf(all.data(), sound.frames());
  Take take{sound.samplerate(), std::vector<double>(frames)};
  for (std::size_t i = 0; i < all.size(); ++i) {
    take.samples[i / channels] += all[i] / static_cast<double>(channels);
  }
  return take;
}

std::vector<Take> guitarTakes() {
  std::vector<Take> takes;
  for (const char* name : {"e_fifths", "e_slide", "em9", "harmonics"}) {
    takes.push_back(readTake(std::string("/usr/share/sonic-pi/samples/guit_") + name + ".flac"));
  }
  return takes;
}

std::vector<double> playTake(const Take& take, const FactoryPreset& preset) {
  OpenedEffect amp;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    amp.setParameter(index, presetValue(preset, index));
  }
  amp.setSampleRate(static_cast<float>(take.rate));
  std::vector<double> out = take.samples;
  for (std::size_t done = 0; done < out.size(); done += kBlock) {
    const auto frames = static_cast<int>(std::min<std::size_t>(kBlock, out.size() - done));
    amp.process(&out[done], &out[done], frames);
  }
  return out;
}

struct Loudness {
  double lufs = 0.0;  // all takes together
  double peak = 0.0;  // full scale is 1
  std::vector<double> lufsOfTake;
};

Loudness measure(const FactoryPreset& preset, const std::vector<Take>& takes) {
  std::vector<ebur128_state*> meters;
  Loudness measured;
  for (const Take& take : takes) {
    const std::vector<double> out = playTake(take, preset);
    for (const double sample : out) measured.peak = std::max(measured.peak, std::fabs(sample));
    meters.push_back(ebur128_init(1, static_cast<unsigned long>(take.rate), EBUR128_MODE_I));
    ebur128_add_frames_double(meters.back(), out.data(), out.size());
    ebur128_loudness_global(meters.back(), &measured.lufsOfTake.emplace_back());
  }
  ebur128_loudness_global_multiple(meters.data(), meters.size(), &measured.lufs);
  for (ebur128_state*& meter : meters) ebur128_destroy(&meter);
  return measured;
}

TEST(FactoryBank, PlaysTheGuitarTakesEquallyLoud) {
  const std::vector<Take> takes = guitarTakes();
  if (takes[0].rate == 0) GTEST_SKIP() << "the package sonic-pi-samples is not installed";
  std::printf("%-24s %6s %6s %7s %7s  each take\n", "preset", "LUFS", "peak", "MASTER", "to set");
  for (const FactoryPreset& preset : kFactoryBank) {
    const auto [lufs, peak, lufsOfTake] = measure(preset, takes);
    // MASTER is squared and comes last, so the level is exactly 40 dB for each tenfold of it.
    const double master = preset.knobs[4];
    const double wanted = master * std::pow(10.0, (kLoudnessLufs - lufs) / 40.0);
    std::printf("%-24s %6.1f %6.2f %7.2f %7.2f ", preset.name, lufs, peak, master, wanted);
    EXPECT_NEAR(lufs, kLoudnessLufs, kToleranceLu) << preset.name;
    EXPECT_LT(peak, 1.0) << preset.name;
    const auto& level = preset.channel == 0 ? kCleanLufs : kDrivenLufs;
    const double tolerance = preset.name == std::string("Edge of Breakup") ? 4.3 : kToleranceLu;
    for (std::size_t i = 0; i < takes.size(); ++i) {
      std::printf(" %6.1f", lufsOfTake[i]);
      EXPECT_NEAR(lufsOfTake[i], level[i], tolerance);
    }
    std::printf("\n");
  }
}

// Hosts look presets up by name and list programs in 24 bytes. A preset is the whole amplifier: its
// own channel as listed, the others as a new one has them.
TEST(FactoryBank, APresetHasANameOfItsOwnAndSetsEveryParameter) {
  OpenedEffect fresh;
  std::set<int> channels;
  for (const FactoryPreset& preset : kFactoryBank) {
    EXPECT_LE(std::string(preset.name).size(), static_cast<std::size_t>(kFactoryNameLen));
    EXPECT_EQ(findFactoryPreset(preset.name), &preset);
    channels.insert(preset.channel);
    const auto values = presetValues(preset);
    for (int index = 1; index <= kNumControls; ++index) {
      const auto knob = static_cast<std::size_t>((index - 1) % kKnobsPerChannel);
      EXPECT_EQ(values[static_cast<std::size_t>(index - 1)],
                findParameter(index)->channel == preset.channel
                    ? static_cast<float>(preset.knobs[knob] / 10.0)
                    : fresh.getParameter(index));
      EXPECT_TRUE(preset.knobs[knob] >= 0.0 && preset.knobs[knob] <= 10.0) << preset.name;
    }
    EXPECT_EQ(channelFromSelect(values.back()), preset.channel) << preset.name;
  }
  EXPECT_EQ(channels, (std::set<int>{0, 1, 2}));
}

}  // namespace
}  // namespace quellard::test

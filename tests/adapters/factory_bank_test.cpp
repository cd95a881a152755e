// SPDX-License-Identifier: ISC
// The factory presets play the guitar takes of Debian's sonic-pi-samples equally loud and never
// beyond full scale, and sound as their descriptions say. `factory_bank_tests
// --gtest_filter=*Loud` prints the measured levels; "to set" is the MASTER that would meet the
// target exactly.
#include "params/factory_bank.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <ebur128.h>
#include <gtest/gtest.h>
#include <numbers>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/adapters/guitar_takes.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

constexpr double kLoudnessLufs = -20.0;
constexpr double kToleranceLu = 1.0;
// The takes differ by 12 LU. A clean preset keeps this difference, a driven one compresses it to 2
// LU, so that no MASTER gives both the same level on every take. So each kind has its own level for
// each take of guitarTakes(), and a third one is for presets that are clean on some takes and
// driven on others.
constexpr std::array<double, 4> kCleanLufs = {-18.1, -23.1, -19.9, -29.0};
constexpr std::array<double, 4> kDrivenLufs = {-19.8, -21.2, -19.4, -21.9};
constexpr std::array<double, 4> kMiddleLufs = {-18.9, -22.2, -19.7, -25.4};
constexpr double kTakeToleranceLu = 1.5;
constexpr double kMiddleToleranceLu = 4.5;
constexpr int kBlock = 512;

std::vector<double> play(const FactoryPreset& preset, int rate, std::vector<double> signal) {
  OpenedEffect amp;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    amp.setParameter(index, presetValue(preset, index));
  }
  amp.setSampleRate(static_cast<float>(rate));
  for (std::size_t done = 0; done < signal.size(); done += kBlock) {
    const auto frames = static_cast<int>(std::min<std::size_t>(kBlock, signal.size() - done));
    amp.process(&signal[done], &signal[done], frames);
  }
  return signal;
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
    const std::vector<double> out = play(preset, take.rate, take.samples);
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
  if (takes.empty()) GTEST_SKIP() << "the package sonic-pi-samples is not installed";
  std::printf("%-24s %6s %6s %7s %7s  each take\n", "preset", "LUFS", "peak", "MASTER", "to set");
  for (const FactoryPreset& preset : kFactoryBank) {
    const auto [lufs, peak, lufsOfTake] = measure(preset, takes);
    // MASTER is squared and comes last, so the level is exactly 40 dB for each tenfold of it.
    const double master = preset.knobs[4];
    const double wanted = master * std::pow(10.0, (kLoudnessLufs - lufs) / 40.0);
    std::printf("%-24s %6.1f %6.2f %7.2f %7.2f ", preset.name, lufs, peak, master, wanted);
    EXPECT_NEAR(lufs, kLoudnessLufs, kToleranceLu) << preset.name;
    EXPECT_LT(peak, 1.0) << preset.name;
    const std::string name = preset.name;
    const bool middle = name == "Edge of Breakup" || name == "Country Snap";
    const auto& level = middle ? kMiddleLufs : preset.channel == 0 ? kCleanLufs : kDrivenLufs;
    const double tolerance = middle ? kMiddleToleranceLu : kTakeToleranceLu;
    for (std::size_t i = 0; i < takes.size(); ++i) {
      std::printf(" %6.1f", lufsOfTake[i]);
      EXPECT_NEAR(lufsOfTake[i], level[i], tolerance) << name;
    }
    std::printf("\n");
  }
}

constexpr int kRate = 48000;

// A preset's output for steady tones: half a second, after half a second for the onset. The tones
// have even whole frequencies in Hz (so that the half second holds whole periods) and equal levels,
// and reach peak_dbfs together.
class Steady {
 public:
  Steady(const char* preset, std::vector<int> tones_hz, double peak_dbfs)
      : tones_hz_(std::move(tones_hz)) {
    std::vector<double> signal(kRate);
    for (std::size_t i = 0; i < tones_hz_.size(); ++i) {  // phases spread out for a low crest
      for (std::size_t n = 0; n < signal.size(); ++n) {
        const double periods = static_cast<double>(n) * tones_hz_[i] / kRate;
        signal[n] += std::sin(2.0 * std::numbers::pi * periods + 1.3 * static_cast<double>(i));
      }
    }
    const auto [lowest, highest] = std::ranges::minmax(signal);
    const double level = std::pow(10.0, peak_dbfs / 20.0) / std::max(-lowest, highest);
    for (double& x : signal) x *= level;
    heard_ = play(*findFactoryPreset(preset), kRate, std::move(signal));
    heard_.erase(heard_.begin(), heard_.begin() + kRate / 2);
  }

  // The power at an even whole frequency; a sine of amplitude 1 has 0.5.
  double powerAt(int hz) const {
    const std::complex<double> rotation = std::polar(1.0, 2.0 * std::numbers::pi * hz / kRate);
    std::complex<double> phase = 1.0, sum = 0.0;
    for (const double x : heard_) {
      sum += x * phase;
      phase *= rotation;
    }
    const auto length = static_cast<double>(heard_.size());
    return 2.0 * std::norm(sum / length);
  }

  // Total harmonic distortion of a single tone, in %.
  double thd() const {
    double overtones = 0.0;
    for (int hz = 2 * tones_hz_[0]; hz < kRate / 2; hz += tones_hz_[0]) overtones += powerAt(hz);
    return 100.0 * std::sqrt(overtones / powerAt(tones_hz_[0]));
  }

  // Intermodulation: what is no harmonic of any tone, relative to the whole, in %.
  double intermodulation() const {
    std::set<int> own;
    for (const int tone : tones_hz_) {
      for (int hz = tone; hz < kRate / 2; hz += tone) own.insert(hz);
    }
    double belonging = 0.0, all = 0.0;
    for (const int hz : own) belonging += powerAt(hz);
    for (const double x : heard_) all += x * x / static_cast<double>(heard_.size());
    return 100.0 * std::sqrt(1.0 - belonging / all);
  }

  double db() const { return 10.0 * std::log10(powerAt(tones_hz_[0])); }

 private:
  std::vector<int> tones_hz_;
  std::vector<double> heard_;
};

// For a sine at A3. A hard stroke reaches -6 dBFS; a guitar with its volume at about 3, or a soft
// touch, 24 dB less.
double thd(const char* preset, double peak_dbfs) { return Steady(preset, {220}, peak_dbfs).thd(); }

TEST(FactoryBank, PromisedDynamicsAreThere) {
  const struct {
    const char* preset;
    double hard, soft;  // THD in %: at least, at most
  } promises[] = {
      {"Blues Lead", 20.0, 4.0}, {"Edge of Breakup", 7.0, 0.3}, {"Country Snap", 8.0, 0.5}};
  for (const auto& [preset, hard, soft] : promises) {
    EXPECT_GT(thd(preset, -6.0), hard) << preset;
    EXPECT_LT(thd(preset, -30.0), soft) << preset;
    for (double level = -6.0; level > -30.0; level -= 6.0) {
      EXPECT_LT(thd(preset, level - 6.0), 0.85 * thd(preset, level)) << preset << " at " << level;
    }
  }
  for (const char* clean : {"Chime Clean", "Warm Jazz", "Funk Cut"})
    EXPECT_LT(thd(clean, -6.0), 1.0);
  EXPECT_LT(thd("Pedal Platform", 6.0), 3.0) << "a pedal, 12 dB louder than a hard stroke";

  // How far the output falls, in dB, when the input falls by 18 dB.
  const auto fall = [](const char* preset) {
    return Steady(preset, {220}, -6.0).db() - Steady(preset, {220}, -24.0).db();
  };
  EXPECT_LT(fall("Blues Lead"), 3.0) << "sings";
  EXPECT_LT(fall("Soaring Solo"), 1.0) << "long sustain";
  EXPECT_LT(fall("Soaring Solo"), fall("Modern Rhythm"));
}

TEST(FactoryBank, PromisedTonesAreThere) {
  // The response in dB relative to 500 Hz, at a level too low to distort.
  const auto tone = [](const char* preset, int hz) {
    constexpr double kTiny_dbfs = -100.0;
    return Steady(preset, {hz}, kTiny_dbfs).db() - Steady(preset, {500}, kTiny_dbfs).db();
  };
  // "Pedal Platform" has all of CLEAN's tone knobs at 5.
  EXPECT_GT(tone("Chime Clean", 3200), tone("Pedal Platform", 3200) + 1.5) << "sparkle";
  EXPECT_LT(tone("Warm Jazz", 3200), tone("Pedal Platform", 3200) - 8.0) << "dark";
  EXPECT_GT(tone("Funk Cut", 3200), tone("Pedal Platform", 3200) + 2.0) << "much pick";
  EXPECT_LT(tone("Funk Cut", 110), tone("Pedal Platform", 110) - 4.0) << "little bass";
  EXPECT_GT(tone("Stack Roar", 110), tone("Classic Crunch", 110) + 4.0) << "fills the room";
  EXPECT_LT(tone("Modern Rhythm", 82), -9.0) << "tight";
  for (const int beside : {220, 3200}) {
    EXPECT_GT(tone("Scooped Metal", beside) - tone("Scooped Metal", 700),
              tone("Modern Rhythm", beside) - tone("Modern Rhythm", 700) + 4.0)
        << "mids out";
  }
  EXPECT_LT(tone("Soaring Solo", 3200), tone("Modern Rhythm", 3200) - 4.0) << "mids in front";
  EXPECT_LT(tone("Soaring Solo", 110), -5.0) << "leaves the bass to the band";
  // An open E major chord, ringing.
  const std::vector<int> chord = {82, 124, 164, 208, 246, 330};
  EXPECT_LT(Steady("Classic Crunch", chord, -18.0).intermodulation(), 30.0) << "readable";
  EXPECT_GT(Steady("Stack Roar", chord, -18.0).intermodulation(), 40.0) << "not readable";
}

// Hosts look up presets by name. A preset sets every parameter: the knobs of its own channel as
// listed, those of the others to their defaults.
TEST(FactoryBank, NamesAreUniqueAndEveryParameterIsSet) {
  OpenedEffect fresh;
  std::set<int> channels;
  for (const FactoryPreset& preset : kFactoryBank) {
    EXPECT_EQ(findFactoryPreset(preset.name), &preset);
    channels.insert(preset.channel);
    const auto values = presetValues(preset);
    for (int index = 1; index <= kNumKnobs; ++index) {
      const auto knob = static_cast<std::size_t>((index - 1) % kKnobsPerChannel);
      EXPECT_EQ(values[index], findParameter(index)->channel == preset.channel
                                   ? static_cast<float>(preset.knobs[knob] / 10.0)
                                   : fresh.getParameter(index));
      EXPECT_TRUE(preset.knobs[knob] >= 0.0 && preset.knobs[knob] <= 10.0) << preset.name;
    }
    EXPECT_EQ(channelFromSelect(values[kTypeParameter]), preset.channel) << preset.name;
  }
  EXPECT_EQ(channels, (std::set<int>{0, 1, 2}));
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// Cabinets from files: rates, levels, and files that are none.
#include <cmath>
#include <complex>
#include <fstream>
#include <gtest/gtest.h>
#include <numbers>

#include "tests/tools/scratch.h"
#include "tools/common/errors.h"
#include "tools/host/meter.h"
#include "tools/settings/cabinet_file.h"

namespace quellard::test {
namespace {

// What a loudspeaker does: a band from 80 Hz to 5 kHz, with a resonance and a room behind it.
std::vector<double> speaker(double rate, double lead_s = 0.0) {
  std::vector<double> taps(static_cast<std::size_t>((0.2 + lead_s) * rate));
  const auto lead = static_cast<std::size_t>(lead_s * rate);
  for (std::size_t i = lead; i < taps.size(); ++i) {
    const double t = static_cast<double>(i - lead) / rate;
    const double pi2 = 2.0 * std::numbers::pi;
    taps[i] = std::sin(pi2 * 2500.0 * t) * std::exp(-t * 4000.0) +
              0.05 * std::sin(pi2 * 110.0 * t) * std::exp(-t * 90.0);
  }
  return taps;
}

// Noise whose power falls by 3 dB an octave: the sum of lowpasses an octave apart (Voss).
std::vector<double> pinkNoise(std::size_t length) {
  Random random(41);
  std::vector<double> signal(length);
  std::array<double, 16> rows{};
  for (std::size_t i = 0; i < length; ++i) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (i % (std::size_t{1} << row) == 0) rows[row] = random.between(-0.02, 0.02);
      signal[i] += rows[row];
    }
  }
  return signal;
}

double loudness(const std::vector<double>& samples, int rate) {
  Meter meter(rate, 1);
  meter.add(samples.data(), static_cast<std::int64_t>(samples.size()));
  return meter.loudness_lufs().value_or(-100.0);
}

// What a cabinet from a file makes of a signal.
std::vector<double> through(const CabinetChoice& choice, double rate, std::vector<double> signal) {
  Cabinet cabinet;
  cabinet.prepare(rate);
  loadCabinet(choice, rate, 1, cabinet);
  cabinet.reset();
  cabinet.process(std::array{signal.data()}, static_cast<int>(signal.size()));
  return signal;
}

double gainAt(const std::vector<double>& taps, double hz, double rate) {
  std::complex<double> sum = 0.0;
  for (std::size_t i = 0; i < taps.size(); ++i) {
    sum += std::polar(taps[i], -2.0 * std::numbers::pi * hz / rate * static_cast<double>(i));
  }
  return std::abs(sum);
}

TEST(CabinetFile, KeepsTheLoudnessOfPinkNoise) {
  const Scratch folder;
  writeAudio(folder / "speaker.wav", {48000, 1, speaker(48000.0)});
  std::vector<double> loud = speaker(96000.0);
  for (double& x : loud) x *= 40.0;
  writeAudio(folder / "loud.wav", {96000, 1, loud});
  const std::vector<double> pink = pinkNoise(48000 * 12);
  for (const char* name : {"speaker.wav", "loud.wav"}) {
    for (const double level : {0.0, -6.0}) {
      const std::vector<double> heard = through({folder / name, level}, 48000.0, pink);
      EXPECT_NEAR(loudness(heard, 48000) - loudness(pink, 48000), level, 0.3) << name;
    }
  }
}

TEST(CabinetFile, SoundsTheSameAtEveryRate) {
  const Scratch folder;
  for (const int rate : {22050, 44100, 48000, 96000, 192000}) {
    const std::vector<double> recorded = speaker(rate, 0.01);
    writeAudio(folder / "speaker.wav", {rate, 1, recorded});
    const double bass = gainAt(recorded, 110.0, rate) / gainAt(recorded, 1000.0, rate);
    for (const double played : {44100.0, 48000.0, 96000.0}) {
      std::vector<double> click(static_cast<std::size_t>(played / 2.0));
      click[0] = 1.0;
      const std::vector<double> taps = through({folder / "speaker.wav"}, played, click);
      const double middle = gainAt(taps, 1000.0, played);
      EXPECT_NEAR(gainAt(taps, 110.0, played) / middle, bass, 0.01 * bass)
          << rate << " at " << played;
      const auto lead = static_cast<std::size_t>(0.0095 * played);
      double early = 0.0;
      for (std::size_t i = 0; i < lead; ++i) early = std::max(early, std::fabs(taps[i]));
      EXPECT_LT(early, 0.01 * middle) << "the lead of silence stays";
    }
  }
}

TEST(CabinetFile, RefusesWhatIsNone) {
  const Scratch folder;
  const auto complaint = [&](const std::string& name) -> std::string {
    try {
      Cabinet cabinet;
      cabinet.prepare(48000.0);
      loadCabinet({folder / name}, 44100.0, 1, cabinet);
    } catch (const FileError& error) {
      return error.what();
    }
    return "accepted";
  };
  const auto ends = [](const std::string& text, const std::string& end) {
    return text.ends_with(end) ? testing::AssertionSuccess() : testing::AssertionFailure() << text;
  };
  writeAudio(folder / "silent.wav", {48000, 1, std::vector<double>(500)});
  writeAudio(folder / "nan.wav", {48000, 1, {1.0, std::nan(""), 0.0}});
  writeAudio(folder / "eight.wav", {48000, 8, std::vector<double>(80, 0.5)});
  writeAudio(folder / "empty.wav", {48000, 1, {}});
  writeAudio(folder / "minute.wav", {48000, 2, pinkNoise(48000 * 120)});
  std::ofstream(folder / "text.wav") << "Dear diary";
  EXPECT_TRUE(ends(complaint("silent.wav"),
                   "silent.wav as a cabinet: nothing is heard of it within a second"));
  EXPECT_TRUE(ends(complaint("nan.wav"), "it has samples that are not finite"));
  EXPECT_TRUE(ends(complaint("eight.wav"), "it has 8 channels, and a cabinet one or two"));
  EXPECT_NE(complaint("empty.wav"), "accepted");
  writeAudio(folder / "one.wav", {48000, 1, {0.5}});
  writeAudio(folder / "slow.wav", {50, 1, {0.5}});
  writeAudio(folder / "fast.wav", {2000000000, 1, std::vector<double>(100, 0.5)});
  EXPECT_EQ(complaint("one.wav"), "accepted");
  EXPECT_TRUE(ends(complaint("slow.wav"), "its rate of 50 Hz is outside 4000 to 768000"));
  EXPECT_NE(complaint("fast.wav"), "accepted");
  EXPECT_NE(complaint("text.wav"), "accepted");
  EXPECT_NE(complaint("missing.wav"), "accepted");
  fs::create_directory(folder / "folder");
  EXPECT_TRUE(ends(complaint("folder"), "it is not an ordinary file"));
  std::vector<double> subsonic(48000);
  for (std::size_t i = 0; i < subsonic.size(); ++i) {
    subsonic[i] = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / 48000.0);
  }
  writeAudio(folder / "subsonic.wav", {48000, 1, subsonic});
  EXPECT_TRUE(ends(complaint("subsonic.wav"), "nothing is heard of it within a second"));
  EXPECT_EQ(complaint("minute.wav"), "accepted");
}

}  // namespace
}  // namespace quellard::test

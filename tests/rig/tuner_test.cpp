// SPDX-License-Identifier: ISC
// Plucked strings of every pitch at every rate that players have, and what is no string.
#include "rig/tuner.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <set>
#include <thread>

#include "rig/tunings.h"
#include "tests/support/effort.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

double noteFrequency(int number) { return 440.0 * std::exp2((number - 69) / 12.0); }

// The amplitudes of the first harmonics; those that follow fall as 1/n.
using Timbre = std::vector<double>;
const std::vector<Timbre> kTimbres = {
    {1.0},
    {0.3, 1.0, 0.8, 0.5},       // struck near the bridge
    {0.1, 0.3, 1.0, 0.2, 0.6},  // a pickup where the third is strongest
    {0.05, 0.3, 0.3},           // hardly a fundamental
    {1.0, 0.0, 0.3, 0.0, 0.2},  // struck in the middle
};
const std::vector<double> kRates = {44100.0, 48000.0, 88200.0, 96000.0, 176400.0, 192000.0};

struct String {
  double frequency_hz = 110.0;
  double rate = 48000.0;
  Timbre timbre = kTimbres[1];
  double stiffness = 0.0;  // B: harmonic n lies at n f sqrt((1 + B n^2) / (1 + B))
};

// Struck at once, at -20 dBFS RMS, with noise 40 dB below. Up to 40 harmonics below 8 kHz start at
// random phases; the higher, the sooner they die.
std::vector<double> plucked(Random& random, const String& string, double seconds) {
  std::vector<double> signal(static_cast<std::size_t>(seconds * string.rate));
  double power = 0.0;
  for (int n = 1; n <= 40 && n * string.frequency_hz < 8000.0; ++n) {
    const auto i = static_cast<std::size_t>(n) - 1;
    const double amplitude = i < string.timbre.size() ? string.timbre[i] : 1.0 / n;
    const double stretch = std::sqrt((1.0 + string.stiffness * n * n) / (1.0 + string.stiffness));
    const double step = kTurn * n * string.frequency_hz * stretch / string.rate;
    const double phase = random.between(0.0, kTurn), decay = -(1.0 + 0.3 * n) / string.rate;
    power += 0.5 * amplitude * amplitude;
    for (std::size_t k = 0; k < signal.size(); ++k) {
      const auto t = static_cast<double>(k);
      signal[k] += amplitude * std::exp(decay * t) * std::sin(step * t + phase);
    }
  }
  constexpr double kLevel = 0.0707;
  const double noise = 0.01 * kLevel * std::sqrt(3.0);
  for (double& x : signal) x = x * kLevel / std::sqrt(power) + random.between(-noise, noise);
  return signal;
}

// What is read every 10 ms.
std::vector<PitchReading> readings(const std::vector<double>& signal, double rate) {
  Tuner tuner;
  EXPECT_TRUE(tuner.prepare(rate));
  const auto step = static_cast<std::size_t>(rate / 100.0);
  std::vector<PitchReading> all;
  for (std::size_t at = 0; at + step <= signal.size(); at += step) {
    tuner.push(&signal[at], static_cast<int>(step));
    all.push_back(tuner.read());
  }
  return all;
}

double centsOff(const PitchReading& reading, double frequency_hz) {
  if (reading.frequency_hz <= 0.0) return std::numeric_limits<double>::infinity();
  return std::abs(1200.0 * std::log2(reading.frequency_hz / frequency_hz));
}

// The largest error from the time on by which a note must stand. Until then there may be none, but
// no other note.
double largestError(Random& random, const String& string) {
  const std::size_t due = string.frequency_hz < 60.0 ? 20 : 15;  // after 200 or 150 ms
  const auto all = readings(plucked(random, string, 0.35), string.rate);
  double largest = 0.0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const double off = centsOff(all[i], string.frequency_hz);
    const bool stands = i + 1 >= due;
    EXPECT_TRUE(stands || all[i].frequency_hz == 0.0 || off < 35.0) << off << " at " << i;
    if (stands) largest = std::max(largest, off);
  }
  return largest;
}

// Every semitone from the low B of a bass to the 24th fret of a guitar, each out of tune in its own
// way.
TEST(Tuner, KnowsEveryStringWithinACent) {
  Random random(sessionSeed());
  const int step = kAtFullSpeed ? 1 : 6;
  for (int number = 23; number <= 88; number += step) {
    String string;
    string.frequency_hz =
        number == 23 ? 30.87 : noteFrequency(number) * std::exp2(random.between(-0.5, 0.5) / 12.0);
    string.rate = random.pick(kRates);
    for (const Timbre& timbre : kTimbres) {
      string.timbre = timbre;
      EXPECT_LT(largestError(random, string), 1.0)
          << string.frequency_hz << " Hz, first harmonic " << timbre[0] << ", " << string.rate;
    }
  }
}

// The harmonics of thick short strings are sharp. The reading is that of the first, and never that
// of another octave.
TEST(Tuner, StiffStringsAreReadByTheirLowestHarmonics) {
  Random random(sessionSeed());
  const struct {
    double stiffness;
    double most_cents;
  } cases[] = {{5e-5, 1.0}, {1e-4, 1.5}, {3e-4, 3.0}, {6e-4, 5.0}};
  for (const auto& [stiffness, most_cents] : cases) {
    for (const int number : {23, 28, 33, 40, 50, 64, 76}) {
      const String string{.frequency_hz = noteFrequency(number),
                          .timbre = random.pick(kTimbres),
                          .stiffness = stiffness};
      EXPECT_LT(largestError(random, string), most_cents) << stiffness << ' ' << noteName(number);
    }
  }
}

void expectNoNote(const std::vector<double>& signal, double level_dbfs, const char* what) {
  const auto all = readings(signal, 48000.0);
  EXPECT_TRUE(std::ranges::all_of(all, [](auto& one) { return one.frequency_hz == 0.0; })) << what;
  EXPECT_NEAR(all.back().level_dbfs, level_dbfs, 3.0) << what;
}

// Mains hum with harmonics up to the ninth, as a transformer (or a rectifier: twice the frequency)
// gives it.
std::vector<double> hum(double frequency_hz, double level_dbfs) {
  std::vector<double> signal = sine(48000.0, frequency_hz, 1.0, 48000);
  for (int n = 2; n <= 9; ++n) {
    const auto harmonic = sine(48000.0, n * frequency_hz, n % 2 == 1 ? 1.0 / n : 0.1, 48000);
    std::ranges::transform(signal, harmonic, signal.begin(), std::plus());
  }
  const double scale = std::pow(10.0, level_dbfs / 20.0) / std::sqrt(1.2);
  for (double& x : signal) x *= scale;
  return signal;
}

// A first-order lowpass at a frequency in Hz makes the noise darker. Level in dBFS.
std::vector<double> darkNoise(Random& random, double cutoff_hz, double level_dbfs,
                              std::size_t length) {
  std::vector<double> signal = noise(random, 1.0, length);
  double state = 0.0, energy = 0.0;
  for (double& x : signal) {
    x = state += (1.0 - std::exp(-kTurn * cutoff_hz / 48000.0)) * (x - state);
    energy += x * x;
  }
  const double wanted = std::sqrt(0.5) * std::pow(10.0, level_dbfs / 20.0);
  for (double& x : signal) x *= wanted / std::sqrt(energy / static_cast<double>(length));
  return signal;
}

TEST(Tuner, ShowsNoNoteForSilenceHumAndNoise) {
  expectNoNote(std::vector<double>(48000), PitchReading::kSilence_dbfs, "silence");
  expectNoNote(std::vector<double>(48000, 0.5), PitchReading::kSilence_dbfs, "an offset");
  for (const double mains_hz : {49.9, 50.0, 50.1, 59.95, 60.0, 100.0, 120.0}) {
    for (const double level : {-70.0, -50.0, -42.0}) {
      expectNoNote(hum(mains_hz, level), level, "hum");
    }
  }
  expectNoNote(hum(110.0, -64.0), -64.0, "what is too quiet");
  expectNoNote(sine(48000.0, 2093.0, 0.5, 48000), -20.0, "what is too high");
  Random random(sessionSeed());
  const auto length = static_cast<std::size_t>(48000 * effort(16));
  for (const double cutoff_hz : {15.0, 100.0, 400.0, 2000.0}) {
    for (const double level : {-50.0, -20.0}) {
      const auto signal = darkNoise(random, cutoff_hz, level, length);
      const auto all = readings(signal, 48000.0);
      const auto notes = std::ranges::count_if(all, [](auto& r) { return r.frequency_hz > 0.0; });
      EXPECT_EQ(notes, 0) << "noise below " << cutoff_hz << " Hz";
    }
  }
}

// A string as loud as hum may be is told from it by its pitch.
TEST(Tuner, ReadsQuietStringsAndTheirLevel) {
  for (const double frequency_hz : {41.2, 49.0, 55.0, 61.74, 98.0, 123.5, 329.6}) {
    const PitchReading reading =
        readings(sine(48000.0, frequency_hz, 0.00316, 24000), 48000.0).back();
    EXPECT_LT(centsOff(reading, frequency_hz), 0.2) << frequency_hz;
    EXPECT_NEAR(reading.level_dbfs, -50.0, 0.5);
    EXPECT_GT(reading.clarity, 0.99);
  }
}

TEST(Tuner, RefusesRatesAndOutlivesEverySample) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Tuner tuner;
  for (const double rate : {0.0, -48000.0, 500.0, 1e9, kNan, kInfinity}) {
    EXPECT_FALSE(tuner.prepare(rate)) << rate;
  }
  const auto good = sine(48000.0, 196.0, 0.1, 24000);
  for (const double bad : {kNan, kInfinity, -kInfinity, 1e300, -1e300, 5e-324}) {
    const std::vector<double> samples(4800, bad);
    tuner.push(samples.data(), 4800);
    EXPECT_TRUE(std::isfinite(tuner.read().level_dbfs));
    tuner.push(good.data(), 0);
    tuner.push(good.data(), 24000);
    EXPECT_LT(centsOff(tuner.read(), 196.0), 0.1) << "after " << bad;
  }
}

TEST(Tuner, HearsTheSameInBlocksOfAnyLengthAndType) {
  Random random(sessionSeed());
  std::vector<double> signal = plucked(random, {}, 0.5);
  std::vector<float> floats(signal.size());
  std::ranges::transform(signal, floats.begin(), [](double x) { return static_cast<float>(x); });
  std::ranges::copy(floats, signal.begin());
  Tuner whole, pieces;
  whole.push(signal.data(), static_cast<int>(signal.size()));
  for (std::size_t at = 0; at < floats.size();) {
    const auto left = static_cast<int>(floats.size() - at);
    const int length = std::min(left, random.integer(1, 700));
    pieces.push(&floats[at], length);
    at += static_cast<std::size_t>(length);
  }
  EXPECT_EQ(whole.read().frequency_hz, pieces.read().frequency_hz);
}

// As when a player tunes a string, turns the tuner off and comes back later.
TEST(Tuner, HearsNothingOfTheTimeBeforeItWasCleared) {
  const auto before = sine(48000.0, 110.0, 0.1, 24000);
  const auto after = sine(48000.0, 196.0, 0.1, 14400);
  const std::vector<double> pause(4800);
  Tuner tuner;
  tuner.push(before.data(), 24000);
  tuner.clear();
  EXPECT_EQ(tuner.read().level_dbfs, PitchReading::kSilence_dbfs);
  tuner.push(pause.data(), 4800);
  EXPECT_EQ(tuner.read().level_dbfs, PitchReading::kSilence_dbfs);

  tuner.push(before.data(), 24000);
  tuner.clear();
  for (std::size_t at = 0; at < after.size(); at += 480) {
    tuner.push(&after[at], 480);
    const PitchReading reading = tuner.read();
    EXPECT_TRUE(reading.frequency_hz == 0.0 || centsOff(reading, 196.0) < 35.0) << at;
  }
  EXPECT_LT(centsOff(tuner.read(), 196.0), 0.1);
}

// As in a program on JACK: whatever is read in between is the note or none.
TEST(Tuner, IsReadWhileItListens) {
  const auto signal = sine(48000.0, 110.0, 0.1, 48000);
  Tuner tuner;
  std::atomic<bool> ends = false;
  std::thread audio([&] {
    for (int round = 0; round < effort(40); ++round) {
      for (std::size_t at = 0; at < signal.size(); at += 64) tuner.push(&signal[at], 64);
    }
    ends = true;
  });
  while (!ends) {
    const PitchReading reading = tuner.read();
    EXPECT_TRUE(reading.frequency_hz == 0.0 || centsOff(reading, 110.0) < 50.0);
  }
  audio.join();
  EXPECT_LT(centsOff(tuner.read(), 110.0), 0.1);
}

std::string named(const Tuning& tuning) {
  std::string names;
  for (const int note : tuning.strings()) names += (names.empty() ? "" : " ") + noteName(note);
  return names;
}

TEST(Tunings, FrequenciesHaveTheNamesOfNotes) {
  const struct {
    double frequency_hz;
    double reference_hz;
    const char* name;
    double cents;
  } cases[] = {{440.0, 440.0, "A4", 0.0},  {261.626, 440.0, "C4", 0.0}, {246.94, 440.0, "B3", 0.0},
               {30.868, 440.0, "B0", 0.0}, {8.176, 440.0, "C-1", 0.0},  {7.717, 440.0, "B-2", 0.0},
               {50.0, 440.0, "G1", 34.98}, {440.0, 432.0, "A4", 31.77}, {440.0, 466.0, "G#4", 0.56},
               {92.0, 440.0, "F#2", -9.38}};
  for (const auto& [frequency_hz, reference_hz, name, cents] : cases) {
    const Note note = nearestNote(frequency_hz, reference_hz);
    EXPECT_EQ(noteName(note.number), name);
    EXPECT_NEAR(note.cents, cents, 0.05) << name;
    EXPECT_NEAR(centsAbove(note.number, frequency_hz, reference_hz), note.cents, 1e-9);
  }
}

TEST(Tunings, StringsAreThoseThatPlayersKnow) {
  const struct {
    const char* name;
    const char* strings;
  } cases[] = {{"standard", "E2 A2 D3 G3 B3 E4"},
               {"Drop D", "D2 A2 D3 G3 B3 E4"},
               {"open g", "D2 G2 D3 G3 B3 D4"},
               {" DADGAD ", "D2 A2 D3 G3 A3 D4"},
               {"bass", "E1 A1 D2 G2"},
               {"bass 5", "B0 E1 A1 D2 G2"},
               {"7 strings", "B1 E2 A2 D3 G3 B3 E4"}};
  for (const auto& [name, strings] : cases) {
    ASSERT_NE(findTuning(name), nullptr) << name;
    EXPECT_EQ(named(*findTuning(name)), strings) << name;
  }
  EXPECT_EQ(findTuning("drop"), nullptr);
  std::set<std::string_view> names;
  for (const Tuning& tuning : tunings()) {
    EXPECT_TRUE(names.insert(tuning.name).second) << tuning.name;
    EXPECT_TRUE(std::ranges::is_sorted(tuning.strings())) << tuning.name;
    EXPECT_GT(noteFrequency(tuning.strings().front()), PitchDetector::kLowest_hz);
  }
  const NearestString low = nearestString(*findTuning("standard"), 80.0);
  EXPECT_EQ(low.number, 6);
  EXPECT_EQ(noteName(low.note), "E2");
  EXPECT_NEAR(low.cents, -51.3, 0.1);
  EXPECT_EQ(nearestString(*findTuning("bass 5"), 1000.0).number, 1);
}

}  // namespace
}  // namespace quellard::test

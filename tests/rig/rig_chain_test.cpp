// SPDX-License-Identifier: ISC
// The levels and the gate around the amplifier, by what players hear of them.
#include "rig/rig_chain.h"

#include <cmath>
#include <cstdio>
#include <numbers>

#include "params/decibels.h"
#include "params/factory_bank.h"
#include "rig/hosted_amp.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kRate = 44100.0;
constexpr double kTurn = 2.0 * std::numbers::pi;

int framesOf(double seconds) { return static_cast<int>(seconds * kRate); }

double dbOf(double factor) { return 20.0 * std::log10(std::max(factor, 1e-12)); }

double rms(const std::vector<double>& samples, int begin, int end) {
  double sum = 0.0;
  for (int i = begin; i < end; ++i) {
    sum += samples[static_cast<std::size_t>(i)] * samples[static_cast<std::size_t>(i)];
  }
  return std::sqrt(sum / (end - begin));
}

double peak(const std::vector<double>& samples, int begin, int end) {
  double highest = 0.0;
  for (int i = begin; i < end; ++i) {
    highest = std::max(highest, std::fabs(samples[static_cast<std::size_t>(i)]));
  }
  return highest;
}

// Hum and hiss of a noisy guitar, -75 dBFS RMS together.
void addNoise(Random& random, std::vector<double>& samples) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / kRate;
    const double hum = std::sin(kTurn * 50.0 * t) + 0.5 * std::sin(kTurn * 150.0 * t);
    double hiss = 0.0;
    for (int k = 0; k < 6; ++k) hiss += random.between(-1.0, 1.0);
    samples[i] += 1.778e-4 * (0.63 * hum + 0.5 * hiss);
  }
}

HostedValues stackRoar(double gate_dbfs) {
  HostedValues values = defaultHostedValues();
  const ParameterValues preset = presetValues(*findFactoryPreset("Stack Roar"));
  std::copy(preset.begin(), preset.end(), values.begin());
  values[kGateParameter] = valueFromGate_dbfs(gate_dbfs);
  return values;
}

std::vector<double> played(const HostedValues& values, std::vector<double> io, int block = 64) {
  HostedAmp amp(HostedAmp::kMono);
  amp.setHostedValues(values);
  EXPECT_TRUE(amp.prepare(kRate, block));
  const auto frames = static_cast<int>(io.size());
  for (int begin = 0; begin < frames; begin += block) {
    double* channel = io.data();
    const AudioChannels all{.doubles = &channel, .count = 1};
    amp.play(all, all, begin, std::min(begin + block, frames));
  }
  return io;
}

// A note, a pause, and a note again.
struct Phrase {
  static constexpr double kFirst = 0.2, kPause = 1.2, kSecond = 2.7;  // s
  std::vector<double> samples;

  explicit Phrase(Random& random) : samples(static_cast<std::size_t>(framesOf(3.5))) {
    add(random, kFirst, kPause);
    add(random, kSecond, 3.5);
    addNoise(random, samples);
  }
  // Muted by hand within 20 ms before the end.
  void add(Random& random, double begin_s, double end_s) {
    const int begin = framesOf(begin_s), end = framesOf(end_s), muted = framesOf(0.02);
    const auto length = static_cast<std::size_t>(end - begin);
    const std::vector<double> note = pluckedNote(random, kRate, 110.0, 0.6, length);
    for (int i = 0; i < end - begin; ++i) {
      const double hand = std::min(1.0, static_cast<double>(end - begin - i) / muted);
      samples[static_cast<std::size_t>(begin + i)] += hand * note[static_cast<std::size_t>(i)];
    }
  }
};

TEST(Gate, SilencesThePausesOfANoisyGuitarAndLetsThePickThrough) {
  Random random(7);
  const Phrase phrase(random);
  const std::vector<double> open = played(stackRoar(kGateOff_dbfs), phrase.samples);
  const std::vector<double> gated = played(stackRoar(-60.0), phrase.samples);
  const int pause = framesOf(Phrase::kPause), second = framesOf(Phrase::kSecond);
  const int quiet = pause + framesOf(0.25);
  const double noise_db = dbOf(rms(open, quiet, second));
  EXPECT_NEAR(noise_db, -22.0, 4.0) << "a fair case: the noise that the gate is for";
  EXPECT_LT(dbOf(rms(gated, quiet, second)), -70.0) << "after 250 ms";
  for (const double begin_s : {Phrase::kFirst, Phrase::kSecond}) {
    const int begin = framesOf(begin_s), end = begin + framesOf(0.005);
    EXPECT_NEAR(dbOf(peak(gated, begin, end) / peak(open, begin, end)), 0.0, 0.5) << begin_s;
  }
  const int ringing = framesOf(0.4), late = framesOf(1.1);
  EXPECT_TRUE(std::equal(gated.begin() + ringing, gated.begin() + late, open.begin() + ringing))
      << "an open gate changes no bit";
}

// Chords whose strings beat, at twenty rates of decay.
TEST(Gate, ClosesOnceWhileAChordDies) {
  Random random(11);
  for (int rate = 0; rate < 20; ++rate) {
    const double decay_s = 0.05 * std::pow(1.2, rate);
    std::vector<double> chord(static_cast<std::size_t>(framesOf(2.0 + 9.0 * decay_s)));
    for (const double hz : {82.4, 123.5, 164.8, 207.7, 246.9, 329.6, 330.9}) {
      const double phase = random.between(0.0, 6.28);
      for (std::size_t i = 0; i < chord.size(); ++i) {
        const double t = static_cast<double>(i) / kRate;
        chord[i] += 0.1 * std::sin(kTurn * hz * t + phase) * std::exp(-t / decay_s);
      }
    }
    addNoise(random, chord);
    Gate gate;
    gate.setThreshold(gainFromDecibels(-60.0));
    gate.prepare(kRate, 64);
    int closings = 0;
    bool wasOpen = false;
    for (std::size_t i = 0; i + 64 <= chord.size(); i += 64) {
      double* const block = &chord[i];
      gate.detect(std::array{block}, 64);
      if (wasOpen && !gate.isOpen()) ++closings;
      wasOpen = gate.isOpen();
    }
    EXPECT_EQ(closings, 1) << "time constant " << decay_s << " s";
    EXPECT_FALSE(wasOpen);
  }
}

// Input that is no number neither opens nor blocks it, and switching it off lets everything
// through.
TEST(Gate, SurvivesWhatIsNoNumberAndOpensWhenSwitchedOff) {
  std::vector<double> samples(64, std::nan(""));
  double* block = samples.data();
  Gate gate;
  gate.setThreshold(0.001);
  gate.prepare(kRate, 64);
  gate.detect(std::array{block}, 64);
  EXPECT_FALSE(gate.isOpen());
  std::fill(samples.begin(), samples.end(), 0.5);
  gate.detect(std::array{block}, 64);
  EXPECT_TRUE(gate.isOpen());
  std::fill(samples.begin(), samples.end(), 0.0);
  for (int i = 0; i < 1000; ++i) gate.detect(std::array{block}, 64);
  EXPECT_FALSE(gate.isOpen());
  gate.setThreshold(0.0);
  for (int i = 0; i < 2; ++i) gate.detect(std::array{block}, 64);
  EXPECT_TRUE(gate.isOpen() && gate.isNeutral());
}

// 12 ms from one level to the next, without a step, whatever the blocks; at rest a factor.
TEST(Level, MovesWithoutAStep) {
  for (const int block : {1, 7, 64, 1000}) {
    Level level;
    level.prepare(kRate);
    EXPECT_TRUE(level.isNeutral());
    level.moveTo(4.0);
    std::vector<double> samples(2000, 1.0);
    for (int begin = 0; begin < 2000; begin += block) {
      const int frames = std::min(block, 2000 - begin);
      level.apply(&samples[static_cast<std::size_t>(begin)], frames);
      level.advance(frames);
      level.moveTo(4.0);
    }
    const int way = framesOf(Level::kMoveSeconds);
    double before = 1.0;
    for (int i = 0; i < 2000; ++i) {
      const double now = samples[static_cast<std::size_t>(i)];
      ASSERT_NEAR(now - before, i < way ? 3.0 / way : 0.0, 1e-9) << i;
      before = now;
    }
    EXPECT_EQ(samples.back(), 4.0);
    level.moveTo(1.0);
    level.advance(way + 2);
    EXPECT_TRUE(level.isNeutral());
  }
}

// Beside the effect as its own host plays it.
TEST(RigChain, ChangesNoBitWhileItIsNeutral) {
  Random random(3);
  const std::vector<double> note = pluckedNote(random, kRate, 196.0, 0.5, 8000);
  for (int channel = 0; channel < kNumChannels; ++channel) {
    HostedValues values = defaultHostedValues();
    values[kTypeParameter] = selectFromChannel(channel);
    Quellard effect(nullptr);
    effect.setSampleRate(static_cast<float>(kRate));
    for (int i = 1; i <= kNumStoredValues; ++i) effect.setParameter(i, values[i]);
    std::vector<double> alone = note;
    double* samples = alone.data();
    effect.processDoubleReplacing(&samples, &samples, 0);
    for (; samples < alone.data() + alone.size(); samples += 64) {
      effect.processDoubleReplacing(&samples, &samples, 64);
    }
    EXPECT_TRUE(sameBits(played(values, note), alone)) << channel;
  }
}

// Trims are factors in front of and behind the amplifier.
TEST(RigChain, StandsAroundTheAmplifier) {
  Random random(3);
  const std::vector<double> note = pluckedNote(random, kRate, 196.0, 0.5, 8000);
  HostedValues values = defaultHostedValues();
  const std::vector<double> plain = played(values, note);
  values[kInputParameter] = valueFromLevel_db(-12.0);
  values[kOutputParameter] = valueFromLevel_db(6.0);
  std::vector<double> softer(note);
  for (double& x : softer) x *= gainFromDecibels(-12.0);
  std::vector<double> wanted = played(defaultHostedValues(), softer);
  for (double& x : wanted) x *= gainFromDecibels(6.0);
  EXPECT_TRUE(sameBits(played(values, note), wanted));
  EXPECT_FALSE(sameBits(plain, wanted));
}

}  // namespace
}  // namespace quellard::test

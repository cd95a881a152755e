// SPDX-License-Identifier: ISC
// A knob move takes the same short time and makes no click, whatever the host's block length and
// wherever in a block it falls. A click shows as a larger step between two samples than the steady
// sound has, or as sound far above the note.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "params/factory_bank.h"
#include "rig/hosted_amp.h"
#include "tests/support/effort.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kRate = 44100.0;
constexpr int kMove = 13000;  // about when the move comes, in samples
constexpr int kEnd = 22528;   // a multiple of every period

struct Timing {
  int period;  // the host's block length
  int frame;   // of the move within a block
};

std::vector<Timing> timings() {
  std::vector<Timing> all;
  for (const int period : {16, 64, 256, 1024})
    for (const int frame : {0, period / 2, period - 1}) all.push_back({period, frame});
  return all;
}

ParameterValues defaults(int channel) {
  ParameterValues values = HostedAmp(HostedAmp::kMono).values();
  values[kTypeParameter] = selectFromChannel(channel);
  return values;
}

int moveAt(Timing timing) { return kMove / timing.period * timing.period + timing.frame; }

// 220 Hz at -20 dBFS through an amplifier whose parameters move once.
std::vector<double> played(const ParameterValues& before, const ParameterValues& after,
                           Timing timing) {
  HostedAmp amp(HostedAmp::kMono);
  amp.setValues(before);
  EXPECT_TRUE(amp.prepare(kRate, timing.period));
  std::vector<double> io = sine(kRate, 220.0, 0.1, kEnd);
  double* channel = io.data();
  const AudioChannels block{.doubles = &channel, .count = 1};
  for (int begin = 0; begin < kEnd; begin += timing.period) {
    const int end = begin + timing.period, cut = std::clamp(moveAt(timing), begin, end);
    amp.play(block, block, begin, cut);
    if (cut < end) amp.setValues(after);
    EXPECT_TRUE(cut == end || amp.values() == after) << "the new values are reported at once";
    amp.play(block, block, cut, end);
  }
  return io;
}

double largestStep(const std::vector<double>& sound, int begin, int end) {
  double largest = 0.0;
  for (auto i = static_cast<std::size_t>(begin); i < static_cast<std::size_t>(end); ++i)
    largest = std::max(largest, std::fabs(sound[i] - sound[i - 1]));
  return largest;
}

// The largest step around the move relative to that of the louder steady sound, over all timings.
double stepRatio(const ParameterValues& before, const ParameterValues& after) {
  double worst = 0.0;
  for (const Timing timing : timings()) {
    const std::vector<double> sound = played(before, after, timing);
    const int move = moveAt(timing);
    const double steady =
        std::max(largestStep(sound, move - 4000, move - 1), largestStep(sound, kEnd - 4000, kEnd));
    worst = std::max(worst, largestStep(sound, move - 1, move + 4000) / steady);
  }
  return worst;
}

TEST(Moves, AKnobMoveAddsNoStep) {
  constexpr std::array<std::array<float, 2>, 3> kWays = {
      {{0.5F, 0.6F}, {0.0F, 1.0F}, {1.0F, 0.0F}}};
  constexpr int kStride = sizeof(void*) < 8 ? 5 : 1;  // 32 bits run in an emulator
  for (int index = 1; index <= kNumKnobs; index += kStride) {
    for (const auto& [from, to] : kWays) {
      ParameterValues before = defaults((index - 1) / kKnobsPerChannel), after = before;
      before[index] = from;
      after[index] = to;
      EXPECT_LT(stepRatio(before, after), 1.15) << index << ": " << from << " to " << to;
    }
  }
}

TEST(Moves, APresetOfTheSameChannelAddsLittleStep) {
  double worst = 0.0;
  for (const FactoryPreset& from : kFactoryBank) {
    for (const FactoryPreset& to : kFactoryBank) {
      if (from.channel != to.channel || &from == &to) continue;
      const double ratio = stepRatio(presetValues(from), presetValues(to));
      EXPECT_LT(ratio, 1.5) << from.name << " to " << to.name;
      worst = std::max(worst, ratio);
    }
  }
  std::printf("largest step of a preset: %.2f\n", worst);
}

// Linear in the square root of the value, in MASTER's fourth root, and ending at the target's bits
// after 512 frames, however these are divided into blocks.
TEST(Moves, FollowTheirCurveInBlocksOfAnyLength) {
  Random random(sessionSeed() ^ 0xC0);
  for (int round = 0; round < 100; ++round) {
    ParameterSmoother smoother;
    smoother.prepare(kRate);
    ParameterValues values = defaults(0);
    smoother.jumpTo(values);
    const int index = random.integer(1, kNumKnobs);
    const double power = (index - 1) % 6 == 4 ? 4.0 : 2.0;
    const auto target = static_cast<float>(random.unit());
    const double start = std::pow(0.5, 1.0 / power);
    const double end = std::pow(static_cast<double>(target), 1.0 / power);
    smoother.moveTo(index, target);
    for (int done = 0; done < 512;) {
      const int most = random.integer(1, 200);
      const int step = smoother.nextStep(most, [&](int i, float value) { values[i] = value; });
      ASSERT_EQ(step, std::min({most, 64, 512 - done}));
      done += step;
      ASSERT_NEAR(values[index], std::pow(start + (end - start) * done / 512.0, power), 1e-6);
    }
    ASSERT_EQ(values[index], target);
    values[index] = 0.5F;
    ASSERT_EQ(values, defaults(0)) << "nothing else moves";
  }
}

// There is nothing between two channels to move through, also when the rate changes meanwhile.
TEST(Moves, TheSelectorArrivesWithItsFirstStep) {
  ParameterSmoother smoother;
  smoother.jumpTo(defaults(0));
  for (const double rate : {44100.0, 192000.0}) {
    const float channel = selectFromChannel(rate > 44100.0 ? 1 : 2);
    smoother.moveTo(kTypeParameter, channel);
    smoother.prepare(rate);
    const auto expectArrived = [&](int index, float value) {
      EXPECT_EQ(std::pair(index, value), std::pair(int{kTypeParameter}, channel)) << rate;
    };
    EXPECT_EQ(smoother.nextStep(1, expectArrived), 1);
    EXPECT_EQ(smoother.nextStep(500, expectArrived), 500) << "nothing moves any more";
  }
}

// The peak behind a high-pass at 5 kHz: an FIR filter of 511 taps with a Blackman window, which
// leaves nothing of the 220 Hz.
double peakAbove5kHz(const std::vector<double>& sound, int begin, int end) {
  constexpr int kTaps = 511;
  constexpr double kCut = 2.0 * std::numbers::pi * 5000.0 / kRate;
  std::vector<double> taps(kTaps);
  for (int i = 0; i < kTaps; ++i) {
    const double t = i - (kTaps - 1) / 2, phase = 2.0 * std::numbers::pi * i / (kTaps - 1);
    const double low =
        t == 0 ? kCut / std::numbers::pi : std::sin(kCut * t) / (std::numbers::pi * t);
    const double window = 0.42 - 0.5 * std::cos(phase) + 0.08 * std::cos(2.0 * phase);
    taps[static_cast<std::size_t>(i)] = (t == 0 ? 1.0 : 0.0) - low * window;
  }
  double peak = 0.0;
  for (int n = begin; n < end; ++n) {
    double sum = 0.0;
    for (int i = 0; i < kTaps; ++i)
      sum += taps[static_cast<std::size_t>(i)] * sound[static_cast<std::size_t>(n - i)];
    peak = std::max(peak, std::fabs(sum));
  }
  return peak;
}

TEST(Moves, MasterMakesNoSoundAbove5kHz) {
  ParameterValues before = defaults(0), after = before;
  after[5] = 0.6F;
  double worst = 0.0;
  for (const Timing timing : timings()) {
    const std::vector<double> sound = played(before, after, timing);
    worst = std::max(worst, peakAbove5kHz(sound, moveAt(timing) - 10, moveAt(timing) + 2000));
  }
  std::printf("MASTER 5 to 6 above 5 kHz: %.1f dBFS\n", 20.0 * std::log10(worst));
  EXPECT_LT(20.0 * std::log10(worst), -70.0);
}

// Before the move the output has the bits of the old value, 512 samples later those of the new one,
// for every block length.
TEST(Moves, TakeTheSameShortTime) {
  constexpr int kDuration = 512;  // samples: 12 ms in whole steps
  ParameterValues before = defaults(1), after = before;
  after[11] = 0.73F;
  for (const Timing timing : timings()) {
    const std::vector<double> sound = played(before, after, timing);
    const std::vector<double> low = played(before, before, timing),
                              high = played(after, after, timing);
    const int move = moveAt(timing);
    for (int i = 0; i < kEnd; ++i) {
      const auto n = static_cast<std::size_t>(i);
      if (i < move) {
        ASSERT_EQ(sound[n], low[n]) << i;
      } else if (i >= move + kDuration) {
        ASSERT_EQ(sound[n], high[n]) << i - move;
      } else if (i == move + kDuration / 2) {
        EXPECT_NE(sound[n], high[n]) << "still on its way";
      }
    }
  }
}

// After moves that interrupt each other, every knob reaches its last value.
TEST(Moves, ReachTheLastValueWhateverInterruptsThem) {
  Random random(sessionSeed() ^ 0x30);
  HostedAmp amp(HostedAmp::kMono), resting(HostedAmp::kMono);
  ParameterValues last = defaults(2);
  ASSERT_TRUE(amp.prepare(kRate, 64));
  std::vector<double> io(64), same(64);
  double *channel = io.data(), *other = same.data();
  const AudioChannels block{.doubles = &channel, .count = 1}, twin{.doubles = &other, .count = 1};
  for (int move = 0; move < effort(2000); ++move) {
    const int index = random.integer(1, kNumKnobs);
    last[index] = static_cast<float>(random.unit());
    amp.setValues(last);
    const int frames = random.integer(1, 64);
    amp.play(block, block, 0, frames);
  }
  resting.setValues(last);
  ASSERT_TRUE(resting.prepare(kRate, 64));
  for (int i = 0; i < 3000; ++i) {
    io.assign(64, 0.0);
    same.assign(64, 0.0);
    amp.play(block, block, 0, 64);
    resting.play(twin, twin, 0, 64);
  }
  Random notes(1);
  const std::vector<double> note = pluckedNote(notes, kRate, 110.0, 0.5, 64);
  std::copy(note.begin(), note.end(), io.begin());
  std::copy(note.begin(), note.end(), same.begin());
  amp.play(block, block, 0, 64);
  resting.play(twin, twin, 0, 64);
  for (std::size_t i = 0; i < io.size(); ++i) ASSERT_NEAR(io[i], same[i], 1e-9) << i;
}

}  // namespace
}  // namespace quellard::test

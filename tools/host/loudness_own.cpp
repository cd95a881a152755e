// SPDX-License-Identifier: ISC
// By ITU-R BS.1770 and EBU R 128: two filters weight the sound as ears do, and of the blocks of 0.4
// s, one each 0.1 s, those that are silence or far below the mean are left out.
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "params/decibels.h"
#include "params/sizes.h"
#include "tools/host/loudness.h"

namespace quellard {
namespace {

constexpr int kSteps = 4;  // of 0.1 s in a block

struct Biquad {
  double b0, b1, b2, a1, a2;
};

// The head's effect: 4 dB more above 1682 Hz. The figures are those that give the standard's
// coefficients at 48000 Hz.
Biquad shelf(double rate) {
  constexpr double kGain_db = 3.999843853973347;
  constexpr double kQuality = 0.7071752369554196;
  const double k = std::tan(std::numbers::pi * 1681.974450955533 / rate);
  const double high = gainFromDecibels(kGain_db);
  const double band = std::pow(high, 0.4996667741545416);
  const double a0 = 1.0 + k / kQuality + k * k;
  return {(high + band * k / kQuality + k * k) / a0, 2.0 * (k * k - high) / a0,
          (high - band * k / kQuality + k * k) / a0, 2.0 * (k * k - 1.0) / a0,
          (1.0 - k / kQuality + k * k) / a0};
}

Biquad highpass(double rate) {
  constexpr double kQuality = 0.5003270373238773;
  const double k = std::tan(std::numbers::pi * 38.13547087602444 / rate);
  const double a0 = 1.0 + k / kQuality + k * k;
  return {1.0, -2.0, 1.0, 2.0 * (k * k - 1.0) / a0, (1.0 - k / kQuality + k * k) / a0};
}

class Filter {
 public:
  explicit Filter(const Biquad& design) : design_(design) {}
  double next(double x) {
    const double y = design_.b0 * x + first_;
    first_ = design_.b1 * x - design_.a1 * y + second_;
    second_ = design_.b2 * x - design_.a2 * y;
    return y;
  }

 private:
  Biquad design_;
  double first_ = 0.0;
  double second_ = 0.0;
};

double loudnessOf(double power) { return -0.691 + 10.0 * std::log10(power); }

// The mean of the blocks that are louder than this, 0 where there are none.
double meanAbove(const std::vector<double>& powers, double least_lufs) {
  double sum = 0.0;
  int count = 0;
  for (const double power : powers) {
    if (power <= 0.0 || loudnessOf(power) < least_lufs) continue;
    sum += power;
    ++count;
  }
  return count > 0 ? sum / count : 0.0;
}

}  // namespace

struct Loudness::State {
  explicit State(int rate) : stepFrames((rate + 5) / 10) {}

  int stepFrames;
  int inStep = 0;
  double sum = 0.0;
  std::vector<std::array<Filter, 2>> filters;  // a channel
  std::vector<double> steps;                   // sums of squares
};

Loudness::Loudness(int rate, int channels) : state_(std::make_unique<State>(rate)) {
  if (channels > 2) return;
  const std::array<Filter, 2> weighting = {Filter(shelf(rate)), Filter(highpass(rate))};
  state_->filters.assign(asSize(channels), weighting);
}

Loudness::~Loudness() = default;

void Loudness::add(const double* interleaved, std::int64_t frames) {
  State& s = *state_;
  for (std::int64_t i = 0; i < frames && !s.filters.empty(); ++i) {
    for (auto& [head, low] : s.filters) {
      const double weighted = low.next(head.next(*interleaved++));
      s.sum += weighted * weighted;
    }
    if (++s.inStep < s.stepFrames) continue;
    s.steps.push_back(s.sum);
    s.inStep = 0;
    s.sum = 0.0;
  }
}

std::optional<double> Loudness::integrated() const {
  constexpr double kSilence_lufs = -70.0;
  constexpr double kBelowMean_lu = 10.0;
  const State& s = *state_;
  std::vector<double> blocks;
  for (std::size_t i = kSteps; i <= s.steps.size(); ++i) {
    double sum = 0.0;
    for (std::size_t step = i - kSteps; step < i; ++step) sum += s.steps[step];
    blocks.push_back(sum / (kSteps * s.stepFrames));
  }
  const double mean = meanAbove(blocks, kSilence_lufs);
  if (mean <= 0.0) return {};
  return loudnessOf(meanAbove(blocks, std::max(kSilence_lufs, loudnessOf(mean) - kBelowMean_lu)));
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "rig/pitch_detector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>

#include "params/sizes.h"
#include "rig/durations.h"

namespace quellard {
namespace {

// A maximum must come this near to the highest one to be the period: high enough that half a period
// is not taken where the even harmonics have nine tenths of the power.
constexpr double kNearHighest = 0.95;
// Above it the harmonics fall by 6 dB an octave, so that they do not hide the period.
constexpr double kLowpass_hz = 400.0;
// A string dies away. Where a stretch's energy has risen by more than this it has just been struck.
// A volume pedal may still swell by 0.45 dB a period.
constexpr double kShareAPeriodAgo = 0.9;
constexpr double kShareAShortTimeAgo = 0.3;
constexpr double kShortTime = 0.020;  // s
// Several periods at once give a more exact one. Beyond this length they would include what was
// played before.
constexpr double kMostPeriodsSeconds = 0.020;

// The top of the parabola through three neighbouring values, the middle one the highest.
PitchDetector::Peak parabola(double before, double middle, double after, int at) {
  const double curvature = before - 2.0 * middle + after;
  if (curvature >= 0.0) return {static_cast<double>(at), middle};
  const double offset = std::clamp(0.5 * (before - after) / curvature, -0.5, 0.5);
  return {at + offset, middle - 0.25 * (before - after) * offset};
}

bool isHum(double frequency_hz, double level_dbfs) {
  constexpr double kWidth = 0.004;  // 7 cents
  if (level_dbfs > PitchDetector::kLoudestHum_dbfs) return false;
  constexpr std::array<double, 4> kMains_hz = {50.0, 60.0, 100.0, 120.0};
  return std::ranges::any_of(
      kMains_hz, [=](double hum) { return std::abs(frequency_hz / hum - 1.0) < kWidth; });
}

double dbfs(double meanSquare) {
  constexpr double kSine = 0.5;  // the mean square of a sine at full scale
  const double level = 10.0 * std::log10(std::max(meanSquare / kSine, 1e-30));
  return std::max(level, PitchReading::kSilence_dbfs);
}

}  // namespace

// A window holds the stretch, the longest delay with a sample beyond it, and what smoothing takes.
PitchDetector::PitchDetector(double rate)
    : rate_(rate),
      stretch_(framesOf(kStretchSeconds, rate)),
      longest_(framesOf(1.0 / kLowest_hz, rate)),
      window_(asSize(stretch_ + longest_ + longest_ / 2 + longest_ / 16)),
      smoothed_(window_.size()),
      hann_(asSize(stretch_)),
      similarities_(asSize(longest_) + 2) {
  const double phaseStep = 2.0 * std::numbers::pi / (stretch_ + 1);
  for (int i = 0; i < stretch_; ++i) {
    at(hann_, i) = 0.5 - 0.5 * std::cos(phaseStep * (i + 1));
  }
}

PitchReading PitchDetector::analyse(std::span<const double> window) {
  PitchReading reading;
  lowpassWindow(window);
  reading.level_dbfs = dbfs(energyBefore(window, 0, mean_) / stretch_);
  if (reading.level_dbfs < kQuietest_dbfs) return reading;
  compareAllDelays();
  const double coarse = coarsePeriod();
  reading.clarity = std::clamp(clarity_, 0.0, 1.0);
  const bool isInRange = coarse > 0.95 * rate_ / kHighest_hz;
  if (!isInRange || clarity_ < kLeastClarity || isRising(coarse)) return reading;
  const double frequency_hz = rate_ / exactPeriod(coarse);
  if (frequency_hz < kLowest_hz || frequency_hz > kHighest_hz) return reading;
  if (!isHum(frequency_hz, reading.level_dbfs)) reading.frequency_hz = frequency_hz;
  return reading;
}

// The energy of a stretch that ends `delay` samples before the signal does.
double PitchDetector::energyBefore(std::span<const double> signal, int delay, double mean) const {
  const auto begin = signal.size() - asSize(stretch_ + delay);
  double energy = 0.0;
  for (const double x : signal.subspan(begin, asSize(stretch_))) {
    energy += (x - mean) * (x - mean);
  }
  return energy;
}

// Whether the stretch, moved back, reaches back before the stroke. The beginning of a note would be
// read flat.
bool PitchDetector::isRising(double period) const {
  const double newest = energyBefore(window_, 0, 0.0);
  const auto hasRisen = [&](double delay, double share) {
    return energyBefore(window_, static_cast<int>(std::lround(delay)), 0.0) < share * newest;
  };
  return hasRisen(period, kShareAPeriodAgo) || hasRisen(kShortTime * rate_, kShareAShortTimeAgo);
}

// Takes the window's mean away and attenuates what is above kLowpass_hz.
void PitchDetector::lowpassWindow(std::span<const double> window) {
  mean_ = std::accumulate(window.begin(), window.end(), 0.0) / static_cast<double>(window.size());
  const double share = 1.0 - std::exp(-2.0 * std::numbers::pi * kLowpass_hz / rate_);
  double y = 0.0;
  std::ranges::transform(window, window_.begin(), [&](double x) {
    y += share * (x - mean_ - y);
    return y;
  });
}

// Like similarities_, of the smoothed signal, and with the ends of the stretch faded: a note that
// dies away would be read sharp or flat, after what the stretch begins and ends with.
double PitchDetector::similarity(int delay) const {
  const double* const now = smoothed_.data() + smoothed_.size() - stretch_;
  const double* const then = now - delay;
  double product = 0.0, energy = 0.0;
  for (int i = 0; i < stretch_; ++i) {
    const double weight = at(hann_, i);
    product += weight * now[i] * then[i];
    energy += weight * (now[i] * now[i] + then[i] * then[i]);
  }
  return energy > 0.0 ? 2.0 * product / energy : 0.0;
}

// The normalised square difference of the newest stretch and the same length before: 1 where both
// are the same, -1 where one is the other with its sign changed.
void PitchDetector::compareAllDelays() {
  constexpr int kAtOnce = 4;  // which the compiler turns into vectors
  const double* const now = window_.data() + window_.size() - stretch_;
  double energyNow = 0.0;
  for (int i = 0; i < stretch_; ++i) energyNow += now[i] * now[i];
  double energyThen = energyNow;
  const int count = static_cast<int>(similarities_.size());
  for (int delay = 0; delay < count; delay += kAtOnce) {
    std::array<double, kAtOnce> product{};
    const double* const then = now - delay - (kAtOnce - 1);
    for (int i = 0; i < stretch_; ++i) {
      for (std::size_t k = 0; k < kAtOnce; ++k) {
        product[k] += now[i] * then[i + static_cast<int>(k)];
      }
    }
    for (int k = 0; k < kAtOnce && delay + k < count; ++k) {
      const double energy = energyNow + energyThen;
      const double shared = at(product, kAtOnce - 1 - k);
      at(similarities_, delay + k) = energy > 0.0 ? 2.0 * shared / energy : 0.0;
      const double in = now[-delay - k - 1], out = now[stretch_ - 1 - delay - k];
      energyThen += in * in - out * out;
    }
  }
}

// The highest value between two zero crossings stands for all in between; the period is the first
// of these that is nearly the highest of all. Returns 0 where there is none, and sets clarity_.
double PitchDetector::coarsePeriod() {
  const int end = longest_ + 1;
  const auto value = [&](int delay) { return at(similarities_, delay); };
  const auto nextLobe = [&](int delay) {
    while (delay < end && value(delay) > 0.0) ++delay;
    while (delay < end && value(delay) <= 0.0) ++delay;
    return delay;
  };
  const auto topOf = [&](int begin) {
    int top = begin;
    for (int i = begin; i < end && value(i) > 0.0; ++i) {
      if (value(i) > value(top)) top = i;
    }
    const bool risesAtEnd = top + 1 == end && value(top + 1) > value(top);
    if (risesAtEnd) return Peak{0.0, 0.0};
    return parabola(value(top - 1), value(top), value(top + 1), top);
  };
  clarity_ = 0.0;
  for (int lobe = nextLobe(0); lobe < end; lobe = nextLobe(lobe)) {
    clarity_ = std::max(clarity_, topOf(lobe).height);
  }
  for (int lobe = nextLobe(0); lobe < end; lobe = nextLobe(lobe)) {
    const Peak top = topOf(lobe);
    if (top.height > 0.0 && top.height >= kNearHighest * clarity_) return top.delay;
  }
  return 0.0;
}

// Weighted means over `width` samples, after which the fourth harmonic of a period of twice that
// width is gone and the third is weak. The first `width` samples are not of use afterwards.
void PitchDetector::smoothWindow(int width) {
  const double phaseStep = 2.0 * std::numbers::pi / (width + 1);
  std::fill(smoothed_.begin(), smoothed_.end(), 0.0);
  for (int k = 0; k < width; ++k) {
    const double weight = (1.0 - std::cos(phaseStep * (k + 1))) / (width + 1);
    for (auto i = asSize(width); i < window_.size(); ++i) {
      smoothed_[i] += weight * window_[i - asSize(k)];
    }
  }
}

// From one period on to two, four and more, as long as the signal repeats itself as well. Of
// several strings at once, which may have no low harmonic in common, the coarse period is all there
// is.
double PitchDetector::exactPeriod(double period) {
  constexpr double kSimilarEnough = 0.98;
  // All harmonics together have a shorter period on a stiff string.
  const double reach = period / 64.0;
  smoothWindow(static_cast<int>(period / 2.0));
  Peak top = topNear(period, reach);
  if (top.height < kLeastClarity) return period;
  const double wanted = kSimilarEnough * top.height;
  for (int periods = 1; top.height >= wanted; top = topNear(period * periods, 0.0)) {
    period = top.delay / periods;
    periods *= 2;
    if (period * periods > kMostPeriodsSeconds * rate_) break;
  }
  return period;
}

// The delay around a guess at which the smoothed signal is most like itself. Height 0 where it
// rises beyond the reach, in samples.
PitchDetector::Peak PitchDetector::topNear(double guess, double reach) const {
  const int middle = static_cast<int>(std::lround(guess));
  const int width = 2 + static_cast<int>(reach);
  int top = middle - width;
  double highest = similarity(top);
  for (int delay = top + 1; delay <= middle + width; ++delay) {
    const double value = similarity(delay);
    if (value <= highest) continue;
    highest = value;
    top = delay;
  }
  if (std::abs(top - middle) == width) return {guess, 0.0};
  return parabola(similarity(top - 1), highest, similarity(top + 1), top);
}

}  // namespace quellard

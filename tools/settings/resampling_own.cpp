// SPDX-License-Identifier: ISC
// A windowed sinc for each sample, which for the second or two of a cabinet is fast enough.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "params/sizes.h"
#include "tools/settings/resampling.h"

namespace quellard {
namespace {

// Zero crossings of the sinc at each side: the passband is flat to 95 % of the lower rate's half.
constexpr double kCrossings = 96.0;
constexpr double kBandwidth = 0.97;  // of the lower rate's half, at -6 dB
constexpr double kBeta = 12.0;       // of the Kaiser window: -118 dB beyond

// The modified Bessel function of the first kind, of order zero, by its series.
double bessel0(double x) {
  double sum = 1.0;
  double term = 1.0;
  for (int k = 1; term > sum * 1e-17; ++k) {
    term *= (x / (2.0 * k)) * (x / (2.0 * k));
    sum += term;
  }
  return sum;
}

// One side of the kernel, so many values a zero crossing: between two of them a straight line is
// wrong by less than 1e-7.
constexpr int kFineness = 4096;

std::vector<double> makeKernel() {
  std::vector<double> values;
  for (int i = 0; i <= static_cast<int>(kCrossings) * kFineness; ++i) {
    const double x = static_cast<double>(i) / kFineness;
    const double inside = std::max(1.0 - x * x / (kCrossings * kCrossings), 0.0);
    const double angle = std::numbers::pi * x;
    const double window = bessel0(kBeta * std::sqrt(inside)) / bessel0(kBeta);
    values.push_back(window * (i == 0 ? 1.0 : std::sin(angle) / angle));
  }
  return values;
}

// x: in zero crossings.
double kernel(double x) {
  static const std::vector<double> values = makeKernel();
  const double place = std::fabs(x) * kFineness;
  const auto below = static_cast<std::size_t>(place);
  if (below + 1 >= values.size()) return 0.0;
  const double part = place - static_cast<double>(below);
  return values[below] + part * (values[below + 1] - values[below]);
}

}  // namespace

std::vector<double> resampled(const std::vector<double>& interleaved, std::size_t channels,
                              double from, double to) {
  const auto frames = static_cast<std::int64_t>(interleaved.size() / channels);
  const double step = from / to;
  const double density = kBandwidth * std::min(1.0, to / from);  // zero crossings a sample
  const double reach = kCrossings / density;
  const auto length = static_cast<std::int64_t>(std::ceil(static_cast<double>(frames) / step));
  std::vector<double> result(asSize(length) * channels);
  for (std::int64_t i = 0; i < length; ++i) {
    const double at = static_cast<double>(i) * step;
    const auto begin = std::max(std::int64_t{0}, static_cast<std::int64_t>(std::ceil(at - reach)));
    const auto end = std::min(frames - 1, static_cast<std::int64_t>(std::floor(at + reach)));
    for (std::int64_t k = begin; k <= end; ++k) {
      const double weight = density * kernel((static_cast<double>(k) - at) * density);
      for (std::size_t c = 0; c < channels; ++c) {
        result[asSize(i) * channels + c] += weight * interleaved[asSize(k) * channels + c];
      }
    }
  }
  return result;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// A windowed sinc for each sample. Slow, which for the second or two of a cabinet does not matter.
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

// x: in zero crossings.
double kernel(double x) {
  const double inside = 1.0 - x * x / (kCrossings * kCrossings);
  if (inside <= 0.0) return 0.0;
  const double window = bessel0(kBeta * std::sqrt(inside)) / bessel0(kBeta);
  const double angle = std::numbers::pi * x;
  return window * (std::fabs(x) < 1e-9 ? 1.0 : std::sin(angle) / angle);
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

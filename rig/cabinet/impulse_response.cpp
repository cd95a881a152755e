// SPDX-License-Identifier: ISC
#include "rig/cabinet/impulse_response.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <stdexcept>

#include "params/sizes.h"
#include "rig/cabinet/block_transform.h"

namespace quellard {
namespace {

struct Biquad {
  double b0, b1, b2, a1, a2;
};

// The two filters of ITU-R BS.1770 at 48 kHz: a shelf, as a head lifts treble, and a highpass.
constexpr double kWeightingRate = 48000.0;
constexpr Biquad kTrebleShelf = {1.53512485958697, -2.69169618940638, 1.19839281085285,  //
                                 -1.69065929318241, 0.73248077421585};
constexpr Biquad kHighpass = {1.0, -2.0, 1.0,  //
                              -1.99004745483398, 0.99007225036621};

double power(const Biquad& filter, double hz) {
  const auto z = std::polar(1.0, -2.0 * std::numbers::pi * hz / kWeightingRate);
  return std::norm((filter.b0 + z * (filter.b1 + z * filter.b2)) /
                   (1.0 + z * (filter.a1 + z * filter.a2)));
}

// How much of the loudness of pink noise is at a frequency; its power falls with 1 / f.
double pinkWeight(double hz) {
  if (hz < 20.0 || hz > 20000.0) return 0.0;
  return power(kTrebleShelf, hz) * power(kHighpass, hz) / hz;
}

// Less than this share of the power at its loudest frequency, and that frequency is one that is not
// heard: brought to the level of the others, it would come with 60 dB of gain or more.
constexpr double kLeastHeard = 1e-6;

double peakOf(const ImpulseResponse& response) {
  double peak = 0.0;
  for (const std::vector<double>& side : response.sides) {
    for (const double x : side) {
      if (!std::isfinite(x)) throw std::invalid_argument("it has samples that are not finite");
      peak = std::max(peak, std::fabs(x));
    }
  }
  return peak;
}

void mixDown(ImpulseResponse& response) {
  if (response.sides.size() == 1) return;
  std::vector<double>& mean = response.sides.front();
  std::ranges::transform(mean, response.sides.back(), mean.begin(),
                         [](double left, double right) { return 0.5 * left + 0.5 * right; });
  response.sides.resize(1);
}

void cut(std::vector<double>& side, double rate) {
  const auto length = asSize(std::lround(kLongestResponse_s * rate));
  if (side.size() <= length) return;
  side.resize(length);
  const std::size_t fade = length / 10;
  for (std::size_t i = 0; i < fade; ++i) {
    const double left = static_cast<double>(i) / static_cast<double>(fade);
    side[length - 1 - i] *= 0.5 - 0.5 * std::cos(std::numbers::pi * left);
  }
}

struct PowerGain {
  double pink;     // of weighted pink noise, as a mean of the sides
  double highest;  // at any frequency
};

// The windows of the transform are long enough for a step of 1 Hz, so that the octaves of the bass
// have points.
PowerGain powerGain(const ImpulseResponse& response) {
  const std::size_t longest = std::max(response.sides.front().size(),
                                       static_cast<std::size_t>(std::ceil(response.rate / 2.0)));
  const int n = static_cast<int>(std::bit_ceil(longest));
  BlockTransform transform(n);
  const std::vector<double> silence(asSize(n));
  std::vector<double> spectrum(2 * asSize(n));
  double passed = 0.0;
  double whole = 0.0;
  double highest = 0.0;
  for (std::vector<double> side : response.sides) {
    side.resize(asSize(n));
    transform.forward(side.data(), silence.data(), spectrum.data());
    for (int k = 0; k < n; ++k) {
      const double weight = pinkWeight(transform.frequency(k) * response.rate);
      const std::complex<double> gain(at(spectrum, k), at(spectrum, n + k));
      highest = std::max(highest, std::norm(gain));
      passed += weight * std::norm(gain);
      whole += weight;
    }
  }
  return {passed / whole, highest};
}

}  // namespace

ImpulseResponse preparedResponse(ImpulseResponse response, int sides) {
  if (response.sides.empty() || response.sides.front().empty()) {
    throw std::invalid_argument("it has no samples");
  }
  if (sides != 2) mixDown(response);
  for (std::vector<double>& side : response.sides) cut(side, response.rate);
  // Brought to a peak of 1 first: powers of very small or large samples would not be doubles.
  const double peak = peakOf(response);
  const auto scale = [&](double divisor) {
    for (std::vector<double>& side : response.sides) {
      for (double& x : side) x /= divisor;
    }
  };
  constexpr const char* kSilent = "nothing is heard of it within a second";
  if (peak == 0.0) throw std::invalid_argument(kSilent);
  scale(peak);
  const PowerGain gain = powerGain(response);
  if (gain.pink < kLeastHeard * gain.highest) throw std::invalid_argument(kSilent);
  scale(std::sqrt(gain.pink));
  return response;
}

}  // namespace quellard

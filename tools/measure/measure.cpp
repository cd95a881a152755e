// SPDX-License-Identifier: ISC
#include "tools/measure/measure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <kissfft/kissfft.hh>
#include <numbers>

#include "params/decibels.h"
#include "params/sizes.h"
#include "tools/common/interrupt.h"

namespace quellard {
namespace {

constexpr int kBlock = 512;
constexpr double kLowest_hz = 20.0;
constexpr double kHighest_hz = 20000.0;
constexpr double kSilence_db = -200.0;
constexpr double kTwoPi = 2.0 * std::numbers::pi;

std::vector<double> play(const PluginModule& module, const StartingPoint& start, int rate,
                         std::vector<double> signal) {
  throwIfInterrupted();
  PluginInstance instance(module);
  applyStart(instance, start);
  instance.start(rate, kBlock);
  preroll(instance);
  for (std::size_t at = 0; at < signal.size(); at += kBlock) {
    const std::size_t length = std::min<std::size_t>(kBlock, signal.size() - at);
    instance.process(&signal[at], &signal[at], static_cast<int>(length));
  }
  return signal;
}

// Magnitudes of the bins from 0 to half the rate. The signal's length is a power of two.
std::vector<double> magnitudes(const std::vector<double>& signal) {
  const std::vector<std::complex<double>> input(signal.begin(), signal.end());
  std::vector<std::complex<double>> bins(input.size());
  kissfft<double>(input.size(), false).transform(input.data(), bins.data());
  std::vector<double> result;
  for (std::size_t i = 0; i <= input.size() / 2; ++i) result.push_back(std::abs(bins[i]));
  return result;
}

double decibels(double gain) {
  return gain > 0.0 ? std::max(kSilence_db, decibelsFromGain(gain)) : kSilence_db;
}

// The 4-term Blackman-Harris window, whose side lobes are below -92 dB.
double blackmanHarris(double phase) {
  constexpr std::array<double, 4> kTerms = {0.35875, -0.48829, 0.14128, -0.01168};
  double sum = 0.0;
  for (int k = 0; k < std::ssize(kTerms); ++k) sum += at(kTerms, k) * std::cos(k * phase);
  return sum;
}

}  // namespace

Curve measureResponse(const PluginModule& module, const StartingPoint& start, int rate) {
  constexpr int kLength = 1 << 14;
  constexpr double kTiny = 1e-9;  // still linear, although amplified up to about 500,000 times
  std::vector<double> impulse(kLength, 0.0);
  impulse[0] = kTiny;
  std::vector<double> answer = play(module, start, rate, impulse);
  impulse[0] = -kTiny;
  const std::vector<double> opposite = play(module, start, rate, impulse);
  std::ranges::transform(answer, opposite, answer.begin(), [](double with, double against) {
    return (with - against) / (2.0 * kTiny);
  });

  const std::vector<double> bins = magnitudes(answer);
  const double binsPerHz = double{kLength} / rate;
  Curve curve;
  constexpr int kPoints = 240;
  for (int i = 0; i <= kPoints; ++i) {
    const double hz = kLowest_hz * std::pow(kHighest_hz / kLowest_hz, i / double{kPoints});
    const double at = hz * binsPerHz;
    const auto bin = static_cast<std::size_t>(at);
    if (bin + 1 >= bins.size()) break;
    const double part = at - std::floor(at);
    curve.push_back({hz, decibels(bins[bin] + part * (bins[bin + 1] - bins[bin]))});
  }
  return curve;
}

Curve measureTransfer(const PluginModule& module, const StartingPoint& start, int rate) {
  constexpr double kTone_hz = 220.0;
  constexpr double kLowest = 1e-4;  // -80 dBFS
  constexpr int kCycles = 600;
  const int cycle = static_cast<int>(rate / kTone_hz);
  const auto levelOf = [](double cycles) {
    return kLowest * std::pow(1.0 / kLowest, cycles / kCycles);
  };
  std::vector<double> signal;
  for (int i = 0; i < kCycles * cycle; ++i) {
    const double cycles = static_cast<double>(i) / cycle;
    signal.push_back(levelOf(cycles) * std::sin(kTwoPi * cycles));
  }
  signal = play(module, start, rate, std::move(signal));
  Curve curve;
  for (int c = 4; c < kCycles; c += 4) {  // the first cycles contain the onset
    const auto from = signal.begin() + std::ptrdiff_t{c} * cycle;
    const auto [lowest, highest] = std::minmax_element(from, from + cycle);
    curve.push_back({levelOf(c + 0.5), *highest});
    curve.insert(curve.begin(), {-levelOf(c + 0.5), *lowest});
  }
  return curve;
}

Curve measureSpectrum(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz, double peak) {
  constexpr int kLength = 1 << 15;
  const int lead = rate / 2;  // half a second for the onset
  std::vector<double> signal;
  signal.reserve(asSize(lead + kLength));
  for (int i = 0; i < lead + kLength; ++i) {
    signal.push_back(peak * std::sin(kTwoPi * note_hz * i / rate));
  }
  signal = play(module, start, rate, std::move(signal));
  signal.erase(signal.begin(), signal.begin() + lead);
  double weight = 0.0;
  for (int i = 0; i < kLength; ++i) {
    const double window = blackmanHarris(kTwoPi * i / kLength);
    at(signal, i) *= window;
    weight += window / 2.0;
  }
  Curve curve;
  const std::vector<double> bins = magnitudes(signal);
  for (std::size_t i = 1; i < bins.size(); ++i) {
    curve.push_back({static_cast<double>(i) * rate / kLength, decibels(bins[i] / weight)});
  }
  return curve;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// What a measuring bench does: responses from impulses, levels in dB, and the analogue filters that
// the digital ones stand for. Frequencies and rates in Hz.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

#include "dsp/iir_filter.h"
#include "tests/support/same_bits.h"

namespace quellard::test {

using Complex = std::complex<double>;

inline double decibels(double ratio) { return 20.0 * std::log10(ratio); }

// Sum of x[n] e^(-2 pi i n f / fs), summed from the end so that its error does not grow with n: the
// response at f if x is an impulse response.
inline Complex spectrumAt(const std::vector<double>& signal, double frequency, double rate) {
  const Complex turn = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  Complex sum = 0.0;
  for (std::size_t n = signal.size(); n-- > 0;) sum = sum * turn + signal[n];
  return sum;
}

// Amplitude of the component at f; the signal holds a whole number of its periods.
inline double amplitudeAt(const std::vector<double>& signal, double frequency, double rate) {
  return 2.0 * std::abs(spectrumAt(signal, frequency, rate)) / static_cast<double>(signal.size());
}

inline double rms(const std::vector<double>& signal) {
  double sum = 0.0;
  for (const double x : signal) sum += x * x;
  return std::sqrt(sum / static_cast<double>(signal.size()));
}

// Until nothing that a double holds beside the response's peak is left in the memory.
inline std::vector<double> impulseResponse(IIRFilter& section) {
  std::vector<double> response;
  double x = 1.0;
  do {
    section.iirProcessing(&x);
    response.push_back(x);
    x = 0.0;
  } while (std::abs(section.state1) + std::abs(section.state2) > 1e-20 &&
           response.size() < 2000000);
  return response;
}

// The analogue prototype of the designs 0 to 12 at the frequency that the bilinear transform maps
// to f: H(s) with s normalised to the corner. The gain V of a shelf or peak is a plain ratio.
inline Complex analogueResponse(const filterPrm_tag& prm, double frequency) {
  const auto warped = [&](double f) { return std::tan(std::numbers::pi * f / prm.fs); };
  const Complex s(0.0, warped(frequency) / warped(prm.frq));
  const Complex edge(0.0, warped(frequency));
  const double width = warped(prm.frqHigh) - warped(prm.frqLow);
  const double centre = warped(prm.frqHigh) * warped(prm.frqLow);
  const double V = std::exp(std::abs(prm.gain) * std::log(10.0) / 20.0);
  const double ratio = prm.gain < 0.0 ? 1.0 / V : V;
  const Complex wide = 1.0 + s / prm.q + s * s;
  const Complex loud = 1.0 + V * s / prm.q + s * s;
  const Complex butter = 1.0 + std::numbers::sqrt2 * s + s * s;
  const Complex damped = 1.0 + std::numbers::sqrt2 / prm.q * s + s * s;
  const Complex band = edge * edge + width * edge + centre;
  switch (prm.num) {
    case lowPass1: return 1.0 / (1.0 + s);
    case highPass1: return s / (1.0 + s);
    case lowPass2Butterworth: return 1.0 / butter;
    case highPass2Butterworth: return s * s / butter;
    case bandPassEdges: return width * edge / band;
    case bandStopEdges: return (edge * edge + centre) / band;
    case lowPass2: return 1.0 / damped;
    case highPass2: return s * s / damped;
    case bandPass: return s / prm.q / wide;
    case notch: return (1.0 + s * s) / wide;
    case peaking: return prm.gain < 0.0 ? wide / loud : loud / wide;
    case lowShelf1: return (ratio + s) / (1.0 + s);
    case highShelf1: return (1.0 + ratio * s) / (1.0 + s);
    default: ADD_FAILURE() << "no prototype for type " << prm.num; return 0.0;
  }
}

}  // namespace quellard::test

// SPDX-License-Identifier: ISC
#include "tools/host/meter.h"

#include <algorithm>
#include <cmath>

#include "params/decibels.h"

namespace quellard {

Meter::Meter(int rate, int channels) : channels_(channels), loudness_(rate, channels) {}

void Meter::add(const double* interleaved, std::int64_t frames) {
  for (std::int64_t i = 0; i < frames * channels_; ++i) {
    peak_ = std::max(peak_, std::abs(interleaved[i]));
  }
  loudness_.add(interleaved, frames);
}

std::optional<double> asDecibels(double peak) {
  if (peak <= 0.0) return {};
  return decibelsFromGain(peak);
}

std::optional<double> Meter::peak_dbfs() const { return asDecibels(peak_); }

std::optional<double> Meter::loudness_lufs() const { return loudness_.integrated(); }

}  // namespace quellard

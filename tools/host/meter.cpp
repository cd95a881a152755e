// SPDX-License-Identifier: ISC
#include "tools/host/meter.h"

#include <algorithm>
#include <cmath>
#include <ebur128.h>

#include "params/decibels.h"
#include "params/sizes.h"

namespace quellard {

struct Meter::Loudness {
  Loudness(int rate, int channels)
      : state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate),
                           EBUR128_MODE_I)) {}
  ~Loudness() {
    if (state != nullptr) ebur128_destroy(&state);
  }
  Loudness(const Loudness&) = delete;
  Loudness& operator=(const Loudness&) = delete;

  ebur128_state* state;
};

Meter::Meter(int rate, int channels)
    : channels_(channels), loudness_(std::make_unique<Loudness>(rate, channels)) {}

Meter::~Meter() = default;

void Meter::add(const double* interleaved, std::int64_t frames) {
  for (std::int64_t i = 0; i < frames * channels_; ++i) {
    peak_ = std::max(peak_, std::abs(interleaved[i]));
  }
  if (loudness_->state == nullptr) return;
  ebur128_add_frames_double(loudness_->state, interleaved, asSize(frames));
}

std::optional<double> asDecibels(double peak) {
  if (peak <= 0.0) return {};
  return decibelsFromGain(peak);
}

std::optional<double> Meter::peak_dbfs() const { return asDecibels(peak_); }

std::optional<double> Meter::loudness_lufs() const {
  double loudness = 0.0;
  if (loudness_->state == nullptr) return {};
  if (ebur128_loudness_global(loudness_->state, &loudness) != EBUR128_SUCCESS) return {};
  if (!std::isfinite(loudness)) return {};
  return loudness;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/host/loudness.h"

#include <cmath>
#include <ebur128.h>

#include "params/sizes.h"

namespace quellard {

struct Loudness::State {
  State(int rate, int channels)
      : measured(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate),
                              EBUR128_MODE_I)) {}
  ~State() {
    if (measured != nullptr) ebur128_destroy(&measured);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  ebur128_state* measured;
};

Loudness::Loudness(int rate, int channels) : state_(std::make_unique<State>(rate, channels)) {}

Loudness::~Loudness() = default;

void Loudness::add(const double* interleaved, std::int64_t frames) {
  if (state_->measured == nullptr) return;
  ebur128_add_frames_double(state_->measured, interleaved, asSize(frames));
}

std::optional<double> Loudness::integrated() const {
  double loudness = 0.0;
  if (state_->measured == nullptr) return {};
  if (ebur128_loudness_global(state_->measured, &loudness) != EBUR128_SUCCESS) return {};
  if (!std::isfinite(loudness)) return {};
  return loudness;
}

}  // namespace quellard

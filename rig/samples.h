// SPDX-License-Identifier: ISC
// Conversion between a host's samples, floats or doubles, and the amplifier's doubles.
#pragma once

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <span>

#include "params/sizes.h"

namespace quellard {

// Rounds to the nearest float, and values that only a denormal float could hold to 0: denormals
// slow down whatever plug-in comes next.
constexpr float toFloat(double sample) {
  const double magnitude = sample < 0.0 ? -sample : sample;
  return magnitude < static_cast<double>(FLT_MIN) ? 0.0F : static_cast<float>(sample);
}

// Gives back the float that a sample was read from, denormals too, so that bypass keeps every bit.
constexpr float toSameFloat(double sample) { return static_cast<float>(sample); }

// [audio thread] A null source reads as silence, a null target takes nothing. No overlap between
// different arrays.
inline void readSamples(const double* from, double* to, int frames) {
  if (from != nullptr) {
    std::copy_n(from, frames, to);
  } else {
    std::fill_n(to, frames, 0.0);
  }
}

inline void readSamples(const float* from, double* to, int frames) {
  if (from == nullptr) return readSamples(static_cast<const double*>(nullptr), to, frames);
  std::transform(from, from + frames, to, [](float x) { return static_cast<double>(x); });
}

inline void writeSamples(const double* from, double* to, int frames) {
  if (to != nullptr) std::copy_n(from, frames, to);
}

inline void writeSamples(const double* from, float* to, int frames,
                         float (*rounded)(double) = toFloat) {
  if (to != nullptr) std::transform(from, from + frames, to, rounded);
}

// Whether a magnitude exceeds a limit, >= 0, or a sample is NaN. As integers the bits of magnitudes
// have the order of their values, with NaN above all, so that one subtraction a sample tells: a
// loop for the vectors of every processor, three times as fast as comparing doubles. Any thread.
inline bool anyBeyond(std::span<const double> samples, double limit) {
  constexpr std::uint64_t kMagnitude = 0x7FFF'FFFF'FFFF'FFFF;
  const auto limitBits = std::bit_cast<std::uint64_t>(limit);
  std::uint64_t differences = 0;
  for (const double sample : samples) {
    differences |= limitBits - (std::bit_cast<std::uint64_t>(sample) & kMagnitude);
  }
  return (differences & ~kMagnitude) != 0;  // one of them is negative
}

// The largest sample that reaches the amplifier, 60 dB above full scale. No guitar comes near it; a
// fault upstream may, and one sample of 1e300 would ring in the filters for seconds.
inline constexpr double kLoudestInput = 1000.0;

// Limits finite samples to +-kLoudestInput. Others stay: the effect plays silence for them. [audio
// thread]
inline void limitInput(double* samples, int frames) {
  // Nearly no block has such a sample.
  if (!anyBeyond(std::span(samples, asSize(frames)), kLoudestInput)) return;
  std::transform(samples, samples + frames, samples, [](double x) {
    return std::isfinite(x) ? std::clamp(x, -kLoudestInput, kLoudestInput) : x;
  });
}

}  // namespace quellard

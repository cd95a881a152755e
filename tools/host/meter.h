// SPDX-License-Identifier: ISC
// Peak and loudness of a whole piece of audio.
#pragma once

#include <cstdint>
#include <optional>

#include "tools/host/loudness.h"

namespace quellard {

// A peak in dBFS; nothing for 0.
std::optional<double> asDecibels(double peak);

class Meter {
 public:
  // rate: Hz.
  Meter(int rate, int channels);

  void add(const double* interleaved, std::int64_t frames);

  // The largest magnitude of a sample in dBFS; nothing for silence.
  std::optional<double> peak_dbfs() const;

  // Integrated loudness according to EBU R 128 in LUFS; nothing for silence, for less than 0.4 s,
  // and for rates or numbers of channels that the library does not support.
  std::optional<double> loudness_lufs() const;

 private:
  int channels_;
  double peak_ = 0.0;
  Loudness loudness_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/settings/resampling.h"

#include <cmath>
#include <soxr.h>
#include <stdexcept>

namespace quellard {

std::vector<double> resampled(const std::vector<double>& interleaved, std::size_t channels,
                              double from, double to) {
  const std::size_t frames = interleaved.size() / channels;
  std::vector<double> result(
      static_cast<std::size_t>(std::ceil(static_cast<double>(frames) * (to / from))) * channels);
  const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t best = soxr_quality_spec(SOXR_VHQ, 0);
  std::size_t written = 0;
  const soxr_error_t error =
      soxr_oneshot(from, to, static_cast<unsigned>(channels), interleaved.data(), frames, nullptr,
                   result.data(), result.size() / channels, &written, &doubles, &best, nullptr);
  if (error != nullptr) throw std::invalid_argument(soxr_strerror(error));
  result.resize(written * channels);
  return result;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Another sample rate for a recording that is whole in memory: by libsoxr, or where it is missing
// by an interpolation of our own.
#pragma once

#include <cstddef>
#include <vector>

namespace quellard {

// interleaved: samples of this many channels. Rates in Hz. Throws std::invalid_argument with the
// reason.
std::vector<double> resampled(const std::vector<double>& interleaved, std::size_t channels,
                              double from, double to);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Audio buffers of a host in either precision, and what adapters must write into them.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "tests/support/session.h"

namespace quellard::test {

template <typename Sample>
using Channels = std::vector<std::vector<Sample>>;

template <typename Sample>
std::vector<Sample*> pointersTo(Channels<Sample>& channels) {
  std::vector<Sample*> pointers;
  for (auto& channel : channels) pointers.push_back(channel.data());
  return pointers;
}

// Guitar-like input for each side.
template <typename Sample>
Channels<Sample> drawChannels(Random& random, int sides, int frames) {
  Channels<Sample> channels;
  for (int side = 0; side < sides; ++side) {
    const std::vector<double> block = drawBlock(random, 0.5, frames);
    channels.emplace_back();
    for (const double x : block) channels.back().push_back(static_cast<Sample>(x));
  }
  return channels;
}

// Doubles bit for bit; floats as the nearest to the double, a denormal as 0.
inline double asPlayed(double x, double) { return x; }
inline float asPlayed(double x, float) {
  return std::fabs(x) < static_cast<double>(FLT_MIN) ? 0.0F : static_cast<float>(x);
}

template <typename Sample>
void expectPlayed(const std::vector<Sample>& played, const std::vector<double>& direct) {
  ASSERT_EQ(played.size(), direct.size());
  for (std::size_t i = 0; i < played.size(); ++i) {
    const Sample wanted = asPlayed(direct[i], Sample{});
    ASSERT_EQ(std::memcmp(&played[i], &wanted, sizeof wanted), 0)
        << "sample " << i << ": " << played[i] << " instead of " << wanted;
  }
}

}  // namespace quellard::test

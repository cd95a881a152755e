// SPDX-License-Identifier: ISC
// Audio buffers of a host in either precision, and what adapters must write into them.
#pragma once

#include <cfloat>
#include <cmath>
#include <vector>

#include "tests/support/same_bits.h"
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
    channels.emplace_back();
    for (const double x : drawBlock(random, 0.5, frames))
      channels.back().push_back(static_cast<Sample>(x));
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
  std::vector<Sample> wanted;
  for (const double x : direct) wanted.push_back(asPlayed(x, Sample{}));
  ASSERT_TRUE(sameBits(played, wanted));
}

}  // namespace quellard::test

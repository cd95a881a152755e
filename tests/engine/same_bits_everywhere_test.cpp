// SPDX-License-Identifier: ISC
// The same session has the same bits with every compiler and on every processor, 32-bit ones
// included, provided that the math library gives the same results.
//
// It does not: within one release of glibc, tan, pow, exp and cos differ in the last bit of up to
// one result in two hundred between 32 and 64 bits, and between processors with and without fused
// multiply-add. So this program defines its own versions, made of products and sums, which are
// linked instead of the library's. The result then depends on the amplifier's own order of
// arithmetic alone, and the digest below is the same in all builds.
#include <cmath>
#include <gtest/gtest.h>

#include "tests/reference/reference_amplifier.h"
#include "tests/support/opened_effect.h"
#include "tests/support/own_math.h"
#include "tests/support/session.h"

namespace quellard::test {
namespace {

TEST(SameBitsEverywhere, ARenderedSessionHasOneDigest) {
  OpenedEffect effect;
  reference::Amplifier model;
  const std::vector<double> sound = playSession(effect, kDigestSeed, {.blocks = kDigestBlocks});
  ASSERT_GT(tangents, 100) << "the library's functions were called";
  double loudest = 0.0;
  for (const double x : sound) loudest = std::max(loudest, std::fabs(x));
  EXPECT_GT(loudest, 0.05);
  EXPECT_LT(loudest, 10.0);
  EXPECT_EQ(digest(sound), digest(playSession(model, kDigestSeed, {.blocks = kDigestBlocks})));
  EXPECT_EQ(digest(sound), kSessionDigest) << std::hex << digest(sound);
}

// With its flag set, ARM flushes denormal operands to zero, too, and x86 results alone. The
// difference ends at the first waveshaper, where it is nothing beside the middle of the table.
TEST(SameBitsEverywhere, AlsoAtTheEdgeOfZero) {
  std::vector<double> all;
  for (const double level : {1e-320, 1e-309, 1e-306}) {
    OpenedEffect effect;
    const SessionPlan plan = {.blocks = 40, .level = level, .odd = {5e-324, -1e-310, 0.1}};
    const std::vector<double> sound = playSession(effect, 21, plan);
    all.insert(all.end(), sound.begin(), sound.end());
  }
  EXPECT_EQ(digest(all), 0xc204cd13f19b5523u) << std::hex << digest(all);
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The same session has the same bits with every compiler and on every processor, 32-bit ones
// included, provided that the math library gives the same results.
//
// It does not: within one release of glibc, tan, pow, exp and cos differ in the last bit of up to
// one result in two hundred between 32 and 64 bits, and between processors with and without fused
// multiply-add. So this program defines its own versions, made of products and sums, which are
// linked instead of the library's. The result then depends on the amplifier's own order of
// arithmetic alone, and the digest below is the same in all builds.
#include <bit>
#include <cmath>
#include <gtest/gtest.h>

#include "tests/reference/reference_amplifier.h"
#include "tests/support/opened_effect.h"
#include "tests/support/session.h"

namespace {

int tangents = 0;

double series(double x, double first, int next) {
  double term = first, sum = first;
  for (int k = next; k < next + 60; k += 2) {
    term = -term * x * x / (k * (k + 1));
    sum = sum + term;
  }
  return sum;
}

double naturalLog(double x) {
  int power = 0;
  const double m = std::frexp(x, &power) * 1.5;  // 0.75..1.5
  const double t = (m - 1.0) / (m + 1.0);
  double term = t, sum = t;
  for (int k = 3; k < 60; k += 2) {
    term = term * t * t;
    sum = sum + term / k;
  }
  return 2.0 * sum - 0.4054651081081644 + power * 0.6931471805599453;
}

}  // namespace

extern "C" {

double exp(double x) noexcept {
  const double n = std::floor(x / 0.6931471805599453 + 0.5);
  const double r = x - n * 0.6931471805599453;
  double term = 1.0, sum = 1.0;
  for (int k = 1; k < 30; ++k) {
    term = term * r / k;
    sum = sum + term;
  }
  return std::ldexp(sum, static_cast<int>(n));
}

double cos(double x) noexcept { return series(x, 1.0, 1); }

double tan(double x) noexcept {
  ++tangents;
  return series(x, x, 2) / series(x, 1.0, 1);
}

double pow(double base, double exponent) noexcept {
  return base > 0.0 ? exp(exponent * naturalLog(base)) : 0.0;
}

}  // extern "C"

namespace quellard::test {
namespace {

// FNV-1a over the bits of the samples.
std::uint64_t digest(const std::vector<double>& samples) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const double sample : samples) {
    for (int i = 0; i < 64; i += 8)
      hash = (hash ^ (std::bit_cast<std::uint64_t>(sample) >> i & 0xff)) * 0x100000001b3;
  }
  return hash;
}

TEST(SameBitsEverywhere, ARenderedSessionHasOneDigest) {
  OpenedEffect effect;
  reference::Amplifier model;
  const std::vector<double> sound = playSession(effect, 20, {.blocks = 80});
  ASSERT_GT(tangents, 100) << "the library's functions were called";
  double loudest = 0.0;
  for (const double x : sound) loudest = std::max(loudest, std::fabs(x));
  EXPECT_GT(loudest, 0.05);
  EXPECT_LT(loudest, 10.0);
  EXPECT_EQ(digest(sound), digest(playSession(model, 20, {.blocks = 80})));
  EXPECT_EQ(digest(sound), 0x77bdeeade02b7be9u) << std::hex << digest(sound);
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

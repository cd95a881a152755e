// SPDX-License-Identifier: ISC
// tan, pow, exp and cos made of products and sums, which are linked instead of the C library's, and
// the digest of a session that is the same with them on every machine. For one source of a program.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

int tangents = 0;  // calls of tan()

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

// As the library declares them.
#ifdef __GLIBC__
#define QUELLARD_AS_DECLARED noexcept
#else
#define QUELLARD_AS_DECLARED
#endif

extern "C" {

double exp(double x) QUELLARD_AS_DECLARED {
  const double n = std::floor(x / 0.6931471805599453 + 0.5);
  const double r = x - n * 0.6931471805599453;
  double term = 1.0, sum = 1.0;
  for (int k = 1; k < 30; ++k) {
    term = term * r / k;
    sum = sum + term;
  }
  return std::ldexp(sum, static_cast<int>(n));
}

double cos(double x) QUELLARD_AS_DECLARED { return series(x, 1.0, 1); }

double tan(double x) QUELLARD_AS_DECLARED {
  ++tangents;
  return series(x, x, 2) / series(x, 1.0, 1);
}

double pow(double base, double exponent) QUELLARD_AS_DECLARED {
  return base > 0.0 ? exp(exponent * naturalLog(base)) : 0.0;
}

}  // extern "C"

#undef QUELLARD_AS_DECLARED

namespace quellard::test {

// FNV-1a over the bits of the samples.
inline std::uint64_t digest(const std::vector<double>& samples) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const double sample : samples) {
    for (int i = 0; i < 64; i += 8)
      hash = (hash ^ (std::bit_cast<std::uint64_t>(sample) >> i & 0xff)) * 0x100000001b3;
  }
  return hash;
}

// Of playSession(effect, kDigestSeed, {.blocks = kDigestBlocks}).
inline constexpr int kDigestSeed = 20;
inline constexpr int kDigestBlocks = 80;
inline constexpr std::uint64_t kSessionDigest = 0x77bdeeade02b7be9u;

}  // namespace quellard::test

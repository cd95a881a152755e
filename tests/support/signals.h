// SPDX-License-Identifier: ISC
// Signals and random numbers. The same seed gives the same bits with every compiler and C library:
// the C++ standard defines the generator's numbers exactly, and they are scaled here, since the
// standard does not define how its distributions do that.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace quellard::test {

// The seed of this run: QUELLARD_TEST_SEED (decimal, or hexadecimal with 0x) or a fixed one,
// printed once per process so that a failure can be repeated. Throws for text that is no number:
// running another seed than the one asked for would make a fault seem mended.
inline std::uint64_t sessionSeed() {
  static const std::uint64_t seed = [] {
    std::uint64_t value = 0x5175656c6c617264;
    if (const char* text = std::getenv("QUELLARD_TEST_SEED"); text != nullptr && *text != '\0') {
      std::size_t length = 0;
      value = std::stoull(text, &length, 0);
      if (text[length] != '\0') throw std::invalid_argument(text);
    }
    std::printf("QUELLARD_TEST_SEED=%llu\n", static_cast<unsigned long long>(value));
    std::fflush(stdout);
    return value;
  }();
  return seed;
}

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t bits() { return engine_(); }
  double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }  // 0 <= u < 1
  double between(double low, double high) { return low + (high - low) * unit(); }
  // Both ends included, low <= high. The bias of the remainder is below 2^-32.
  int integer(int low, int high) {
    const std::uint64_t span = static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
    return static_cast<int>(low + static_cast<std::int64_t>(bits() % span));
  }
  bool chance(double probability) { return unit() < probability; }
  template <typename Container>
  const auto& pick(const Container& choices) {
    return choices[static_cast<std::size_t>(bits() % choices.size())];
  }

 private:
  std::mt19937_64 engine_;
};

// Level 1 is full scale. Lengths in samples, rates and frequencies in Hz.

inline std::vector<double> sine(double rate, double frequency, double level, std::size_t length) {
  std::vector<double> signal(length);
  for (std::size_t i = 0; i < length; ++i)
    signal[i] =
        level * std::sin(2.0 * std::numbers::pi * frequency / rate * static_cast<double>(i));
  return signal;
}

// White noise, uniformly distributed over -level..level.
inline std::vector<double> noise(Random& random, double level, std::size_t length) {
  std::vector<double> signal(length);
  for (double& x : signal) x = random.between(-level, level);
  return signal;
}

// A plucked string: noise in a delay line of one period with a lowpass in its feedback. The
// fundamental decays by 60 dB in about four seconds. The period is rounded down to whole samples.
inline std::vector<double> pluckedNote(Random& random, double rate, double frequency, double level,
                                       std::size_t length) {
  const double samples = rate / frequency;
  const std::size_t period = samples > 2.0 ? static_cast<std::size_t>(samples) : 2;
  // 60 dB are 6.9 time constants. Halved, since two neighbouring samples are added.
  const double keep = 0.5 * (1.0 - 6.9 / (4.0 * (frequency > 20.0 ? frequency : 20.0)));
  std::vector<double> line = noise(random, level, period);
  std::vector<double> signal(length);
  double previous = 0.0;
  for (std::size_t i = 0; i < length; ++i) {
    double& slot = line[i % period];
    const double now = slot;
    slot = keep * (now + previous);
    previous = now;
    signal[i] = slot;
  }
  return signal;
}

}  // namespace quellard::test

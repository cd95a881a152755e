// Signals and random numbers that the tests share.
//
// The same seed gives the same bits with every compiler and C library: the generator is one that
// the standard pins down, its numbers are scaled here rather than by a distribution that each
// library writes its own way, and the sine is a sum of products. Build with -ffp-contract=off.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace quellard::test {

// The seed of this run: QUELLARD_TEST_SEED (decimal, or hexadecimal with 0x) or a fixed one.
// Printed once per process so that a failure can be run again. A value that is no number throws:
// running another session than the one asked for would look like a fixed fault.
inline std::uint64_t sessionSeed() {
  static const std::uint64_t seed = [] {
    std::uint64_t value = 0x5175656c6c617264;
    if (const char* text = std::getenv("QUELLARD_TEST_SEED"); text != nullptr && *text != '\0') {
      char* end = nullptr;
      errno = 0;
      value = std::strtoull(text, &end, 0);
      if (*end != '\0' || errno != 0)
        throw std::invalid_argument(std::string("QUELLARD_TEST_SEED is no number: ") + text);
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

// sin(2 pi turns) within 1e-15; |turns| below 2^31.
inline double sineOfTurns(double turns) {
  double phase = turns - static_cast<double>(static_cast<std::int64_t>(turns));  // -1..1
  if (phase > 0.5) phase -= 1.0;
  if (phase < -0.5) phase += 1.0;
  if (phase > 0.25) phase = 0.5 - phase;
  if (phase < -0.25) phase = -0.5 - phase;
  const double x = 6.283185307179586 * phase;
  const double xx = x * x;
  double sum = 1.0;
  for (int k = 20; k >= 2; k -= 2) sum = 1.0 - xx * sum / (k * (k + 1));
  return x * sum;
}

// Level 1 is full scale. Lengths in samples, rates and frequencies in Hz.

inline std::vector<double> sine(double rate, double frequency, double level, std::size_t length) {
  std::vector<double> signal(length);
  for (std::size_t i = 0; i < length; ++i)
    signal[i] = level * sineOfTurns(static_cast<double>(i) * frequency / rate);
  return signal;
}

// White, evenly spread over -level..level.
inline std::vector<double> noise(Random& random, double level, std::size_t length) {
  std::vector<double> signal(length);
  for (double& x : signal) x = random.between(-level, level);
  return signal;
}

// A sine whose frequency moves in a straight line from first to last.
inline std::vector<double> sweep(double rate, double first, double last, double level,
                                 std::size_t length) {
  std::vector<double> signal(length);
  const double slope = length > 0 ? (last - first) / static_cast<double>(length) : 0.0;
  double turns = 0.0;
  for (std::size_t i = 0; i < length; ++i) {
    signal[i] = level * sineOfTurns(turns);
    turns += (first + slope * static_cast<double>(i)) / rate;
    if (turns >= 1.0) turns -= static_cast<double>(static_cast<std::int64_t>(turns));
  }
  return signal;
}

// A plucked string: noise going round a delay line of one period and losing its treble first. The
// fundamental falls by 60 dB in some four seconds. The pitch is that of the whole period below.
inline std::vector<double> pluckedNote(Random& random, double rate, double frequency, double level,
                                       std::size_t length) {
  const double samples = rate / frequency;
  const std::size_t period = samples > 2.0 ? static_cast<std::size_t>(samples) : 2;
  // 6.9 time constants make 60 dB; half of each, since two neighbours are summed.
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

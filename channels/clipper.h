// SPDX-License-Identifier: ISC
// Waveshapers, which the host interface calls clippers: soft-saturation curves in tables, looked up
// with linear interpolation. A table that depends on the oversampling factor is generated once
// for each factor that the process meets; all are only read afterwards, so instances at different
// rates never disturb each other.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>

namespace quellard {

inline constexpr int kClipperHalfSize = 20000;

struct Clipper {
  double halfSize;  // index of the curve's centre; 0 until generated, which makes lookups return 0
  // Entry j holds the curve at (j - 20000) / 20000; one more follows for interpolation at the
  // upper end, equal to the one before it but for its rounding.
  std::array<double, 2 * kClipperHalfSize + 2> table;

  // The curve at x, held at its ends beyond -1..1. NaN returns NaN, so that a filter whose state
  // has turned NaN is noticed at the output and cleared, and not silent for ever. [audio thread]
  double lookup(double x) const {
    const double c = x > 1.0 ? 1.0 : x < -1.0 ? -1.0 : x;
    const double position = halfSize + c * halfSize;
    const int i = position >= 0.0 ? static_cast<int>(position) : 0;
    const double* entry = table.data() + i;
    return (entry[1] - entry[0]) * (position - i) + entry[0];
  }
};

// Two hyperbolic-tangent halves: positiveLevel * tanh(-positiveRate * 10000 u) for u >= 0, and with
// the negative level and rate below 0. tanh(x) is computed from exp(-2x), and u = 1 is 20000
// entries from the centre; the rates are those of the exponentials, per entry.
struct ClipperCurve {
  double positiveLevel;
  double positiveRate;
  double negativeLevel;
  double negativeRate;
  double lastExponent;  // of the entry after the one at u = 1: positiveRate * 20000 but for its
                        // rounding
};

// How a generator groups the negative half; the tables' last bits depend on it.
enum class NegativeHalf : std::uint8_t { scaleNumerator, scaleQuotient };

// Fills the table: 40003 exponentials, half of them where both rates are equal. Not for the audio
// thread. Allocates nothing.
void generateClipper(Clipper& clipper, const ClipperCurve& curve, NegativeHalf grouping);

// The first waveshaper of a channel, T0, sees the zero-stuffed signal after a lowpass of unit gain,
// at 1/F of its level, so its slopes at 0 grow with the factor F.
struct FirstShaperCurve {
  double positiveLevel;
  double positiveSlope;  // of the tanh's argument, at F = 1
  double negativeSlope;  // the negative half's level is always 1
};

// T0 of one channel: a table for each of the two factors that exist.
class FirstShaper {
 public:
  // overSample: 7 or 8. Silent until required for that factor. [audio thread]
  const Clipper& at(int overSample) const { return tables_[index(overSample)]; }

  // Generates the factor's table unless that has been done. Thread-safe; not for the audio thread.
  void require(int overSample, const FirstShaperCurve& curve);

 private:
  static constexpr int kLowestFactor = 7;
  static constexpr std::size_t index(int overSample) {
    return static_cast<std::size_t>(overSample - kLowestFactor);
  }

  std::array<Clipper, 2> tables_{};
  std::array<std::once_flag, 2> generated_;
};

// The three curves after the first of VINTAGE and MODERN: T1, T2 and T3. They do not depend on the
// factor and are the same in both channels, so the process holds them once.
using MultistageClippers = std::array<Clipper, 3>;
extern MultistageClippers multistageClip;
inline constexpr std::size_t kT1 = 0, kT2 = 1, kT3 = 2;

// Generates the three curves unless that has been done. Thread-safe; not for the audio thread.
void requireMultistageClippers();

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "rig/cabinet/block_transform.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

#include "params/sizes.h"

// The loops are compiled once more for wider vectors; the processor's own are chosen when the
// program is loaded. All of them compute the same bits.
#ifdef QUELLARD_VECTOR_CLONES
#define QUELLARD_WIDEST __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define QUELLARD_WIDEST
#endif
// No iteration of the loop needs another's result; clang++ finds out by itself.
#ifdef __clang__
#define QUELLARD_INDEPENDENT
#else
#define QUELLARD_INDEPENDENT _Pragma("GCC ivdep")
#endif
#define QUELLARD_INLINE inline __attribute__((always_inline))

namespace quellard {
namespace {

// Real and imaginary parts of complex numbers.
struct Parts {
  double* re;
  double* im;
};

// To 64 binary digits, which a long double has on x86. On ARM it has 113; then x is rounded where a
// larger number that is added to it and taken away again leaves no digits.
long double toExtended(long double x) {
  if constexpr (std::numeric_limits<long double>::digits == 113) {
    const long double larger = x * 0x2000000000001p0L;  // 2^49 + 1
    return larger - (larger - x);
  }
  return x;
}

// exp(i angle) with the angle in turns. The C library's double functions differ in their last bit
// from processor to processor; rounded from long doubles of one length they do not. The angle's
// rounding counts, too: near a zero of the sine it is all that is left.
struct Phasor {
  double re;
  double im;
};
Phasor phasor(long double turns) {
  const long double angle = toExtended(toExtended(2.0L * std::numbers::pi_v<long double>) * turns);
  return {static_cast<double>(toExtended(std::cos(angle))),
          static_cast<double>(toExtended(std::sin(angle)))};
}

// The factors of one pass: for each of m groups those of the second, third and fourth output.
// Six rows of m doubles.
struct Twiddles {
  const double* rows;
  int m;
  double operator()(int row, int p) const { return rows[row * m + p]; }
};
constexpr int kTwiddleRows = 6;

// One butterfly: number p of the four quarters to numbers 4 p + 0..3, each times the stride, q
// within it.
QUELLARD_INLINE void butterfly(const Twiddles& w, int p, int from, int quarter, int to, int stride,
                               Parts in, Parts out) {
  const int a = from, b = from + quarter, c = from + 2 * quarter, d = from + 3 * quarter;
  const double sumRe = in.re[a] + in.re[c], sumIm = in.im[a] + in.im[c];
  const double gapRe = in.re[a] - in.re[c], gapIm = in.im[a] - in.im[c];
  const double otherSumRe = in.re[b] + in.re[d], otherSumIm = in.im[b] + in.im[d];
  const double otherGapRe = in.re[b] - in.re[d], otherGapIm = in.im[b] - in.im[d];
  const double re1 = gapRe + otherGapIm, im1 = gapIm - otherGapRe;
  const double re2 = sumRe - otherSumRe, im2 = sumIm - otherSumIm;
  const double re3 = gapRe - otherGapIm, im3 = gapIm + otherGapRe;
  out.re[to] = sumRe + otherSumRe;
  out.im[to] = sumIm + otherSumIm;
  out.re[to + stride] = re1 * w(0, p) - im1 * w(1, p);
  out.im[to + stride] = re1 * w(1, p) + im1 * w(0, p);
  out.re[to + 2 * stride] = re2 * w(2, p) - im2 * w(3, p);
  out.im[to + 2 * stride] = re2 * w(3, p) + im2 * w(2, p);
  out.re[to + 3 * stride] = re3 * w(4, p) - im3 * w(5, p);
  out.im[to + 3 * stride] = re3 * w(5, p) + im3 * w(4, p);
}

// A pass over m groups of `stride` numbers.
QUELLARD_INLINE void radix4(Parts in, Parts out, const Twiddles& w, int stride) {
  const int quarter = w.m * stride;
  for (int p = 0; p < w.m; ++p) {
    QUELLARD_INDEPENDENT
    for (int q = 0; q < stride; ++q) {
      butterfly(w, p, stride * p + q, quarter, stride * 4 * p + q, stride, in, out);
    }
  }
}

QUELLARD_INLINE void radix4First(Parts in, Parts out, const Twiddles& w) {
  QUELLARD_INDEPENDENT
  for (int p = 0; p < w.m; ++p) butterfly(w, p, p, w.m, 4 * p, 1, in, out);
}

QUELLARD_INLINE void radix2Last(Parts in, Parts out, int half) {
  QUELLARD_INDEPENDENT
  for (int q = 0; q < half; ++q) {
    const double re = in.re[q] - in.re[q + half], im = in.im[q] - in.im[q + half];
    out.re[q] = in.re[q] + in.re[q + half];
    out.im[q] = in.im[q] + in.im[q + half];
    out.re[q + half] = re;
    out.im[q + half] = im;
  }
}

// The transform of n numbers; says in which of the two they are at the end.
QUELLARD_WIDEST bool transform(double* fromRe, double* fromIm, double* toRe, double* toIm,
                               const double* twiddles, int n) {
  Parts from{fromRe, fromIm}, to{toRe, toIm};
  bool moved = false;
  const auto exchange = [&] {
    const Parts last = from;
    from = to;
    to = last;
    moved = !moved;
  };
  int stride = 1;
  for (; stride * 4 <= n; stride *= 4, exchange()) {
    const Twiddles w{twiddles, n / (4 * stride)};
    // The compiler makes better loops where it knows how short they are.
    if (stride == 1) {
      radix4First(from, to, w);
    } else if (stride == 4) {
      radix4(from, to, w, 4);
    } else {
      radix4(from, to, w, stride & ~15);
    }
    twiddles += std::ptrdiff_t{kTwiddleRows} * w.m;
  }
  if (stride < n) {
    radix2Last(from, to, n / 2);
    exchange();
  }
  return moved;
}

QUELLARD_WIDEST void twist(const double* first, const double* second, const double* phasors,
                           double* spectrum, int n) {
  QUELLARD_INDEPENDENT
  for (int i = 0; i < n; ++i) {
    spectrum[i] = first[i] * phasors[i] - second[i] * phasors[n + i];
    spectrum[n + i] = first[i] * phasors[n + i] + second[i] * phasors[i];
  }
}

// The imaginary part alone, as it is the second half.
QUELLARD_WIDEST void untwist(const double* spectrum, const double* phasors, double* second, int n) {
  QUELLARD_INDEPENDENT
  for (int i = 0; i < n; ++i) {
    second[i] = spectrum[n + i] * phasors[i] - spectrum[i] * phasors[n + i];
  }
}

QUELLARD_WIDEST void multiplyAddSpectra(const double* a, const double* b, double* sum, int n) {
  QUELLARD_INDEPENDENT
  for (int i = 0; i < n; ++i) {
    sum[i] += a[i] * b[i] - a[n + i] * b[n + i];
    sum[n + i] += a[i] * b[n + i] + a[n + i] * b[i];
  }
}

}  // namespace

QUELLARD_WIDEST void convolveHead(const double* taps, const double* in, double* out) {
  double sums[kHeadTile] = {};
  for (int k = 0; k < kHeadTaps; ++k) {
    for (int i = 0; i < kHeadTile; ++i) sums[i] += taps[k] * in[i - k];
  }
  for (int i = 0; i < kHeadTile; ++i) out[i] = sums[i];
}

BlockTransform::BlockTransform(int n) : n_(n), scratch_(2 * asSize(n)) {
  std::vector<double> sines;
  for (int i = 0; i < n; ++i) {
    const Phasor w = phasor(static_cast<long double>(i) / (4.0L * n));
    twist_.push_back(w.re);
    sines.push_back(w.im);
  }
  twist_.insert(twist_.end(), sines.begin(), sines.end());
  for (int stride = 1; stride * 4 <= n; stride *= 4) {
    const int m = n / (4 * stride);
    for (int row = 0; row < kTwiddleRows; ++row) {
      const int power = row / 2 + 1;
      for (int p = 0; p < m; ++p) {
        const Phasor w = phasor(-static_cast<long double>(p * power) / (4.0L * m));
        twiddles_.push_back(row % 2 == 0 ? w.re : w.im);
      }
    }
  }
}

void BlockTransform::forward(const double* firstHalf, const double* secondHalf, double* spectrum) {
  // The passes alternate between two arrays, and are to end in the caller's.
  int passes = 0;
  for (int length = n_; length > 1; length = length >= 4 ? length / 4 : 1) ++passes;
  double* const from = passes % 2 == 0 ? spectrum : scratch_.data();
  double* const to = passes % 2 == 0 ? scratch_.data() : spectrum;
  twist(firstHalf, secondHalf, twist_.data(), from, n_);
  transform(from, from + n_, to, to + n_, twiddles_.data(), n_);
}

// With real and imaginary parts exchanged before and after, a transform is its own inverse.
void BlockTransform::inverseSecondHalf(double* spectrum, double* secondHalf) {
  double* const other = scratch_.data();
  const bool moved = transform(spectrum + n_, spectrum, other + n_, other, twiddles_.data(), n_);
  untwist(moved ? other : spectrum, twist_.data(), secondHalf, n_);
}

void BlockTransform::multiplyAdd(const double* a, const double* b, double* sum, int n) {
  multiplyAddSpectra(a, b, sum, n);
}

double BlockTransform::frequency(int k) const {
  const double share = std::abs(k - 0.25) / n_;
  return share < 0.5 ? share : 1.0 - share;
}

}  // namespace quellard

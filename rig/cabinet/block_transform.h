// SPDX-License-Identifier: ISC
// The Fourier transform in which the convolver multiplies, and the loops around it. No FFT library
// is behind this: those choose their order of additions by the processor, and this project gives
// the same bits on every machine.
//
// Method: a window of 2n samples is a polynomial modulo x^2n + 1, which is the same as one with n
// complex coefficients modulo x^n - i. With x = w u and w^n = i that becomes a product modulo
// u^n - 1, a cyclic convolution of n complex numbers. So each sample is multiplied by a power of w
// ("right-angle convolution": Crandall and Fagin, Discrete weighted transforms, 1994), and a
// complex transform of half the window's length does all the work, without the usual step that
// sorts out the spectra of real numbers. The transform is Stockham's with radix 4, whose inner
// loops are contiguous.
#pragma once

#include <vector>

namespace quellard {

class BlockTransform {
 public:
  // n: half the length of a window in samples, a power of 2 from 16 to 2^20. Allocates.
  explicit BlockTransform(int n);

  // Everything below allocates nothing. A spectrum is 2n doubles: n real parts, n imaginary parts.

  // The spectrum of a window whose two halves are n samples each.
  void forward(const double* firstHalf, const double* secondHalf, double* spectrum);

  // The second half of the window that a spectrum belongs to, n samples, times n. Overwrites the
  // spectrum.
  void inverseSecondHalf(double* spectrum, double* secondHalf);

  int n() const { return n_; }

  // sum += a * b, for spectra of n complex numbers.
  static void multiplyAdd(const double* a, const double* b, double* sum, int n);

  // The frequency at which number k of a spectrum samples a signal, as a share of the rate, 0..0.5.
  double frequency(int k) const;

 private:
  int n_;
  std::vector<double> twist_;     // the powers of w: n cosines, n sines
  std::vector<double> twiddles_;  // of each pass with radix 4, one after the other
  std::vector<double> scratch_;
};

// The taps of a response that are convolved directly, and how many samples are computed at once.
inline constexpr int kHeadTaps = 64;
inline constexpr int kHeadTile = 16;

// out[i] = sum of taps[k] * in[i - k] over kHeadTaps taps, for kHeadTile samples. Reads
// in[1 - kHeadTaps] to in[kHeadTile - 1].
void convolveHead(const double* taps, const double* in, double* out);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Filter design: from a record of type, frequencies, Q, gain and rate to the coefficients of one
// first- or second-order section. Keeps nothing; any thread, no allocation.
#pragma once

#include <array>
#include <cstdint>

namespace quellard {

// Types 0 to 12 are bilinear-transform designs with the corner prewarped by K = tan(pi f / fs). A
// number is first cut to a signed 16-bit value; one that is not in this list is the one-pole
// low-pass.
enum FilterType : std::int32_t {
  lowPass1 = 0,             // -3 dB at frq, 6 dB/octave
  highPass1 = 1,            // -3 dB at frq, 6 dB/octave
  lowPass2Butterworth = 2,  // -3 dB at frq, 12 dB/octave; q ignored
  highPass2Butterworth = 3,
  bandPassEdges = 4,  // -3 dB at frqLow and frqHigh
  bandStopEdges = 5,
  lowPass2 = 6,  // damping sqrt(2)/q, Butterworth at q = 1
  highPass2 = 7,
  bandPass = 8,  // 0 dB at frq, width set by q
  notch = 9,
  peaking = 10,         // gain dB at frq, 0 dB far from it
  lowShelf1 = 11,       // gain dB at DC, 0 dB at half the rate
  highShelf1 = 12,      // 0 dB at DC, gain dB at half the rate
  onePoleLowPass = 13,  // (1 - a) / (1 - a/z), its pole a solved for -3 dB at frq
};

// What a section is designed from. The names are the host interface's.
struct filterPrm_tag {
  std::int32_t num;  // the type number, a FilterType
  double frq;        // frequency, Hz
  double frqLow;     // Hz, the band edges of types 4 and 5; 0 < frqLow < frqHigh < fs/2
  double frqHigh;    // Hz
  double q;
  double gain;  // dB; types 10 to 12
  double fs;    // Hz, the rate at which the section will run
};

struct FilterDesign {
  // Weights of y[n-1], y[n-2], x[n], x[n-1], x[n-2]. In form 0: input weight, 0, pole, 0, 0.
  std::array<double, 5> coef;
  std::int16_t num;    // the record's type number, cut to 16 bits
  std::int32_t order;  // 1 or 2
  std::int32_t form;   // 0 one-pole recursion, else transposed direct form II
};

// Slightly above pi, and part of the sound: at half the sample rate the prewarped K turns into a
// huge negative number instead of a huge positive one.
inline constexpr double kDesignPi = 3.141592653589794;

// Every record yields coefficients. A q that is not positive becomes 1 in the record, a frequency
// that is not positive 20 Hz, one above half the rate half the rate. Band edges and fs are taken
// as they are. Costs one tangent and at most one pow; band edges cost three tangents, the one-pole
// a tangent, a cosine and a square root.
FilterDesign designFilter(filterPrm_tag& prm, double pi = kDesignPi);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Control tapers: from a knob's position to the value that a channel control receives.
#pragma once

#include <cstdint>
#include <memory>

namespace quellard {

enum TaperCurve : std::int32_t {
  kPowerCurve = 0,       // base + scale (t - offset)^exponent
  kFixedPowerCurve = 1,  // t^sqrt(2)
  kArctangentCurve = 2,  // an S of steepness `scale` around 0.5 at `offset`; 0 to 1 if that is 0.5
  kPolynomialCurve = 3,  // poly[polyCount-1] + poly[polyCount-2] t + ... ; polyCount >= 1
  kStraightLine = 4,     // t; any other number is taken as this one
};

// One taper, which the host interface calls edit. A plain record: filled once, then only read, from
// any thread.
template <class Value>
class edit {
 public:
  // x: the knob, 0..1 (outside that a power curve may return NaN). Returns valueAtZero for 0 and
  // valueAtOne for 1 with any curve that runs from 0 to 1. The curve always starts at the lower
  // end value, whichever way the control runs. Which steps are computed in float and which in
  // double is part of the sound. [audio thread] Allocates nothing.
  float editProcessing(float x) const;

  std::unique_ptr<float[]> poly;  // null unless the curve is a polynomial
  std::int32_t curve = kStraightLine;
  Value valueAtOne = 1.0;
  Value valueAtZero = 0.0;
  float scale = 1.0f;
  float offset = 0.0f;
  float base = 0.0f;
  float exponent = 1.0f;
  std::int32_t polyCount = 0;

 private:
  float curveAt(float t) const;
  float arctangentAt(float t) const;
  float polynomialAt(float t) const;
};

extern template class edit<double>;

}  // namespace quellard

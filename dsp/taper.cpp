// SPDX-License-Identifier: ISC
#include "dsp/taper.h"

#include <cmath>

namespace quellard {

template <class Value>
float edit<Value>::editProcessing(float x) const {
  const bool rising = valueAtOne >= valueAtZero;
  const Value low = rising ? valueAtZero : valueAtOne;
  const Value high = rising ? valueAtOne : valueAtZero;
  const float y = curveAt(rising ? x : 1.0f - x);
  return static_cast<float>(low) + y * static_cast<float>(high - low);
}

template <class Value>
float edit<Value>::curveAt(float t) const {
  switch (curve) {
    case kPowerCurve: {
      const auto d = static_cast<double>(t - offset);
      return static_cast<float>(static_cast<double>(base) +
                                static_cast<double>(scale) *
                                    std::pow(d, static_cast<double>(exponent)));
    }
    case kFixedPowerCurve: return std::pow(t, 1.4142135f);
    case kArctangentCurve: return arctangentAt(t);
    case kPolynomialCurve: return polynomialAt(t);
    default: return t;
  }
}

template <class Value>
float edit<Value>::arctangentAt(float t) const {
  const float s = std::atan(scale);
  const float u = (t - offset) * 2.0f * scale;
  return static_cast<float>((std::atan(static_cast<double>(u)) + static_cast<double>(s)) /
                            static_cast<double>(s + s));
}

template <class Value>
float edit<Value>::polynomialAt(float t) const {
  float sum = poly.get()[polyCount - 1];
  float power = t;
  for (std::int32_t i = polyCount - 2; i >= 0; --i) {
    sum = sum + poly.get()[i] * power;
    power = power * t;
  }
  return sum;
}

template class edit<double>;

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "channels/clipper.h"

#include <cmath>

namespace quellard {
namespace {

// clang-format off
// T1 to T3; last is ClipperCurve::lastExponent.
constexpr std::array<ClipperCurve, 3> kMultistageCurves = {{
  // + level  + rate                - level  - rate                 last
  {  1.0,    -0.0035,               0.057,  -0.06140350877192979,   -70.0              },
  {  1.0,    -0.00802125844320371,  0.9,    -0.008912509381337455,  -160.42516886407418 },
  {  1.0,    -0.0015,               0.9,    -0.0015,                -30.0              },
}};
// clang-format on

}  // namespace

MultistageClippers multistageClip;

void generateClipper(Clipper& clipper, const ClipperCurve& curve, NegativeHalf grouping) {
  clipper.halfSize = kClipperHalfSize;
  const bool oneRate = curve.positiveRate == curve.negativeRate;
  for (int i = 0; i <= kClipperHalfSize; ++i) {
    const double x = i;
    const auto above = static_cast<std::size_t>(kClipperHalfSize + i);
    const auto below = static_cast<std::size_t>(kClipperHalfSize - i);
    const double e = std::exp(curve.positiveRate * x);
    clipper.table[above] = curve.positiveLevel * (1.0 - e) / (e + 1.0);
    const double f = oneRate ? e : std::exp(curve.negativeRate * x);
    clipper.table[below] = grouping == NegativeHalf::scaleNumerator
                               ? -curve.negativeLevel * (1.0 - f) / (f + 1.0)
                               : (1.0 - f) / (f + 1.0) * -curve.negativeLevel;
  }
  const double e = std::exp(curve.lastExponent);
  clipper.table.back() = curve.positiveLevel * (1.0 - e) / (e + 1.0);
}

void FirstShaper::require(int overSample, const FirstShaperCurve& curve) {
  const std::size_t i = index(overSample);
  std::call_once(generated_[i], [&] {
    const double positive = curve.positiveSlope * overSample;
    const double negative = curve.negativeSlope * overSample;
    const ClipperCurve scaled = {curve.positiveLevel,
                                 0.0 - (positive + positive) / kClipperHalfSize, 1.0,
                                 0.0 - (negative + negative) / kClipperHalfSize, -2.0 * positive};
    generateClipper(tables_[i], scaled, NegativeHalf::scaleNumerator);
  });
}

void requireMultistageClippers() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (std::size_t i = 0; i < multistageClip.size(); ++i) {
      generateClipper(multistageClip[i], kMultistageCurves[i], NegativeHalf::scaleQuotient);
    }
  });
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "dsp/taper.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace quellard::test {
namespace {

struct Shape {
  std::int32_t curve = kPowerCurve;
  double atZero = 0.0, atOne = 1.0;
  float scale = 1.0f, offset = 0.0f, base = 0.0f, exponent = 1.0f;
  std::vector<float> poly = {};
};

float played(const Shape& shape, float x) {
  edit<double> taper;
  taper.curve = shape.curve;
  taper.valueAtZero = shape.atZero;
  taper.valueAtOne = shape.atOne;
  taper.scale = shape.scale;
  taper.offset = shape.offset;
  taper.base = shape.base;
  taper.exponent = shape.exponent;
  taper.polyCount = static_cast<std::int32_t>(shape.poly.size());
  taper.poly = std::make_unique<float[]>(shape.poly.size());
  std::copy(shape.poly.begin(), shape.poly.end(), taper.poly.get());
  return taper.editProcessing(x);
}

TEST(Taper, CurvesAtHandPickedPoints) {
  struct Row {
    Shape shape;
    float x, y;
  };
  const Shape s = {.curve = kArctangentCurve, .scale = 5.0f, .offset = 0.5f};
  const Shape cubic = {.curve = kPolynomialCurve, .poly = {2.0f, -3.0f, 1.0f, 0.5f}};
  const Shape reversed = {.atZero = 10.0, .atOne = 0.0, .exponent = 2.0f};
  for (const Row& row : std::vector<Row>{
           {{.exponent = 3.0f}, 0.5f, 0.125f},  // GAIN
           {{.exponent = 2.0f}, 0.5f, 0.25f},   // MASTER
           {{.exponent = 0.5f}, 0.25f, 0.5f},   // BASS
           {{}, 0.3f, 0.3f},                    // MID, TREBLE, PRESENCE
           {reversed, 0.5f, 2.5f},
           {reversed, 0.25f, 5.625f},
           {{.scale = 2.0f, .offset = 0.5f, .base = 1.0f, .exponent = 2.0f}, 0.75f, 1.125f},
           {{.curve = kFixedPowerCurve}, 0.25f, 0.140786f},
           {{.curve = kFixedPowerCurve, .atZero = 1.0, .atOne = -1.0}, 0.75f, -0.718428f},
           {s, 0.5f, 0.5f},
           {s, 0.6f, 0.785398163f / 1.373400767f * 0.5f + 0.5f},  // atan 1 and atan 5
           {{.curve = kArctangentCurve, .offset = 0.25f}, 0.25f, 0.5f},
           {cubic, 0.5f, 0.5f},
           {cubic, 2.0f, 6.5f},
           {{.curve = kPolynomialCurve, .poly = {0.75f}}, 0.1f, 0.75f},
           {{.curve = kStraightLine, .atZero = -2.0, .atOne = 6.0}, 0.25f, 0.0f},
           {{.curve = -7, .atZero = 6.0, .atOne = -2.0}, 0.25f, 4.0f}}) {
    EXPECT_NEAR(played(row.shape, row.x), row.y, 1e-6f)
        << "curve " << row.shape.curve << " at " << row.x;
  }
}

TEST(Taper, EveryCurveReachesBothEndsInBothDirections) {
  // The S subtracts an arctangent in double precision from one in single precision.
  const std::pair<Shape, double> rows[] = {
      {{.exponent = 3.0f}, 0.0},
      {{.curve = kFixedPowerCurve}, 0.0},
      {{.curve = kArctangentCurve, .offset = 0.5f}, 1e-6},
      {{.curve = kPolynomialCurve, .poly = {-1.0f, 2.0f, 0.0f}}, 0.0},
      {{.curve = kStraightLine}, 0.0}};
  for (auto [shape, slack] : rows) {
    for (const auto& [atZero, atOne] : {std::pair{-3.0, 7.5}, {7.5, -3.0}, {4.25, 4.25}}) {
      shape.atZero = atZero, shape.atOne = atOne;
      EXPECT_NEAR(played(shape, 0.0f), atZero, slack) << shape.curve;
      EXPECT_NEAR(played(shape, 1.0f), atOne, slack) << shape.curve;
    }
  }
}

// Inputs for which another order of the arithmetic, or another precision of one step, gives a
// clearly different result. The knobs' own curves are compared with the reference in
// session_test.cpp.
TEST(Taper, EveryStepRoundsInItsOwnPrecision) {
  const float scale = 0x1.001p0f, x = 0x1.001p-1f;  // their product has 25 digits
  EXPECT_EQ(played({.scale = scale, .base = -0.5f}, x), 0x1.0008p-12f) << "scaled in double";
  EXPECT_EQ(played({.atZero = -1.0, .atOne = 0.0, .base = 1.0f}, 0x1.0001p-24f), 0x1p-23f)
      << "the power curve's answer in float";
  EXPECT_EQ(played({.offset = -0x1p-30f, .base = -1.0f}, 1.0f), 0.0f) << "offset in float";
  const Shape growing = {.curve = kPolynomialCurve, .poly = {1.0f, 0x1p24f, -0x1p24f}};
  EXPECT_EQ(played(growing, 1.0f), 1.0f) << "summed from the constant term";
  const Shape constantFirst = {.curve = kPolynomialCurve, .poly = {1.0f, 1.0f, 0x1p24f}};
  EXPECT_EQ(played(constantFirst, 1.0f), 0x1p24f) << "summed in float";
  const Shape square = {.curve = kPolynomialCurve, .poly = {1.0f, 0.0f, -1.0f}};
  EXPECT_EQ(played(square, 0x1.001p0f), 0x1p-11f) << "powers in float";
  const Shape s = {.curve = kArctangentCurve, .scale = 5.0f, .offset = 0.5f};
  EXPECT_FLOAT_EQ(played(s, 0.0f), 0x1.f9cf44p-27f) << "half the range of the S in float";
  const Shape uneven = {.curve = kArctangentCurve, .scale = 3.7f, .offset = 0.3f};
  EXPECT_EQ(played(uneven, 0x1p-12f), 0x1.f4236cp-5f) << "the input of the S in float";
  const Shape fine = {
      .curve = kPolynomialCurve, .atZero = 1.0 + 0x1p-25, .atOne = 1.0 + 0x1p-23, .poly = {4.0f}};
  EXPECT_EQ(played(fine, 0.0f), 1.0f + 3 * 0x1p-23f) << "the range is a difference of doubles";
  const Shape low = {.curve = kStraightLine, .atZero = 1.0 + 0x1p-25, .atOne = 1.0 + 0x1p-24};
  EXPECT_EQ(played(low, 1.5f), 1.0f) << "the lower end in float";
  // A straight line from 1 by e = 2^-9 beyond its end: (1 + e)(1 - e + e^2) = 1 + e^3.
  const Shape product = {.curve = kStraightLine, .atZero = 1.0, .atOne = 1.0 + 0x1.ff008p-25};
  EXPECT_EQ(played(product, 1.0f + 0x1p-9f), 1.0f) << "the product in float";
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
#include "dsp/taper.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/plain/plain_amplifier.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

struct Shape {
  std::int32_t curve = kPowerCurve;
  double atZero = 0.0, atOne = 1.0;
  float scale = 1.0f, offset = 0.0f, base = 0.0f, exponent = 1.0f;
  std::vector<float> poly = {};
};

edit<double> taper(const Shape& shape) {
  edit<double> result;
  result.curve = shape.curve;
  result.valueAtZero = shape.atZero;
  result.valueAtOne = shape.atOne;
  result.scale = shape.scale;
  result.offset = shape.offset;
  result.base = shape.base;
  result.exponent = shape.exponent;
  result.polyCount = static_cast<std::int32_t>(shape.poly.size());
  if (!shape.poly.empty()) {
    result.poly = std::make_unique<float[]>(shape.poly.size());
    std::copy(shape.poly.begin(), shape.poly.end(), result.poly.get());
  }
  return result;
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
           {reversed, 1.0f, 0.0f},
           {reversed, 0.0f, 10.0f},
           {reversed, 0.5f, 2.5f},
           {reversed, 0.25f, 5.625f},
           {{.scale = 2.0f, .offset = 0.5f, .base = 1.0f, .exponent = 2.0f}, 0.75f, 1.125f},
           {{.curve = kFixedPowerCurve}, 0.25f, 0.140786f},
           {{.curve = kFixedPowerCurve, .atZero = 1.0, .atOne = -1.0}, 0.75f, -0.718428f},
           {s, 0.5f, 0.5f},
           {s, 0.6f, 0.785398163f / 1.373400767f * 0.5f + 0.5f},  // atan 1 and atan 5
           {cubic, 0.0f, 0.5f},
           {cubic, 0.5f, 0.5f},
           {cubic, 2.0f, 6.5f},
           {{.curve = kPolynomialCurve, .poly = {0.75f}}, 0.1f, 0.75f},
           {{.curve = kStraightLine, .atZero = -2.0, .atOne = 6.0}, 0.25f, 0.0f},
           {{.curve = -7, .atZero = 6.0, .atOne = -2.0}, 0.25f, 4.0f}}) {
    EXPECT_NEAR(taper(row.shape).editProcessing(row.x), row.y, 1e-6f)
        << "curve " << row.shape.curve << " at " << row.x;
  }
}

TEST(Taper, EndsAreReachedExactlyInBothDirections) {
  for (const std::int32_t curve : {0, 1, 2, 3, 4, 99, -1}) {
    for (const float exponent : {0.5f, 1.0f, 2.0f, 3.0f}) {
      Shape shape = {.curve = curve, .atZero = -3.0, .atOne = 7.5, .exponent = exponent};
      if (curve == kArctangentCurve) shape.offset = 0.5f;
      if (curve == kPolynomialCurve) shape.poly = {-1.0f, 2.0f, 0.0f};
      // The S subtracts an arctangent in double precision from one in single precision.
      const float slack = curve == kArctangentCurve ? 1e-6f : 0.0f;
      EXPECT_NEAR(taper(shape).editProcessing(0.0f), -3.0f, slack) << curve;
      EXPECT_NEAR(taper(shape).editProcessing(1.0f), 7.5f, slack) << curve;
      std::swap(shape.atZero, shape.atOne);
      EXPECT_NEAR(taper(shape).editProcessing(0.0f), 7.5f, slack) << curve;
      EXPECT_NEAR(taper(shape).editProcessing(1.0f), -3.0f, slack) << curve;
      shape.atZero = shape.atOne = 4.25;
      for (const float x : {0.0f, 0.3f, 1.0f}) EXPECT_EQ(taper(shape).editProcessing(x), 4.25f);
    }
  }
}

TEST(Taper, MatchesThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x7a9e);
  const auto draw = [&](double low, double high) {
    return static_cast<float>(random.between(low, high));
  };
  for (int i = 0; i < 20000; ++i) {
    Shape shape = {random.integer(-1, 4), random.between(-5.0, 5.0), random.between(-5.0, 5.0),
                   draw(0.1, 3.0),        draw(-0.5, 0.0),           draw(-1.0, 1.0),
                   draw(0.2, 4.0)};
    while (shape.curve == kPolynomialCurve && (shape.poly.empty() || random.chance(0.7))) {
      shape.poly.push_back(draw(-2.0, 2.0));
    }
    const plain::Taper model = {shape.curve,  shape.atOne, shape.atZero,   shape.scale,
                                shape.offset, shape.base,  shape.exponent, shape.poly};
    const float x = static_cast<float>(random.unit());
    const std::vector<float> shipped = {taper(shape).editProcessing(x)};
    ASSERT_TRUE(sameBits(shipped, {model.process(x)})) << "curve " << shape.curve << " at " << x;
  }
}

}  // namespace
}  // namespace quellard::test

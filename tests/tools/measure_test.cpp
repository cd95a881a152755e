// SPDX-License-Identifier: ISC
#include "tools/measure.h"

#include <cmath>
#include <gtest/gtest.h>

#include "tests/tools/scratch.h"

namespace quellard {
namespace {

using test::plugin;

constexpr int kRate = 48000;

StartingPoint knobs(int channel, std::vector<Setting> settings = {}) {
  StartingPoint start = {0, std::move(settings)};
  start.settings.push_back({kTypeParameter, selectorValue(channel)});
  return start;
}

double at(const Curve& curve, double hz) {
  double nearest = 1e9;
  double value = 0.0;
  for (const Point& point : curve) {
    if (std::abs(point.x - hz) >= nearest) continue;
    nearest = std::abs(point.x - hz);
    value = point.y;
  }
  return value;
}

// Two ways to the same number: from an impulse, and from a steady sine.
TEST(Measure, ResponseAgreesWithASine) {
  constexpr double kNote_hz = 750.0;  // 1/64 of the rate, and a bin of the spectrum's
  constexpr double kLevel = 1e-8;
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const double response = at(measureResponse(plugin(), knobs(channel), kRate), kNote_hz);
    const Curve spectrum = measureSpectrum(plugin(), knobs(channel), kRate, kNote_hz, kLevel);
    EXPECT_NEAR(at(spectrum, kNote_hz) - 20.0 * std::log10(kLevel), response, 0.2) << channel;
  }
}

TEST(Measure, EachToneKnobMovesItsOwnRange) {
  const struct {
    int knob;  // of CLEAN
    double moved_hz;
    double left_hz;
  } cases[] = {{1, 6000, 100}, {2, 80, 3000}, {3, 600, 30}, {4, 5000, 30}};
  for (const auto& test : cases) {
    const Curve low = measureResponse(plugin(), knobs(0, {{test.knob, 0.0f}}), kRate);
    const Curve high = measureResponse(plugin(), knobs(0, {{test.knob, 1.0f}}), kRate);
    EXPECT_GT(at(high, test.moved_hz) - at(low, test.moved_hz), 2.0) << test.knob;
    EXPECT_LT(std::abs(at(high, test.left_hz) - at(low, test.left_hz)), 1.0) << test.knob;
  }
  // MASTER goes in with its square: half of it is 12 dB less at every frequency.
  const Curve full = measureResponse(plugin(), knobs(1, {{11, 1.0f}}), kRate);
  const Curve half = measureResponse(plugin(), knobs(1, {{11, 0.5f}}), kRate);
  EXPECT_NEAR(at(full, 1000) - at(half, 1000), 12.04, 0.01);
}

TEST(Measure, TransferRunsFromLowToHighAndSaturates) {
  const Curve curve = measureTransfer(plugin(), knobs(0, {{6, 1.0f}}), kRate);
  ASSERT_GT(curve.size(), 100u);
  for (std::size_t i = 1; i < curve.size(); ++i) {
    EXPECT_LT(curve[i - 1].x, curve[i].x);
    EXPECT_LE(curve[i - 1].y, curve[i].y + 0.02);
  }
  // Ten times the level at the loud end makes a small difference, at the quiet end nearly tenfold.
  const double loud = at(curve, 1.0) / at(curve, 0.1);
  const double quiet = at(curve, 0.002) / at(curve, 0.0002);
  EXPECT_LT(loud, 1.5);
  EXPECT_NEAR(quiet, 10.0, 1.0);
}

TEST(Measure, DistortionShowsAsHarmonicsAndNotBetweenThem) {
  const Curve modern = measureSpectrum(plugin(), knobs(2), kRate, 187.5, 0.25);
  EXPECT_GT(at(modern, 3 * 187.5), at(modern, 187.5) - 30.0);
  EXPECT_LT(at(modern, 2.5 * 187.5), at(modern, 3 * 187.5) - 50.0);
  const Curve clean = measureSpectrum(plugin(), knobs(0), kRate, 187.5, 0.001);
  EXPECT_LT(at(clean, 3 * 187.5), at(clean, 187.5) - 60.0);
}

}  // namespace
}  // namespace quellard

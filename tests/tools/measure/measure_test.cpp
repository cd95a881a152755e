// SPDX-License-Identifier: ISC
#include "tools/measure/measure.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "params/parameter_values.h"
#include "tests/tools/scratch.h"
#include "tools/measure/gain_table.h"

namespace quellard {
namespace {

using test::plugin;

constexpr int kRate = 48000;

StartingPoint knobs(int channel, std::vector<ParameterChange> settings = {}) {
  StartingPoint start = {0, std::move(settings)};
  start.changes.push_back({kTypeParameter, selectFromChannel(channel)});
  return start;
}

// The value at the point nearest to x.
double at(const Curve& curve, double x) {
  const auto nearer = [x](const Point& a, const Point& b) {
    return std::abs(a.x - x) < std::abs(b.x - x);
  };
  return std::min_element(curve.begin(), curve.end(), nearer)->y;
}

// The response from an impulse must agree with the level of a steady sine.
TEST(Measure, ResponseAgreesWithASine) {
  constexpr double kNote_hz = 750.0;  // 1/64 of the rate, and a bin of the spectrum's
  constexpr double kLevel = 1e-8;
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const double response = at(measureResponse(plugin(), knobs(channel), kRate), kNote_hz);
    const Curve spectrum = measureSpectrum(plugin(), knobs(channel), kRate, kNote_hz, kLevel);
    EXPECT_NEAR(at(spectrum, kNote_hz) - 20.0 * std::log10(kLevel), response, 0.2) << channel;
  }
  // MASTER acts by its square: half of it is 12 dB less at every frequency.
  const Curve full = measureResponse(plugin(), knobs(1, {{11, 1.0f}}), kRate);
  const Curve half = measureResponse(plugin(), knobs(1, {{11, 0.5f}}), kRate);
  EXPECT_NEAR(at(full, 1000) - at(half, 1000), 12.04, 0.01);
}

TEST(Measure, TransferRunsFromLowToHighAndSaturates) {
  const Curve curve = measureTransfer(plugin(), knobs(0, {{6, 1.0f}}), kRate);
  for (std::size_t i = 1; i < curve.size(); ++i) {
    EXPECT_LT(curve[i - 1].x, curve[i].x);
    EXPECT_LE(curve[i - 1].y, curve[i].y + 0.02);
  }
  EXPECT_LT(at(curve, 1.0) / at(curve, 0.1), 1.5) << "ten times the level where it is loud";
  EXPECT_NEAR(at(curve, 0.002) / at(curve, 0.0002), 10.0, 1.0) << "and where it is quiet";
}

TEST(Measure, DistortionShowsAsHarmonicsAndNotBetweenThem) {
  const Curve modern = measureSpectrum(plugin(), knobs(2), kRate, 187.5, 0.25);
  EXPECT_GT(at(modern, 3 * 187.5), at(modern, 187.5) - 30.0);
  EXPECT_LT(at(modern, 2.5 * 187.5), at(modern, 3 * 187.5) - 50.0);
  const Curve clean = measureSpectrum(plugin(), knobs(0), kRate, 187.5, 0.001);
  EXPECT_LT(at(clean, 3 * 187.5), at(clean, 187.5) - 60.0);
}

// The table has rows for fixed positions of GAIN and for the one that is set, on its channel. GAIN
// at 0 is silent, CLEAN is linear at low levels, and a driven channel is not. The sine's frequency
// lies between two bins of the spectrum.
TEST(Measure, GainTableHasTheGainThatIsSet) {
  std::istringstream table(listGains(plugin(), knobs(1, {{12, 0.15F}}), kRate, 221.3));
  std::string line;
  std::getline(table, line);
  EXPECT_EQ(line.size(), 78u) << "fits a terminal";
  int rows = 0;
  while (std::getline(table, line)) {
    ++rows;
    std::istringstream row(line);
    std::string channel;
    double gain = 0.0, first_db = 0.0, first_thd = 0.0, second_db = 0.0, second_thd = 0.0;
    row >> channel >> gain;
    EXPECT_EQ(line.find("silent") != std::string::npos, gain == 0.0) << line;
    if (gain == 0.0) continue;
    ASSERT_TRUE(row >> first_db >> first_thd >> second_db >> second_thd) << line;
    EXPECT_TRUE(gain != 1.5 || channel == "VINTAGE") << line;
    const double rise = second_db - first_db;
    if (channel == "CLEAN" && gain <= 5.0) {
      EXPECT_NEAR(rise, 24.0, 0.11) << line;
    } else if (gain == 1.5) {
      EXPECT_LT(first_thd, 0.1 * second_thd) << line;
    } else if (channel != "CLEAN" && gain >= 5.0) {
      EXPECT_LT(rise, 1.0) << line;
    }
  }
  EXPECT_EQ(rows, 16);
}

}  // namespace
}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "channels/clipper.h"

#include <algorithm>
#include <limits>

#include "tests/channels/models.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// CTest runs each test in a process of its own, where no other has made the tables.
TEST(Clipper, ChannelsAreSilentUntilTheirTablesExist) {
  if (QuellardCh1::clip.at(8).halfSize != 0.0) GTEST_SKIP() << "another test has made the tables";
  Random random(1);
  for (const ChannelModel& model : kChannelModels) {
    for (const double rate : {44100.0, 48000.0}) {
      const AnyChannel channel = model.build(rate, false);
      for (const double y : play(*channel, noise(random, 1.0, 200))) ASSERT_EQ(y, 0.0) << model;
    }
  }
}

struct Curve {
  const char* name;
  const Clipper& table;
  const plain::Table& plain;
  double positiveLevel, positiveSlope;  // level tanh(slope u) for u >= 0
  double negativeLevel, negativeSlope;

  double operator()(double u) const {
    return u < 0.0 ? negativeLevel * std::tanh(negativeSlope * u)
                   : positiveLevel * std::tanh(positiveSlope * u);
  }
};

std::vector<Curve> curvesAt(int F) {
  const plain::Tables& plain = plain::tablesFor(F);
  return {
      // clang-format off
      {"CLEAN T0",   QuellardCh1::clip.at(F), plain.drive[0],   0.98, 83.9795918367347 * F, 1.0, 82.3 * F},
      {"VINTAGE T0", QuellardCh2::clip.at(F), plain.drive[1],   0.45, 28.8888888888889 * F, 1.0, 13.0 * F},
      {"MODERN T0",  QuellardCh3::clip.at(F), plain.drive[2],   0.45, 43.7555555555556 * F, 1.0, 19.69 * F},
      {"T1",         cascadeClip[0],          plain.cascade[0], 1.0,  35.0,             0.057, 614.0350877192979},
      {"T2",         cascadeClip[1],          plain.cascade[1], 1.0,  80.2125844320371, 0.9,   89.12509381337455},
      {"T3",         cascadeClip[2],          plain.cascade[2], 1.0,  15.0,             0.9,   15.0},
      // clang-format on
  };
}

// All tables of both factors stand before the first is looked at: none disturbs another.
TEST(Clipper, TablesSampleTwoHyperbolicTangentsAndLookupsFollowThem) {
  for (const ChannelModel& model : kChannelModels) {
    for (const double rate : {44100.0, 48000.0}) model.at(rate);
  }
  const double infinity = std::numeric_limits<double>::infinity();
  Random random(sessionSeed() ^ 0xc11);
  for (const int F : {7, 8}) {
    for (const Curve& curve : curvesAt(F)) {
      SCOPED_TRACE(testing::Message() << curve.name << " at factor " << F);
      const auto& table = curve.table.table;
      for (int j = 0; j <= 40000; ++j) {
        const auto i = static_cast<std::size_t>(j);
        // 1 - e loses what e has rounded, up to 1e-16 twice.
        ASSERT_NEAR(table[i], curve((j - 20000) / 20000.0), 4e-16) << j;
        ASSERT_GE(table[i + 1], table[i] - 2e-16) << j;
      }
      EXPECT_NEAR(table[40001], table[40000], 2e-16);
      EXPECT_TRUE(sameBits(std::vector<double>(table.begin(), table.end()), curve.plain));

      const auto lookup = [&](double x) { return curve.table.lookup(x); };
      for (const double x : {1.0, 1.0000001, 1e300, infinity}) {
        EXPECT_EQ(lookup(x), table[40000]) << x;
        EXPECT_EQ(lookup(-x), table[0]) << -x;
      }
      EXPECT_EQ(lookup(0.0), 0.0);
      EXPECT_TRUE(std::isnan(lookup(std::numeric_limits<double>::quiet_NaN())));
      // A chord over a step h strays from its curve by h^2/8 of the curvature, which is at most
      // 0.77 level slope^2 for a hyperbolic tangent.
      const double bend = std::max(curve.positiveLevel * std::pow(curve.positiveSlope, 2.0),
                                   curve.negativeLevel * std::pow(curve.negativeSlope, 2.0));
      const double tolerance = 0.77 * bend / (8.0 * 20000.0 * 20000.0) + 1e-12;
      for (int i = 0; i < 20000; ++i) {
        const double x = std::pow(random.between(-1.0, 1.0), 5.0);  // dense where the curve bends
        ASSERT_NEAR(lookup(x), curve(x), tolerance) << x;
      }
    }
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
#include "channels/clipper.h"

#include <limits>

#include "tests/channels/models.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// Needs a process in which no other test has built the tables: CTest runs each test in its own.
TEST(Clipper, ChannelsAreSilentUntilTheirTablesExist) {
  if (QuellardCh1::clip.at(8).halfSize != 0.0) GTEST_SKIP() << "another test has made the tables";
  Random random(1);
  for (const ChannelModel& model : kChannelModels) {
    for (const double rate : {44100.0, 48000.0}) {
      const AnyChannel channel = model.build(rate, false);
      for (const double y : play(*channel, noise(random, 1.0, 200))) ASSERT_EQ(y, 0.0) << model;
    }
  }
  for (const ChannelModel& model : kChannelModels) {  // the other factor's tables change nothing
    model.build(44100.0, true);
    const AnyChannel channel = model.build(48000.0, false);
    for (const double y : play(*channel, noise(random, 1.0, 200))) ASSERT_EQ(y, 0.0) << model;
  }
}

// All tables of both factors are built before the first is compared, so that none can overwrite
// another. They must have the reference's bits and follow the curve level * tanh(slope * u), with a
// level and a slope for each side of 0.
TEST(Clipper, TablesMatchTheReferenceAndTwoHyperbolicTangents) {
  for (const ChannelModel& model : kChannelModels) {
    for (const double rate : {44100.0, 48000.0}) model.at(rate);
  }
  for (const int F : {7, 8}) {
    const reference::Tables& expected = reference::tablesFor(F);
    const struct {
      const char* name;
      const Clipper& clipper;
      const reference::Table& expected;
      double positiveLevel, positiveSlope, negativeLevel, negativeSlope;
    } rows[] = {
        // clang-format off
        {"CLEAN T0",   QuellardCh1::clip.at(F), expected.drive[0],   0.98, 83.9795918367347 * F, 1.0, 82.3 * F},
        {"VINTAGE T0", QuellardCh2::clip.at(F), expected.drive[1],   0.45, 28.8888888888889 * F, 1.0, 13.0 * F},
        {"MODERN T0",  QuellardCh3::clip.at(F), expected.drive[2],   0.45, 43.7555555555556 * F, 1.0, 19.69 * F},
        {"T1",         multistageClip[0],          expected.cascade[0], 1.0,  35.0,             0.057, 614.0350877192979},
        {"T2",         multistageClip[1],          expected.cascade[1], 1.0,  80.2125844320371, 0.9,   89.12509381337455},
        {"T3",         multistageClip[2],          expected.cascade[2], 1.0,  15.0,             0.9,   15.0},
        // clang-format on
    };
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << row.name << " at factor " << F);
      const auto& table = row.clipper.table;
      EXPECT_TRUE(sameBits(std::vector<double>(table.begin(), table.end()), row.expected));
      for (std::size_t i = 0; i <= 40000; ++i) {
        const double u = (static_cast<double>(i) - 20000.0) / 20000.0;
        const double curve = u < 0.0 ? row.negativeLevel * std::tanh(row.negativeSlope * u)
                                     : row.positiveLevel * std::tanh(row.positiveSlope * u);
        // 1 - e loses what e has rounded, up to 1e-16 twice.
        ASSERT_NEAR(table[i], curve, 4e-16) << u;
      }
      EXPECT_NEAR(table[40001], table[40000], 2e-16);
      const auto lookup = [&](double x) { return row.clipper.lookup(x); };
      for (const double x : {1.0, 1.0000001, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(lookup(x), table[40000]) << x;
        EXPECT_EQ(lookup(-x), table[0]) << -x;
      }
      EXPECT_EQ(lookup(0.0), 0.0);
      EXPECT_EQ(lookup(-0.75 / 20000.0), 0.75 * table[19999]) << "a straight line between entries";
      EXPECT_TRUE(std::isnan(lookup(std::numeric_limits<double>::quiet_NaN())));
    }
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
#include "channels/clipper.h"

#include <limits>
#include <thread>

#include "tests/channels/models.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// Before any test builds a channel with tables, plays each of them without.
class PlayedBeforeGeneration : public testing::Environment {
 public:
  void SetUp() override {
    if (!outputs.empty()) return;  // repeated runs find the tables made
    Random random(1);
    for (const ChannelModel& model : kChannelModels) {
      for (const double rate : {44100.0, 48000.0}) {
        const AnyChannel channel = model.build(rate, false);
        outputs.push_back(play(*channel, noise(random, 1.0, 200)));
      }
    }
  }
  static inline std::vector<std::vector<double>> outputs;
};
const auto* const registered =
    testing::AddGlobalTestEnvironment(std::make_unique<PlayedBeforeGeneration>().release());

TEST(Clipper, ChannelsAreSilentUntilTheirTablesExist) {
  ASSERT_NE(registered, nullptr);
  ASSERT_EQ(PlayedBeforeGeneration::outputs.size(), 6u);
  for (const auto& output : PlayedBeforeGeneration::outputs) {
    for (const double y : output) ASSERT_EQ(y, 0.0);
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
  for (const ChannelModel& model : kChannelModels) model.at(F == 7 ? 48000.0 : 44100.0);
  const plain::Tables& plain = plain::tablesFor(F);
  return {
      // clang-format off
      {"CLEAN T0",   QuellardCh1::clip.at(F), plain.drive[0], 0.98, 83.9795918367347 * F, 1.0, 82.3 * F},
      {"VINTAGE T0", QuellardCh2::clip.at(F), plain.drive[1], 0.45, 28.8888888888889 * F, 1.0, 13.0 * F},
      {"MODERN T0",  QuellardCh3::clip.at(F), plain.drive[2], 0.45, 43.7555555555556 * F, 1.0, 19.69 * F},
      {"T1",         cascadeClip[0],          plain.t1,       1.0,  35.0,              0.057, 614.0350877192979},
      {"T2",         cascadeClip[1],          plain.t2,       1.0,  80.2125844320371,  0.9,   89.12509381337455},
      {"T3",         cascadeClip[2],          plain.t3,       1.0,  15.0,              0.9,   15.0},
      // clang-format on
  };
}

TEST(Clipper, EntriesSampleTwoHyperbolicTangents) {
  for (const int F : {7, 8}) {
    for (const Curve& curve : curvesAt(F)) {
      SCOPED_TRACE(testing::Message() << curve.name << " at factor " << F);
      const auto& table = curve.table.table;
      ASSERT_EQ(curve.table.halfSize, 20000.0);
      for (int j = 0; j <= 40000; ++j) {
        const auto i = static_cast<std::size_t>(j);
        // 1 - e loses what e has rounded, up to 1e-16 twice.
        ASSERT_NEAR(table[i], curve((j - 20000) / 20000.0), 4e-16) << j;
        ASSERT_GE(table[i + 1], table[i] - 2e-16) << j;
      }
      EXPECT_EQ(table[20000], 0.0);
      EXPECT_NEAR(table[40001], table[40000], 2e-16);
      EXPECT_TRUE(sameBits(std::vector<double>(table.begin(), table.end()), curve.plain.entries));
    }
  }
}

TEST(Clipper, LookupFollowsTheCurveAndHoldsItsEnds) {
  const double infinity = std::numeric_limits<double>::infinity();
  Random random(sessionSeed() ^ 0xc11);
  for (const Curve& curve : curvesAt(8)) {
    SCOPED_TRACE(curve.name);
    const Clipper& clipper = curve.table;
    const auto& table = clipper.table;
    for (const double x : {1.0, 1.0000001, 2.0, 1e300, infinity}) {
      EXPECT_EQ(clipper.lookup(x), table[40000]) << x;
      EXPECT_EQ(clipper.lookup(-x), table[0]) << -x;
    }
    EXPECT_EQ(clipper.lookup(0.0), 0.0);
    EXPECT_NEAR(clipper.lookup(1.0), curve.positiveLevel, 1e-12);
    EXPECT_NEAR(clipper.lookup(-1.0), -curve.negativeLevel, 1e-12);
    for (const std::size_t j : {0u, 9999u, 19999u, 20000u, 20100u, 39999u}) {
      const double middle = (static_cast<double>(j) + 0.5 - 20000.0) / 20000.0;
      EXPECT_NEAR(clipper.lookup(middle), 0.5 * (table[j] + table[j + 1]), 1e-12) << j;
    }
    // A chord over a step h strays from its curve by h^2/8 of the curvature, which is at most 0.77
    // level slope^2 for a hyperbolic tangent.
    const double bend = std::max(curve.positiveLevel * curve.positiveSlope * curve.positiveSlope,
                                 curve.negativeLevel * curve.negativeSlope * curve.negativeSlope);
    const double tolerance = 0.77 * bend / (8.0 * 20000.0 * 20000.0) + 1e-12;
    for (int i = 0; i < 20000; ++i) {
      const double x = std::pow(random.between(-1.0, 1.0), 5.0);  // dense where the curve bends
      ASSERT_NEAR(clipper.lookup(x), curve(x), tolerance) << x;
    }
    EXPECT_TRUE(std::isnan(clipper.lookup(std::numeric_limits<double>::quiet_NaN())));
  }
}

std::vector<double> contents(const Clipper& clipper) {
  return {clipper.table.begin(), clipper.table.end()};
}

TEST(Clipper, FactorsDifferInTheDriveAloneAndLeaveEachOtherAlone) {
  const std::vector<Curve> eight = curvesAt(8);
  std::vector<std::vector<double>> before;
  for (const Curve& curve : eight) before.push_back(contents(curve.table));
  const std::vector<Curve> seven = curvesAt(7);
  for (std::size_t i = 0; i < eight.size(); ++i) {
    SCOPED_TRACE(eight[i].name);
    EXPECT_TRUE(sameBits(contents(eight[i].table), before[i]));
    EXPECT_EQ(sameBits(contents(seven[i].table), before[i]), i >= 3);
    // Small signals see the same gain at every rate: the slope grows with the factor, the
    // zero-stuffed input falls with it. tanh has bent by (a h)^2 / 3 at the first entry.
    if (i < 3) {
      EXPECT_NEAR(seven[i].table.table[20001] / eight[i].table.table[20001], 0.875, 1e-3);
    }
  }
}

TEST(Clipper, GenerationIsMadeOnceWhoeverAsksFirst) {
  const DriveCurve curve = {0.5, 20.0, 10.0};
  const auto clip = std::make_unique<DriveClipper>();
  EXPECT_EQ(clip->at(7).lookup(0.3), 0.0);
  std::vector<std::thread> threads;
  std::array<double, 4> seen{};
  for (std::size_t i = 0; i < seen.size(); ++i) {
    threads.emplace_back([&clip, &seen, &curve, i] {
      const int F = i % 2 == 0 ? 7 : 8;
      clip->require(F, curve);
      seen[i] = clip->at(F).lookup(0.001);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_NEAR(seen[0], 0.5 * std::tanh(0.14), 1e-6);
  EXPECT_NEAR(seen[1], 0.5 * std::tanh(0.16), 1e-6);
  EXPECT_EQ(seen[2], seen[0]);
  EXPECT_EQ(seen[3], seen[1]);
  const std::vector<double> made = contents(clip->at(7));
  clip->require(7, {0.1, 1.0, 1.0});
  EXPECT_TRUE(sameBits(contents(clip->at(7)), made)) << "a table in use is never written again";
}

}  // namespace
}  // namespace quellard::test

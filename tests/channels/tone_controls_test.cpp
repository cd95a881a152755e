// SPDX-License-Identifier: ISC
#include "channels/tone_controls.h"

#include "tests/channels/models.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kRate = 48000.0;  // with its own factor: no control may design for the inner rate

struct Expected {
  double t, m, b, p;
  std::size_t section;
  plain::Record record;
};

// What the knobs' ends lead to. The figures are rounded to their last digit, which moves a
// coefficient by 1e-5 at most.
TEST(ToneControls, EndsOfTheRange) {
  constexpr double any = 0.4;
  const std::vector<Expected> rows = {
      // clang-format off
      //  t    m    b    p  section  type     Hz              Q         dB
      {any, any, 0.0, any, 0, {11,  200.0,    0, 0, 1.0,      -2.9695,   kRate}},
      {any, any, 1.0, any, 0, {11,  200.0,    0, 0, 1.0,       3.6315,   kRate}},
      {any, any, 0.0, any, 4, { 1,   99.728,  0, 0, 1.0,       0.0,      kRate}},
      {any, any, 1.0, any, 4, { 1,    6.738,  0, 0, 1.0,       0.0,      kRate}},
      {0.0, 0.0, any, any, 1, {10, 1559.0325, 0, 0, 0.886025, -5.115125, kRate}},
      {0.0, 1.0, any, any, 1, {10, 1359.0325, 0, 0, 0.000825,  2.3849,   kRate}},
      {1.0, 0.0, any, any, 1, {10,  579.0325, 0, 0, 1.686025, -12.1161,  kRate}},
      {1.0, 1.0, any, any, 1, {10,  379.0325, 0, 0, 0.800825, -4.6161,   kRate}},
      {0.0, 0.0, any, any, 2, {12,  583.26,   0, 0, 1.0,     -10.5734,   kRate}},
      {0.0, 1.0, any, any, 2, {12,  583.26,   0, 0, 1.0,      -7.5734,   kRate}},
      {1.0, 0.0, any, any, 2, {12, 1203.26,   0, 0, 1.0,       1.9270,   kRate}},
      {1.0, 1.0, any, any, 2, {12, 1203.26,   0, 0, 1.0,       4.9270,   kRate}},
      {any, any, any, 0.0, 3, {12, 4000.0,    0, 0, 1.0,      -8.0,      kRate}},
      {any, any, any, 1.0, 3, {12, 4000.0,    0, 0, 1.0,       0.0,      kRate}},
      // clang-format on
  };
  const auto expectNear = [](const IIRFilter& section, plain::Record record) {
    const plain::Coefficients coef = plain::design(record);
    for (std::size_t i = 0; i < coef.size(); ++i) EXPECT_NEAR(section.coef[i], coef[i], 2e-5);
  };
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel c = model.at(kRate);
    for (const Expected& row : rows) {
      SCOPED_TRACE(testing::Message() << model << ", tone section " << row.section << ", treble "
                                      << row.t << ", mid " << row.m << ", bass " << row.b);
      c->setEQ(row.t, row.m, row.b, row.p, 0);
      expectNear(*c->eqFilters[row.section], row.record);
    }
    const double swing = model.plain == plain::Model::clean ? 5.0 : 6.0;
    for (const double b : {0.0, 1.0}) {
      c->setEQ(any, any, b, any, 0);
      expectNear(*c->eqFilters[5], {10, 120.0, 0, 0, 0.8, b > 0.5 ? swing : -swing, kRate});
    }
    c->setGain(0.0, 0);
    EXPECT_EQ(c->gainTarget, 0.0);
    expectNear(*c->preFilters[0], {11, 525.68, 0, 0, 1.0, -36.685, kRate});
    c->setGain(1.0, 0);
    EXPECT_EQ(c->gainTarget, model.plain == plain::Model::modern ? 0.501187233 : 1.0);
    expectNear(*c->preFilters[0], {11, 898.38, 0, 0, 1.0, -9.872, kRate});
  }
}

TEST(ToneControls, MasterIgnoresTheGlideAndTheLastCallCounts) {
  const std::array<double, 3> full = {6.3096, 0.50119, 0.44563};
  for (std::size_t i = 0; i < full.size(); ++i) {
    const AnyChannel c = kChannelModels[i].at(kRate);
    for (const int n : {-1, 0, 64, 5000}) {
      c->setMaster(0.0, n);
      EXPECT_EQ(c->masterTarget, 0.0);
      c->setMaster(0.25, n);
      c->setMaster(1.0, n);
      EXPECT_NEAR(c->masterTarget, full[i], 5e-5);
    }
    EXPECT_EQ(c->masterCurrent, 0.0) << "the level itself moves with the next block";
  }
}

TEST(ToneControls, EveryCallRetunesSixToneSectionsAndNeverTheSeventh) {
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel c = tunedChannel(model, kRate);
    play(*c, std::vector<double>(10, 0.1));
    const auto count = static_cast<std::size_t>(c->eqCount);
    const auto before = c->eqFilters[count - 1]->coef;
    c->setEQ(0.5, 0.5, 0.7071, 0.9, 64);  // PRESENCE alone has moved
    for (std::size_t i = 0; i < 6; ++i) {
      EXPECT_EQ(c->eqFilters[i]->ipLength, 64.0) << model << " " << i;
      EXPECT_EQ(c->eqFilters[i]->ipCount, 0.0) << model << " " << i;
    }
    c->setGain(0.5, 32);
    EXPECT_EQ(c->preFilters[0]->ipLength, 32.0);
    if (count == 7) {
      EXPECT_EQ(c->eqFilters[6]->ipLength, 0.0);
      EXPECT_TRUE(sameBits(c->eqFilters[6]->coef, before)) << model;
    }
  }
}

// To the bit, and far outside the knobs' range, where Q and frequencies need mending.
TEST(ToneControls, MatchThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x70e);
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel shipped = model.at(kRate);
    plain::Channel truth(model.plain, kRate);
    for (int i = 0; i < 500; ++i) {
      const double low = i < 400 ? 0.0 : -2.0, high = i < 400 ? 1.0 : 3.0;
      const auto draw = [&] { return random.chance(0.1) ? high : random.between(low, high); };
      const Knobs knobs = {draw(), draw(), draw(), draw(), draw(), draw()};
      turn(*shipped, knobs, 16);
      turn(truth, knobs, 16);
      for (std::size_t s = 0; s < truth.eq.size(); ++s) {
        ASSERT_TRUE(sameBits(shipped->eqFilters[s]->coef, truth.eq[s].coef)) << model << " " << s;
      }
      ASSERT_TRUE(sameBits(shipped->preFilters[0]->coef, truth.pre[0].coef)) << model;
      ASSERT_EQ(shipped->gainTarget, truth.gainTarget);
      ASSERT_EQ(shipped->masterTarget, truth.masterTarget);
    }
  }
}

}  // namespace
}  // namespace quellard::test

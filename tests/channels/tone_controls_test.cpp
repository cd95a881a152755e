// SPDX-License-Identifier: ISC
#include "channels/tone_controls.h"

#include "tests/channels/models.h"
#include "tests/support/measure.h"

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
      //  t    m    b    p  section type      Hz         Q        dB
      {any, any, 0.0, any, 0, {11,     200.0,      1.0,   -2.9695, kRate}},
      {any, any, 1.0, any, 0, {11,     200.0,      1.0,    3.6315, kRate}},
      {any, any, 0.0, any, 4, { 1,    99.728,      1.0,       0.0, kRate}},
      {any, any, 1.0, any, 4, { 1,     6.738,      1.0,       0.0, kRate}},
      {0.0, 0.0, any, any, 1, {10, 1559.0325, 0.886025, -5.115125, kRate}},
      {0.0, 1.0, any, any, 1, {10, 1359.0325, 0.000825,    2.3849, kRate}},
      {1.0, 0.0, any, any, 1, {10,  579.0325, 1.686025,  -12.1161, kRate}},
      {1.0, 1.0, any, any, 1, {10,  379.0325, 0.800825,   -4.6161, kRate}},
      {0.0, 0.0, any, any, 2, {12,    583.26,      1.0,  -10.5734, kRate}},
      {0.0, 1.0, any, any, 2, {12,    583.26,      1.0,   -7.5734, kRate}},
      {1.0, 0.0, any, any, 2, {12,   1203.26,      1.0,    1.9270, kRate}},
      {1.0, 1.0, any, any, 2, {12,   1203.26,      1.0,    4.9270, kRate}},
      {any, any, any, 0.0, 3, {12,    4000.0,      1.0,      -8.0, kRate}},
      {any, any, any, 1.0, 3, {12,    4000.0,      1.0,       0.0, kRate}},
      // clang-format on
  };
  const auto expectNear = [](const IIRFilter& section, plain::Record record) {
    const plain::Coefficients coef = plain::design(record);
    for (std::size_t i = 0; i < coef.size(); ++i) EXPECT_NEAR(section.coef[i], coef[i], 2e-5);
  };
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel c = model.at(kRate);
    for (const Expected& row : rows) {
      SCOPED_TRACE(testing::Message() << model << ", row " << &row - rows.data());
      c->setEQ(row.t, row.m, row.b, row.p, 0);
      expectNear(*c->eqFilters[row.section], row.record);
    }
    const double swing = model.plain == plain::Model::clean ? 5.0 : 6.0;
    for (const double b : {0.0, 1.0}) {
      c->setEQ(any, any, b, any, 0);
      expectNear(*c->eqFilters[5], {10, 120.0, 0.8, b > 0.5 ? swing : -swing, kRate});
    }
    c->setGain(0.0, 0);
    EXPECT_EQ(c->gainTarget, 0.0);
    expectNear(*c->preFilters[0], {11, 525.68, 1.0, -36.685, kRate});
    c->setGain(1.0, 0);
    EXPECT_EQ(c->gainTarget, model.plain == plain::Model::modern ? 0.501187233 : 1.0);
    expectNear(*c->preFilters[0], {11, 898.38, 1.0, -9.872, kRate});
    const double full[] = {6.3096, 0.50119, 0.44563};
    c->setMaster(1.0, 0);
    EXPECT_NEAR(c->masterTarget, full[static_cast<int>(model.plain)], 5e-5);
  }
}

}  // namespace
}  // namespace quellard::test

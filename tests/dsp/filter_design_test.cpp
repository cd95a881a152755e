// SPDX-License-Identifier: ISC
#include "dsp/filter_design.h"

#include <limits>

#include "tests/plain/plain_amplifier.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kFs = 44100.0;

// All records are at 20 Hz or at a fraction of the rate: nothing but f/fs enters a response.
void expectAnalogueResponse(filterPrm_tag prm) {
  IIRFilter section(&prm);
  const std::vector<double> response = impulseResponse(section);
  // The poles of a section tuned to K lie K from z = 1. Rounding a coefficient near 2 shifts the
  // sum of all, of the order of K^2 (K for the first order), by 2e-16: a low section cannot do
  // better than that over K^2, and some ten roundings add up.
  const bool edges = prm.num == bandPassEdges || prm.num == bandStopEdges;
  const double lowest = edges ? prm.frqLow : prm.frq;
  const double K = std::min(1.0, std::tan(std::numbers::pi * lowest / prm.fs));
  const double tolerance = 1e-12 + 2e-15 / (section.order == 1 ? K : K * K);
  const double half = 0.5 * prm.fs;
  for (const double f :
       {0.0, 0.2 * prm.frq, 0.9 * prm.frq, prm.frq, 1.1 * prm.frq, 0.25 * half, 0.8 * half, half}) {
    const Complex expected = analogueResponse(prm, f);
    const double error = std::abs(spectrumAt(response, f, prm.fs) - expected);
    EXPECT_LE(error, tolerance * std::max(1.0, std::abs(expected)))
        << "type " << prm.num << ", corner " << prm.frq << " Hz at " << prm.fs << ", q " << prm.q
        << ", gain " << prm.gain << ", measured at " << f << " Hz";
  }
}

TEST(FilterDesign, EveryTypeFollowsItsAnaloguePrototype) {
  for (std::int32_t num = lowPass1; num <= highShelf1; ++num) {
    const bool usesQ = num >= lowPass2 && num <= peaking;
    const bool usesGain = num >= peaking;
    for (const double fs : {8000.0, kFs, 336000.0}) {
      for (const double share : {20.0 / kFs, 0.01, 0.1, 0.24, 0.45}) {
        const double frq = share * fs;
        for (const double q : usesQ ? std::vector{0.3, 1.0, 4.0} : std::vector{1.0}) {
          for (const double gain : usesGain ? std::vector{-12.0, 0.0, 6.0} : std::vector{6.0}) {
            expectAnalogueResponse({num, frq, 0.8 * frq, 1.1 * frq, q, gain, fs});
          }
        }
      }
    }
  }
}

// 1/|H|^2 of one real pole is a straight line in cos w that passes through 1 at DC and through
// 10^0.3 at the corner, which is all there is to know about its magnitude.
TEST(FilterDesign, OnePoleHasTheMagnitudeOfItsTwoFixedPoints) {
  for (const int num : {13, -1, 1000, 65535, -32768}) {
    for (const double frq : {20.0, 1000.0, 15000.0, 22050.0}) {
      filterPrm_tag prm = {num, frq, 0.0, 0.0, 1.0, 0.0, kFs};
      IIRFilter section(&prm);
      const std::vector<double> response = impulseResponse(section);
      const auto turned = [](double f) { return 1.0 - std::cos(2.0 * std::numbers::pi * f / kFs); };
      for (const double f : {0.0, 0.5 * frq, frq, 10000.0, 0.5 * kFs}) {
        const double line = 1.0 + (std::pow(10.0, 0.3) - 1.0) * turned(f) / turned(frq);
        EXPECT_NEAR(std::norm(spectrumAt(response, f, kFs)), 1.0 / line, 2e-10)  // ten-digit ratio
            << "type " << num << ", corner " << frq << " Hz, measured at " << f;
      }
    }
  }
}

TEST(FilterDesign, OrderAndFormFollowTheLowSixteenBitsOfTheType) {
  const struct {
    int num, order, form;
  } rows[] = {{0, 1, 1},  {1, 1, 1},  {11, 1, 1},   {12, 1, 1}, {-65536, 1, 1},
              {2, 2, 2},  {5, 2, 2},  {8, 2, 2},    {10, 2, 2}, {65546, 2, 2},
              {13, 1, 0}, {-1, 1, 0}, {65535, 1, 0}};
  for (const auto& row : rows) {
    filterPrm_tag prm = {row.num, 1000.0, 500.0, 2000.0, 1.0, 6.0, kFs};
    const IIRFilter section(&prm);
    EXPECT_EQ(section.num, static_cast<std::int16_t>(row.num));
    EXPECT_EQ(section.order, row.order) << row.num;
    EXPECT_EQ(section.form, row.form) << row.num;
    EXPECT_EQ(prm.num, row.num) << "the record keeps its own number";
  }
}

TEST(FilterDesign, MendsTheRecordOfItsCaller) {
  const struct {
    double q, frq, mendedQ, mendedFrq;
  } rows[] = {
      {0.0, 1e3, 1.0, 1e3},     {-3.0, 1e3, 1.0, 1e3},          {kNan, 1e3, 1.0, 1e3},
      {0.7, 0.0, 0.7, 20.0},    {0.7, -1.0, 0.7, 20.0},         {0.7, kNan, 0.7, 20.0},
      {0.7, 3e4, 0.7, 22050.0}, {0.7, kInfinity, 0.7, 22050.0}, {1e-9, 22050.0, 1e-9, 22050.0}};
  for (const auto& row : rows) {
    for (const int num : {0, 4, 10, 13}) {  // whether or not the type reads the field
      const filterPrm_tag asked = {num, row.frq, 500.0, 2000.0, row.q, 6.0, kFs};
      filterPrm_tag built = asked, moved = asked, glided = asked;
      IIRFilter section(&built);
      section.FDexcute(&moved);
      section.ipFDexcute(&glided, 8);
      for (const filterPrm_tag& prm : {built, moved, glided}) {
        EXPECT_EQ(prm.q, row.mendedQ) << num;
        EXPECT_EQ(prm.frq, row.mendedFrq) << num;
      }
    }
  }
}

// The pi of the design lies two steps above pi, so half the rate lies just beyond the right angle
// and K = tan comes out near -6.2e15 at 44.1 kHz. The double nearest to pi gives +1.6e16.
TEST(FilterDesign, HalfTheRateFallsBeyondTheRightAngle) {
  filterPrm_tag prm = {highPass1, 1e6, 0.0, 0.0, 1.0, 0.0, kFs};
  const IIRFilter section(&prm);
  const double K = 1.0 / section.coef[2] - 1.0;  // b0 = 1 / (1 + K)
  EXPECT_NEAR(K, -6.2e15, 0.05e15);
  const double nearest = std::numbers::pi;
  EXPECT_EQ(section.pi, std::nextafter(std::nextafter(nearest, 4.0), 4.0));
}

// The last bit of every coefficient is part of the sound. What is mended is also what is designed.
TEST(FilterDesign, CoefficientsMatchThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0xd52);
  const std::vector<double> rates = {8000.0, kFs, 48000.0, 96000.0, 192000.0, 336000.0, 352800.0};
  const std::vector<double> badQ = {0.0, -1.0, kNan}, badFrq = {0.0, -5.0, kNan, 1e9, kInfinity};
  for (int i = 0; i < 20000; ++i) {
    const double fs = random.pick(rates);
    const double low = random.between(10.0, 0.2 * fs), high = random.between(low, 0.49 * fs);
    const double frq = random.chance(0.1) ? random.pick(badFrq) : random.between(1.0, 0.6 * fs);
    const double q = random.chance(0.1) ? random.pick(badQ) : random.between(1e-3, 5.0);
    const double gain = random.chance(0.1) ? 0.0 : random.between(-40.0, 20.0);
    filterPrm_tag prm = {random.integer(-2, 14), frq, low, high, q, gain, fs};
    plain::Record truth = {prm.num, frq, q, gain, fs, low, high};
    const plain::Coefficients expected = plain::design(truth);
    ASSERT_TRUE(sameBits(designFilter(prm).coef, expected)) << "type " << prm.num;
    ASSERT_EQ(prm.frq, truth.frq);
    ASSERT_EQ(prm.q, truth.q);
  }
}

}  // namespace
}  // namespace quellard::test

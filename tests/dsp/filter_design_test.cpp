// SPDX-License-Identifier: ISC
#include "dsp/filter_design.h"

#include <cmath>
#include <complex>
#include <limits>

#include "dsp/iir_filter.h"
#include "tests/reference/reference_amplifier.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kFs = 44100.0;

using Complex = std::complex<double>;

Complex responseOf(const IIRFilter& section, double frequency, double rate) {
  const Complex z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  const auto& k = section.coef;
  return (k[2] + k[3] * z1 + k[4] * z1 * z1) / (1.0 - k[0] * z1 - k[1] * z1 * z1);
}

// The analogue prototype of the designs 0 to 12 at the frequency that the bilinear transform maps
// to f: H(s) with s normalised to the corner. The gain V of a shelf or peak is a plain ratio.
Complex analogueResponse(const filterPrm_tag& prm, double frequency) {
  const auto warped = [&](double f) { return std::tan(std::numbers::pi * f / prm.fs); };
  const Complex s(0.0, warped(frequency) / warped(prm.frq));
  const Complex edge(0.0, warped(frequency));
  const double width = warped(prm.frqHigh) - warped(prm.frqLow);
  const double centre = warped(prm.frqHigh) * warped(prm.frqLow);
  const double V = std::pow(10.0, std::abs(prm.gain) / 20.0);
  const double ratio = prm.gain < 0.0 ? 1.0 / V : V;
  const Complex wide = 1.0 + s / prm.q + s * s;
  const Complex loud = 1.0 + V * s / prm.q + s * s;
  const Complex butter = 1.0 + std::numbers::sqrt2 * s + s * s;
  const Complex damped = 1.0 + std::numbers::sqrt2 / prm.q * s + s * s;
  const Complex band = edge * edge + width * edge + centre;
  switch (prm.num) {
    case lowPass1: return 1.0 / (1.0 + s);
    case highPass1: return s / (1.0 + s);
    case lowPass2Butterworth: return 1.0 / butter;
    case highPass2Butterworth: return s * s / butter;
    case bandPassEdges: return width * edge / band;
    case bandStopEdges: return (edge * edge + centre) / band;
    case lowPass2: return 1.0 / damped;
    case highPass2: return s * s / damped;
    case bandPass: return s / prm.q / wide;
    case notch: return (1.0 + s * s) / wide;
    case peaking: return prm.gain < 0.0 ? wide / loud : loud / wide;
    case lowShelf1: return (ratio + s) / (1.0 + s);
    default: return (1.0 + ratio * s) / (1.0 + s);  // highShelf1
  }
}

TEST(FilterDesign, EveryTypeFollowsItsAnaloguePrototype) {
  for (std::int32_t num = lowPass1; num <= highShelf1; ++num) {
    for (const double frq : {400.0, 4000.0, 18000.0}) {
      for (const double q : {0.3, 4.0}) {
        for (const double gain : {-12.0, 6.0}) {
          filterPrm_tag prm = {num, frq, 0.8 * frq, 1.1 * frq, q, gain, kFs};
          const IIRFilter section(&prm);
          for (const double f : {0.0, 0.2 * frq, 0.9 * frq, 1.1 * frq, 21000.0}) {
            EXPECT_LT(std::abs(responseOf(section, f, kFs) - analogueResponse(prm, f)), 1e-11)
                << "type " << num << ", corner " << frq << " Hz, q " << q << ", gain " << gain
                << ", at " << f << " Hz";
          }
        }
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

TEST(FilterDesign, CorrectsTheRecordOfItsCaller) {
  const struct {
    double q, frq, correctedQ, correctedFrq;
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
        EXPECT_EQ(prm.q, row.correctedQ) << num;
        EXPECT_EQ(prm.frq, row.correctedFrq) << num;
      }
    }
  }
}

// Every bit of the coefficients is part of the sound. Invalid records are corrected, and designed
// from the corrected values.
TEST(FilterDesign, CoefficientsMatchTheReferenceToTheBit) {
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
    reference::Record truth = {prm.num, frq, q, gain, fs, low, high};
    const reference::Coefficients expected = reference::design(truth);
    ASSERT_TRUE(sameBits(designFilter(prm).coef, expected)) << "type " << prm.num;
    ASSERT_EQ(prm.frq, truth.frq);
    ASSERT_EQ(prm.q, truth.q);
  }
}

}  // namespace
}  // namespace quellard::test

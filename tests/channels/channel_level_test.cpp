// SPDX-License-Identifier: ISC
// How loud the channels are, measured through signalProcess at every usual rate.
#include "tests/channels/models.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

const std::vector<double> kRates = {44100.0, 48000.0, 88200.0, 96000.0, 176400.0, 192000.0};

// The last 50 ms, in which any multiple of 20 Hz has whole periods, after the slowest filter of the
// default knobs, 10 Hz, has had nine time constants to settle.
std::vector<double> steadyTone(AmpChannelBase& channel, double frequency, double level) {
  const auto length = static_cast<std::size_t>(0.2 * channel.rate);
  const std::vector<double> output = play(channel, sine(channel.rate, frequency, level, length));
  return {output.end() - static_cast<std::ptrdiff_t>(length / 4), output.end()};
}

Complex sectionAt(const IIRFilter& section, double frequency, double rate) {
  const Complex z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
  const auto& k = section.coef;
  return (k[2] + k[3] * z1 + k[4] * z1 * z1) / (1.0 - k[0] * z1 - k[1] * z1 * z1);
}

Complex bankAt(const FilterBank& bank, std::int32_t count, double frequency, double rate) {
  Complex product = 1.0;
  for (std::int32_t i = 0; i < count; ++i) {
    product *= sectionAt(*bank[static_cast<std::size_t>(i)], frequency, rate);
  }
  return product;
}

Complex resamplerAt(const AmpChannelBase& c, double frequency) {
  Complex above = 0.0, below = 1.0;
  for (std::size_t i = 0; i <= 5; ++i) {
    const double turn = -2.0 * std::numbers::pi * frequency / (c.rate * c.overSampleRatio);
    const Complex z = std::polar(1.0, turn * static_cast<double>(i));
    above += c.resampleB[i] * z;
    if (i > 0) below -= c.resampleA[i - 1] * z;
  }
  return above / below;
}

// The gain of the nonlinear stage for signals that stay on the first step of every curve: the
// curves' slopes at 0 and, for the two channels with a cascade, the filters between them.
Complex stageAt(const AmpChannelBase& c, plain::Model model, double frequency) {
  if (model == plain::Model::clean) return 82.3;
  const double inner = c.rate * c.overSampleRatio;
  const Complex z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / inner);
  const double pole = c.rateInt == 48000 ? 0.7095 : 0.722;
  const Complex low = 0.7 * (1.0 - pole) * (1.0 + z1) / (1.0 - pole * z1);
  const Complex high = (1.0 + pole) * (1.0 - z1) / (1.0 - pole * z1);
  const double lastSlope = 0.5 * (15.0 + 13.5);  // a half wave on each side of the last curve
  return (model == plain::Model::vintage ? 13.0 : 19.69) * 35.0 * 80.2125844320371 *
         bankAt(c.postFilters, c.postCount, frequency, inner) *
         bankAt(c.powerFilters, c.powerCount, frequency, inner) * (low + lastSlope * high) * 0.66;
}

// Whispered signals know no distortion: the level follows from the filters and slopes alone.
TEST(ChannelLevel, SmallSignalsMeetTheProductOfAllStages) {
  constexpr double level = 1e-6;
  for (const double rate : kRates) {
    for (const ChannelModel& model : kChannelModels) {
      for (const double f : {220.0, 7000.0}) {
        const AnyChannel c = tunedChannel(model, rate);
        Complex gain = bankAt(c->preFilters, c->preCount, f, rate) * c->gainTarget *
                       resamplerAt(*c, f) * resamplerAt(*c, f) * stageAt(*c, model.plain, f) *
                       bankAt(c->eqFilters, c->eqCount, f, rate) *
                       bankAt(c->reviseFilters, c->reviseCount, f, rate) *
                       sectionAt(*c->dcBlocker, f, rate) * c->masterTarget;
        if (model.plain == plain::Model::clean) {
          gain *= bankAt(c->postFilters, c->postCount, f, rate) *
                  bankAt(c->powerFilters, c->powerCount, f, rate);
        }
        const double measured = amplitudeAt(steadyTone(*c, f, level), f, rate) / level;
        // A tanh has bent by 0.003 dB at the end of its first step.
        EXPECT_NEAR(decibels(measured), decibels(std::abs(gain)), 0.005)
            << model << " at " << rate << ", " << f << " Hz";
      }
    }
  }
}

// A played note, RMS at the default knobs and at full GAIN. The same at every rate: what moves is
// only how many of the upper harmonics the lowpasses let through, whose corner follows the rate.
TEST(ChannelLevel, APlayedNoteIsAsLoudAtEveryRate) {
  const struct {
    std::size_t model;
    double gain, dB;
  } rows[] = {{0, 0.125, -4.04}, {0, 1.0, 0.65},     {1, 0.125, -14.54},
              {1, 1.0, -14.46},  {2, 0.125, -12.53}, {2, 1.0, -12.49}};
  for (const auto& row : rows) {
    for (const double rate : kRates) {
      const AnyChannel c = tunedChannel(kChannelModels[row.model], rate, {.gain = row.gain});
      EXPECT_NEAR(decibels(rms(steadyTone(*c, 220.0, 0.25))), row.dB, 0.03)
          << kChannelModels[row.model] << " at " << rate << ", gain " << row.gain;
    }
  }
}

TEST(Resampler, PassesTheGuitarAndRejectsItsImages) {
  const struct {
    std::size_t model;
    double rate, cornerHz, rejectionDb;
  } rows[] = {{0, 48000.0, 7000.0, 63.0}, {0, 44100.0, 7000.0, 63.0}, {1, 44100.0, 7000.0, 63.0},
              {1, 48000.0, 6500.0, 67.0}, {2, 48000.0, 6500.0, 67.0}, {2, 44100.0, 6500.0, 67.0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << kChannelModels[row.model] << " at " << row.rate);
    const AnyChannel c = kChannelModels[row.model].at(row.rate);
    const auto dB = [&](double f) { return decibels(std::abs(resamplerAt(*c, f))); };
    EXPECT_NEAR(dB(0.0), 0.0, decibels(1.0 + 3e-5));
    EXPECT_NEAR(dB(row.cornerHz), -3.0, 0.25);  // some 60 Hz on a slope of 30 dB per octave
    EXPECT_NEAR(dB(20000.0), -row.rejectionDb, 0.5);
  }
}

}  // namespace
}  // namespace quellard::test

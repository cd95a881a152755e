// SPDX-License-Identifier: ISC
// The channels' levels and filters, checked against figures that are independent of both the
// shipped code and the reference.
#include <complex>
#include <gtest/gtest.h>

#include "tests/channels/models.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

double decibels(double ratio) { return 20.0 * std::log10(ratio); }

// RMS of the last 50 ms of 200 ms: whole periods of every multiple of 20 Hz, after nine time
// constants of the slowest filter of the default knobs (10 Hz).
double steadyLevel(const std::vector<double>& signal) {
  double sum = 0.0;
  const std::size_t count = signal.size() / 4;
  for (std::size_t i = signal.size() - count; i < signal.size(); ++i) sum += signal[i] * signal[i];
  return std::sqrt(sum / static_cast<double>(count));
}

// A note at the default knobs and at full GAIN has the same level at every rate, apart from upper
// harmonics, since the corner of the lowpasses depends on the rate.
TEST(ChannelLevel, APlayedNoteIsAsLoudAtEveryRate) {
  const struct {
    std::size_t model;
    double gain, dB;
  } rows[] = {{0, 0.125, -4.04}, {0, 1.0, 0.65},     {1, 0.125, -14.54},
              {1, 1.0, -14.46},  {2, 0.125, -12.53}, {2, 1.0, -12.49}};
  for (const auto& row : rows) {
    for (const double rate : {44100.0, 48000.0, 88200.0, 96000.0, 176400.0, 192000.0}) {
      const AnyChannel c = kChannelModels[row.model].at(rate);
      turn(*c, {.gain = row.gain}, 0);
      c->signalProcess(nullptr, nullptr, 0);  // ends both ramps before the first sample
      const std::vector<double> tone =
          sine(rate, 220.0, 0.25, static_cast<std::size_t>(0.2 * rate));
      EXPECT_NEAR(decibels(steadyLevel(play(*c, tone))), row.dB, 0.03)
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
    const auto dB = [&](double frequency) {
      const double angle = -2.0 * std::numbers::pi * frequency / (c->rate * c->overSampleRatio);
      std::complex<double> above = 0.0, below = 1.0;
      for (std::size_t i = 0; i <= 5; ++i) {
        const std::complex<double> z = std::polar(1.0, angle * static_cast<double>(i));
        above += c->resampleB[i] * z;
        if (i > 0) below -= c->resampleA[i - 1] * z;
      }
      return decibels(std::abs(above / below));
    };
    EXPECT_NEAR(dB(0.0), 0.0, decibels(1.0 + 3e-5));
    EXPECT_NEAR(dB(row.cornerHz), -3.0, 0.25);  // some 60 Hz on a slope of 30 dB per octave
    EXPECT_NEAR(dB(20000.0), -row.rejectionDb, 0.5);
  }
}

}  // namespace
}  // namespace quellard::test

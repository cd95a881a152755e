// SPDX-License-Identifier: ISC
// The gate at -60 dBFS between two phrases of each guitar take, behind the preset with the most
// gain, with the hum and the hiss of a noisy guitar, -75 dBFS RMS.
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>

#include "params/decibels.h"
#include "params/factory_bank.h"
#include "rig/hosted_amp.h"
#include "tests/adapters/guitar_takes.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

struct Phrases {
  int pause = 0;   // frames: where the first phrase ends
  int second = 0;  // where the second one begins
  int pick = 0;    // where its first note exceeds -45 dBFS
  std::vector<double> samples;
};

// The take, muted within 20 ms, two seconds of nothing, and its first second once more.
Phrases phrasesOf(const Take& take) {
  Random random(43);
  const auto frames = [&](double seconds) { return static_cast<std::size_t>(seconds * take.rate); };
  Phrases phrases;
  phrases.samples = take.samples;
  const std::size_t muted = frames(0.02);
  for (std::size_t i = 0; i < muted; ++i) {
    phrases.samples[phrases.samples.size() - 1 - i] *=
        static_cast<double>(i) / static_cast<double>(muted);
  }
  phrases.pause = static_cast<int>(phrases.samples.size());
  phrases.samples.resize(phrases.samples.size() + frames(2.0));
  phrases.second = static_cast<int>(phrases.samples.size());
  phrases.samples.insert(phrases.samples.end(), take.samples.begin(),
                         take.samples.begin() + static_cast<long>(frames(1.0)));
  const auto audible =
      std::ranges::find_if(take.samples, [](double x) { return std::fabs(x) > 0.0056; });
  phrases.pick = phrases.second + static_cast<int>(audible - take.samples.begin());
  for (std::size_t i = 0; i < phrases.samples.size(); ++i) {
    const double hum = std::sin(2.0 * M_PI * 50.0 * static_cast<double>(i) / take.rate);
    phrases.samples[i] += 1.78e-4 * (hum + std::sqrt(1.5) * random.between(-1.0, 1.0));
  }
  return phrases;
}

std::vector<double> played(std::vector<double> io, int rate, double gate_dbfs) {
  HostedAmp amp(HostedAmp::kMono);
  amp.setValues(presetValues(*findFactoryPreset("Stack Roar")));
  amp.setValue(kGateParameter, valueFromGate_dbfs(gate_dbfs));
  EXPECT_TRUE(amp.prepare(rate, 64));
  double* channel = io.data();
  const AudioChannels all{.doubles = &channel, .count = 1};
  const int frames = static_cast<int>(io.size());
  for (int at = 0; at < frames; at += 64) amp.play(all, all, at, std::min(at + 64, frames));
  return io;
}

double decibels(double factor) { return 20.0 * std::log10(std::max(factor, 1e-12)); }

double rms_db(const std::vector<double>& samples, int begin, int end) {
  double sum = 0.0;
  for (int i = begin; i < end; ++i) {
    const double x = samples[static_cast<std::size_t>(i)];
    sum += x * x;
  }
  return decibels(std::sqrt(sum / (end - begin)));
}

double peak_db(const std::vector<double>& samples, int begin, int end) {
  double peak = 0.0;
  for (int i = begin; i < end; ++i) {
    peak = std::max(peak, std::fabs(samples[static_cast<std::size_t>(i)]));
  }
  return decibels(peak);
}

TEST(GateOnTakes, SilencesPausesAndLetsThePickThrough) {
  const std::vector<Take> takes = guitarTakes();
  if (takes.empty()) GTEST_SKIP() << "the package sonic-pi-samples is not installed";
  for (std::size_t number = 0; number < takes.size(); ++number) {
    const int rate = takes[number].rate;
    const Phrases phrases = phrasesOf(takes[number]);
    const std::vector<double> open = played(phrases.samples, rate, kGateOff_dbfs);
    const std::vector<double> gated = played(phrases.samples, rate, -60.0);
    const int quiet = phrases.pause + rate / 4;
    EXPECT_GT(rms_db(open, quiet, phrases.second), -30.0) << "take " << number;
    EXPECT_LT(rms_db(gated, quiet, phrases.second), -70.0) << "take " << number;
    const int end = phrases.pick + rate / 200;
    EXPECT_NEAR(peak_db(gated, phrases.pick, end), peak_db(open, phrases.pick, end), 0.5)
        << "take " << number;
  }
}

// The loudest 60 ms of a take, forwards and backwards again and again: a chord with its beats,
// without its next stroke.
std::vector<double> sustained(const Take& take, std::size_t frames) {
  const std::size_t length = static_cast<std::size_t>(take.rate) * 6 / 100;
  std::size_t loudest = 0;
  double most = 0.0;
  for (std::size_t at = 0; at + length < take.samples.size(); at += length) {
    const double level = rms_db(take.samples, static_cast<int>(at), static_cast<int>(at + length));
    if (at > 0 && level < most) continue;
    most = level;
    loudest = at;
  }
  std::vector<double> all;
  for (std::size_t i = 0; i < frames; ++i) {
    const std::size_t phase = i % (2 * length);
    all.push_back(take.samples[loudest + (phase < length ? phase : 2 * length - 1 - phase)]);
  }
  return all;
}

TEST(GateOnTakes, ClosesOnceWhileTheyDie) {
  for (const Take& take : guitarTakes()) {
    Random random(47);
    for (int rate = 0; rate < 20; ++rate) {
      const double decay_s = 0.05 * std::pow(1.2, rate);
      auto guitar = sustained(take, static_cast<std::size_t>((1.0 + 9.0 * decay_s) * take.rate));
      for (std::size_t i = 0; i < guitar.size(); ++i) {
        guitar[i] *= std::exp(-static_cast<double>(i) / (decay_s * take.rate));
        guitar[i] += 3e-4 * random.between(-1.0, 1.0);
      }
      Gate gate;
      gate.setThreshold(gainFromDecibels(-60.0));
      gate.prepare(take.rate, 64);
      int openings = 0, closings = 0;
      bool was = false;
      for (std::size_t at = 0; at + 64 <= guitar.size(); at += 64) {
        gate.detect(std::array{&guitar[at]}, 64);
        openings += gate.isOpen() && !was ? 1 : 0;
        closings += !gate.isOpen() && was ? 1 : 0;
        was = gate.isOpen();
      }
      EXPECT_EQ(openings, 1) << take.rate << " Hz, decay " << decay_s;
      EXPECT_EQ(closings, 1) << take.rate << " Hz, decay " << decay_s;
    }
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The engine over a minute of audio in memory, in blocks of 512: what a program that renders arrays
// is measured against (scripts/bench-python).
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "bench/benches.h"
#include "bench/stopwatch.h"
#include "params/parameter_values.h"
#include "params/sizes.h"
#include "tests/support/opened_effect.h"

namespace quellard::bench {
namespace {

constexpr int kRate = 48000;
constexpr int kMinute = 60 * kRate;
constexpr int kBlock = 512;

void playMinute(benchmark::State& state, int channel) {
  std::vector<double> in(asSize(kMinute));
  for (int i = 0; i < kMinute; ++i) at(in, i) = 0.3 * std::sin(0.014 * i);
  std::vector<double> out(in.size());
  double bestNs = std::numeric_limits<double>::max();
  for (auto _ : state) {
    test::OpenedEffect amplifier;
    amplifier.setSampleRate(kRate);
    amplifier.setParameter(kTypeParameter, selectFromChannel(channel));
    const double ns = nanoseconds([&] {
      for (int begin = 0; begin < kMinute; begin += kBlock) {
        amplifier.process(in.data() + begin, out.data() + begin, std::min(kBlock, kMinute - begin));
      }
    });
    benchmark::DoNotOptimize(out.data());
    bestNs = std::min(bestNs, ns / kMinute);
    state.SetIterationTime(ns * 1e-9);
  }
  state.counters[kShippedNs] = bestNs;
}

}  // namespace

void registerMinute(int rounds) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    benchmark::RegisterBenchmark((std::string("minute/") + channelName(channel)).c_str(),
                                 [channel](benchmark::State& s) { playMinute(s, channel); })
        ->UseManualTime()
        ->Iterations(std::min(rounds, 3));
  }
}

}  // namespace quellard::bench

// SPDX-License-Identifier: ISC
// The cost of a cabinet of 200 ms: for all samples, and for the slowest block beside the median
// one, since a block that takes several times as long as the others is what makes a dropout.
#include <algorithm>
#include <string>
#include <vector>

#include "bench/benches.h"
#include "bench/stopwatch.h"
#include "rig/cabinet/convolver.h"
#include "tests/support/signals.h"

namespace quellard::bench {
namespace {

constexpr double kRate = 48000.0;
constexpr int kRoundSamples = 8192;  // a whole number of blocks

// Each round plays the same blocks; what the system's interruptions add to one of them is gone in
// the fastest of its rounds.
void cabinet(benchmark::State& state, int block) {
  test::Random random(1);
  const auto shared = std::make_shared<const PartitionedResponse>(
      test::noise(random, 0.01, static_cast<std::size_t>(0.2 * kRate)));
  const std::vector<double> in = test::noise(random, 0.5, static_cast<std::size_t>(kRoundSamples));
  Convolver convolver(shared);
  std::vector<double> fastest(static_cast<std::size_t>(kRoundSamples / block), 1e18);
  double best = 1e18;
  for (auto _ : state) {
    std::vector<double> io = in;
    const double whole = nanoseconds([&] {
      for (int at = 0; at < kRoundSamples; at += block)
        convolver.process(&io[static_cast<std::size_t>(at)], block);
    });
    best = std::min(best, whole / kRoundSamples);
    for (int at = 0; at < kRoundSamples; at += block) {
      double& time = fastest[static_cast<std::size_t>(at / block)];
      time = std::min(
          time, nanoseconds([&] { convolver.process(&io[static_cast<std::size_t>(at)], block); }));
    }
    state.SetIterationTime(whole * 1e-9);
  }
  std::sort(fastest.begin(), fastest.end());
  state.counters[kShippedNs] = best;
  state.counters[kRatio] = fastest.back() / fastest[fastest.size() / 2];
}

}  // namespace

void registerCabinet(int rounds) {
  for (const int block : {16, 64, 256, 512, 1024}) {
    const std::string name = "cabinet/" + std::to_string(block);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [block](benchmark::State& state) { cabinet(state, block); })
        ->UseManualTime()
        ->Iterations(benchmark::IterationCount{4} * rounds);
  }
}

}  // namespace quellard::bench

// SPDX-License-Identifier: ISC
// A lower bound for the time of the oversampled loop. Each output of its fifth-order lowpass
// depends on the one before: times a coefficient, plus a state, plus an input term, plus the next
// input term. These four dependent operations run F times for every input sample (F: the
// oversampling factor), in an order that may not change, so their latencies limit the speed of
// every channel.
#include <string>

#include "bench/benches.h"
#include "bench/stopwatch.h"

namespace quellard::bench {

double lowpassRecurrence(int samples, int factor) {
  double y = 1.0;
  // Volatile, so that the compiler cannot fold them into constants.
  const volatile double given[] = {0.5, 1e-3, 2e-3, -1e-3};
  const double a = given[0];
  const double state = given[1];
  const double input = given[2];
  const double next = given[3];
  for (int i = 0; i < samples * factor; ++i) y = a * y + state + input + next;
  return y;
}

namespace {

constexpr int kSamples = 8192;

void recurrence(benchmark::State& state, int factor) {
  std::vector<double> times;
  for (auto _ : state) {
    const double ns =
        nanoseconds([factor] { benchmark::DoNotOptimize(lowpassRecurrence(kSamples, factor)); });
    state.SetIterationTime(ns * 1e-9);
    times.push_back(ns / kSamples);
  }
  state.counters[kShippedNs] = *std::min_element(times.begin(), times.end());
}

}  // namespace

void registerRecurrence(int rounds) {
  for (const int factor : {8, 7}) {
    const std::string name = "recurrence/" + std::to_string(factor == 8 ? 44100 : 48000);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [factor](benchmark::State& state) { recurrence(state, factor); })
        ->UseManualTime()
        ->Iterations(rounds);
  }
}

}  // namespace quellard::bench

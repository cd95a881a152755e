// SPDX-License-Identifier: ISC
// The time that a host waits before the first block: construction and sample-rate set-up.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "bench/benches.h"
#include "bench/stopwatch.h"
#include "tests/reference/reference_amplifier.h"
#include "tests/support/opened_effect.h"

namespace quellard::bench {
namespace {

void report(benchmark::State& state, const Race& race) {
  state.counters[kShippedUs] = race.shipped() * 1e-3;
  state.counters[kReferenceUs] = race.reference() * 1e-3;
  state.counters[kRatio] = race.ratio();
}

// Creating an instance through the module's entry.
void construction(benchmark::State& state) {
  Race race;
  for (auto _ : state) {
    std::optional<test::OpenedEffect> shipped;
    std::optional<reference::Amplifier> reference;
    const double shippedNs = nanoseconds([&] { shipped.emplace(); });
    race.add(shippedNs, nanoseconds([&] { reference.emplace(); }));
    state.SetIterationTime(shippedNs * 1e-9);
  }
  report(state, race);
}

// Set-up of a new instance where the process has the tables of the oversampling factor already.
void seenSetup(benchmark::State& state) {
  test::OpenedEffect().setSampleRate(44100.0f);
  reference::Amplifier().setSampleRate(44100.0f);
  Race race;
  for (auto _ : state) {
    test::OpenedEffect shipped;
    reference::Amplifier reference;
    const double shippedNs = nanoseconds([&] { shipped.setSampleRate(96000.0f); });
    race.add(shippedNs, nanoseconds([&] { reference.setSampleRate(96000.0f); }));
    state.SetIterationTime(shippedNs * 1e-9);
  }
  report(state, race);
}

struct FirstSetup {
  double shipped_us, reference_us;
};

// The first set-up of a process happens once, so every round runs a new process.
std::optional<FirstSetup> firstSetupOfAProcess() {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  const auto close = [](std::FILE* pipe) { pclose(pipe); };
  const std::unique_ptr<std::FILE, decltype(close)> pipe(
      popen(("'" + self + "' --first-setup").c_str(), "r"), close);
  FirstSetup result{};
  if (pipe == nullptr) return {};
  if (std::fscanf(pipe.get(), "%lf %lf", &result.shipped_us, &result.reference_us) != 2) return {};
  return result;
}

void firstSetup(benchmark::State& state) {
  Race race;
  for (auto _ : state) {
    const std::optional<FirstSetup> times = firstSetupOfAProcess();
    if (!times) {
      state.SkipWithError("cannot run this program again for a fresh process");
      return;
    }
    race.add(times->shipped_us * 1e3, times->reference_us * 1e3);
    state.SetIterationTime(times->shipped_us * 1e-6);
  }
  report(state, race);
}

}  // namespace

void registerSetup(int rounds) {
  const auto add = [rounds](const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(rounds);
  };
  add("setup/construction", construction);
  add("setup/first rate of a process", firstSetup);
  add("setup/another rate, tables seen", seenSetup);
}

void printFirstSetup() {
  test::OpenedEffect shipped;
  reference::Amplifier reference;
  const double shippedNs = nanoseconds([&] { shipped.setSampleRate(44100.0f); });
  const double referenceNs = nanoseconds([&] { reference.setSampleRate(44100.0f); });
  std::printf("%.3f %.3f\n", shippedNs * 1e-3, referenceNs * 1e-3);
}

}  // namespace quellard::bench

// SPDX-License-Identifier: ISC
// The time to play blocks through the record's processDoubleReplacing, compared with the reference.
#include <cstring>
#include <limits>
#include <string>

#include "bench/benches.h"
#include "bench/stopwatch.h"
#include "tests/reference/reference_amplifier.h"
#include "tests/support/opened_effect.h"
#include "tests/support/signals.h"

namespace quellard::bench {
namespace {

enum class Knobs { steady, audible, all };

constexpr int kRoundSamples = 8192;  // a whole number of blocks

struct Case {
  int channel;
  float rate;  // Hz
  int frames;  // of a block
  Knobs knobs;
};

// A knob's value that goes up and down, one step per block; each parameter has another phase.
float position(int block, int parameter) {
  const int step = (block * 7 + parameter * 29) % 200;
  return 0.3f + 0.004f * static_cast<float>(step < 100 ? step : 200 - step);
}

// One contender: an amplifier and where it is in the signal.
template <typename Amplifier>
class Player {
 public:
  explicit Player(const Case& benchCase) : case_(benchCase), out_(std::size_t{kRoundSamples}) {
    amplifier_.setSampleRate(case_.rate);
    for (int i = 1; i <= kNumKnobs; ++i) amplifier_.setParameter(i, position(0, i));
    amplifier_.setParameter(kTypeParameter, 0.5f * static_cast<float>(case_.channel));
  }

  // One round: plays the whole signal and moves the knobs before every block.
  void play(std::vector<double>& in) {
    const auto frames = static_cast<std::size_t>(case_.frames);
    for (std::size_t done = 0; done < std::size_t{kRoundSamples}; done += frames) {
      moveKnobs();
      amplifier_.process(in.data() + done, out_.data() + done, case_.frames);
    }
  }

  const std::vector<double>& output() const { return out_; }

 private:
  void moveKnobs() {
    ++block_;
    if (case_.knobs == Knobs::steady) return;
    const int first = case_.knobs == Knobs::all ? 1 : 1 + kKnobsPerChannel * case_.channel;
    const int count = case_.knobs == Knobs::all ? kNumKnobs : kKnobsPerChannel;
    for (int i = first; i < first + count; ++i) amplifier_.setParameter(i, position(block_, i));
  }

  Case case_;
  Amplifier amplifier_;
  std::vector<double> out_;
  int block_ = 0;
};

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

void playing(benchmark::State& state, const Case& benchCase) {
  test::Random random(1);
  std::vector<double> in = test::pluckedNote(random, static_cast<double>(benchCase.rate), 110.0,
                                             0.5, std::size_t{kRoundSamples});
  Player<test::OpenedEffect> shipped(benchCase);
  Player<reference::Amplifier> reference(benchCase);
  shipped.play(in);
  reference.play(in);

  const int factor = benchCase.rate == 48000.0f ? 7 : 8;
  double floorNs = std::numeric_limits<double>::max();
  Race race;
  for (auto _ : state) {
    const double shippedNs = warmNanoseconds([&] { shipped.play(in); });
    const double referenceNs = warmNanoseconds([&] { reference.play(in); });
    const double recurrenceNs = nanoseconds(
        [factor] { benchmark::DoNotOptimize(lowpassRecurrence(kRoundSamples, factor)); });
    floorNs = std::min(floorNs, recurrenceNs / kRoundSamples);
    state.SetIterationTime(shippedNs * 1e-9);
    race.add(shippedNs / kRoundSamples, referenceNs / kRoundSamples);
    if (!sameBits(shipped.output(), reference.output())) {
      state.SkipWithError("the shipped path and the reference do not play the same");
      return;
    }
  }
  state.counters[kShippedNs] = race.shipped();
  state.counters[kReferenceNs] = race.reference();
  state.counters[kFloorNs] = floorNs;
  state.counters[kRatio] = race.ratio();
  state.counters[kRealTime] = 1e9 / static_cast<double>(benchCase.rate) / race.shipped();
}

const char* nameOf(Knobs knobs) {
  switch (knobs) {
    case Knobs::steady: return "steady";
    case Knobs::audible: return "6 move";
    case Knobs::all: return "18 move";
  }
  return "";
}

}  // namespace

void registerPlaying(int rounds) {
  const auto add = [rounds](const Case& benchCase) {
    const std::string name = std::string("play/") + channelName(benchCase.channel) + "/" +
                             std::to_string(static_cast<int>(benchCase.rate)) + "/" +
                             std::to_string(benchCase.frames) + "/" + nameOf(benchCase.knobs);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [benchCase](benchmark::State& s) { playing(s, benchCase); })
        ->UseManualTime()
        ->Iterations(rounds);
  };
  for (int channel = 0; channel < kNumChannels; ++channel) {
    for (const int frames : {1, 2, 4, 8, 16}) add({channel, 44100.0f, frames, Knobs::steady});
    for (const float rate : {44100.0f, 48000.0f}) {
      for (const int frames : {64, 512}) {
        for (const Knobs knobs : {Knobs::steady, Knobs::audible, Knobs::all})
          add({channel, rate, frames, knobs});
      }
    }
  }
}

}  // namespace quellard::bench

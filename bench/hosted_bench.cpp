// SPDX-License-Identifier: ISC
// The cost of moving knobs in HostedAmp: the six knobs of the channel that plays get a new value in
// every block of 64 samples, so that they move all the time. Compared with the same amplifier with
// knobs at rest. And the cost of what stands around the amplifier while it changes nothing.
#include <string>
#include <vector>

#include "bench/benches.h"
#include "bench/stopwatch.h"
#include "rig/hosted_amp.h"
#include "tests/support/signals.h"

namespace quellard::bench {
namespace {

constexpr int kRoundSamples = 8192;  // a whole number of blocks
constexpr int kBlock = 64;

class Player {
 public:
  explicit Player(int channel) : channel_(channel) {
    amp_.setValue(kTypeParameter, 0.5F * static_cast<float>(channel));
    amp_.prepare(44100.0, kBlock);
  }

  // One round: plays the whole signal. frame: within each block, when the knobs move; negative for
  // never.
  void play(std::vector<double>& in, int frame) {
    double* from = in.data();
    double* to = out_.data();
    const AudioChannels input{.doubles = &from, .count = 1};
    const AudioChannels output{.doubles = &to, .count = 1};
    for (int begin = 0; begin < kRoundSamples; begin += kBlock) {
      amp_.play(input, output, begin, begin + std::max(frame, 0));
      if (frame >= 0) moveKnobs();
      amp_.play(input, output, begin + std::max(frame, 0), begin + kBlock);
    }
  }

 private:
  void moveKnobs() {
    ++moves_;
    for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
      const int position = (moves_ * 7 + knob * 29) % 100;
      amp_.setValue(knobIndex(channel_, knob), 0.3F + 0.004F * static_cast<float>(position));
    }
  }

  HostedAmp amp_{HostedAmp::kMono};
  std::vector<double> out_ = std::vector<double>(std::size_t{kRoundSamples});
  int channel_;
  int moves_ = 0;
};

void moving(benchmark::State& state, int channel, int frame) {
  test::Random random(1);
  std::vector<double> in =
      test::pluckedNote(random, 44100.0, 110.0, 0.5, static_cast<std::size_t>(kRoundSamples));
  Player moved(channel), resting(channel);
  Race race;
  for (auto _ : state) {
    const double movedNs = warmNanoseconds([&] { moved.play(in, frame); });
    race.add(warmNanoseconds([&] { resting.play(in, -1); }) / kRoundSamples,
             movedNs / kRoundSamples);
    state.SetIterationTime(movedNs * 1e-9);
  }
  state.counters[kMovingNs] = race.reference();
  state.counters[kRestingNs] = race.shipped();
  state.counters[kRatio] = race.ratio();
}

// The rig with everything neutral, around an amplifier and without it.
void neutral(benchmark::State& state, int channel) {
  test::Random random(1);
  const std::vector<double> in =
      test::pluckedNote(random, 44100.0, 110.0, 0.5, static_cast<std::size_t>(kRoundSamples));
  Quellard effect(nullptr);
  effect.setSampleRate(44100.0F);
  effect.setParameter(kTypeParameter, selectFromChannel(channel));
  RigChain chain;
  chain.prepare(44100.0, kBlock);
  const auto play = [&](bool withRig) {
    std::vector<double> io = in;
    for (int at = 0; at < kRoundSamples; at += kBlock) {
      double* samples = &io[static_cast<std::size_t>(at)];
      if (withRig) chain.processInput({&samples, 1}, kBlock);
      effect.processDoubleReplacing(&samples, &samples, kBlock);
      if (withRig) chain.processOutput({&samples, 1}, kBlock);
    }
  };
  Race race;
  for (auto _ : state) {
    const double alone = warmNanoseconds([&] { play(false); });
    race.add(alone / kRoundSamples, warmNanoseconds([&] { play(true); }) / kRoundSamples);
    state.SetIterationTime(alone * 1e-9);
  }
  state.counters[kMovingNs] = race.reference();
  state.counters[kRestingNs] = race.shipped();
  state.counters[kRatio] = race.ratio();
}

}  // namespace

void registerHosted(int rounds) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const std::string rig = std::string("rig/") + channelName(channel) + "/neutral";
    benchmark::RegisterBenchmark(rig.c_str(),
                                 [channel](benchmark::State& state) { neutral(state, channel); })
        ->UseManualTime()
        ->Iterations(rounds);
  }
  for (int channel = 0; channel < kNumChannels; ++channel) {
    for (const int frame : {0, kBlock / 2, kBlock - 1}) {
      const std::string name =
          std::string("hosted/") + channelName(channel) + "/" + std::to_string(frame);
      benchmark::RegisterBenchmark(
          name.c_str(),
          [channel, frame](benchmark::State& state) { moving(state, channel, frame); })
          ->UseManualTime()
          ->Iterations(rounds);
    }
  }
}

}  // namespace quellard::bench

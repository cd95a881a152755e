// SPDX-License-Identifier: ISC
#include <algorithm>
#include <climits>
#include <limits>

#include "channels/signal_chain.h"
#include "tests/channels/models.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// Sometimes with a NaN or infinite sample, which plays as silence.
std::vector<double> drawInput(Random& random, int n) {
  const double level = random.pick(std::vector<double>{0.0, 1e-310, 1e-3, 0.5, 1e6});
  std::vector<double> input = noise(random, level, static_cast<std::size_t>(std::max(n, 0)));
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> bad = {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity};
  if (n > 0 && random.chance(0.2)) {
    input[static_cast<std::size_t>(random.integer(0, n - 1))] = random.pick(bad);
  }
  return input;
}

// Random sequences: knobs with glides of any length, blocks of any length and of none, in place or
// not, sometimes clearing the channel's memory.
TEST(SignalProcess, MatchesTheReferenceToTheBit) {
  Random random(sessionSeed() ^ 0x519);
  for (const double rate : {44100.0, 48000.0, 96000.0, 20000.0}) {
    for (const ChannelModel& model : kChannelModels) {
      SCOPED_TRACE(testing::Message() << model << " at " << rate);
      const AnyChannel shipped = model.at(rate);
      reference::Channel truth(model.reference, rate);
      for (int block = 0; block < 80; ++block) {
        const int n = random.pick(std::vector<int>{INT_MIN, -1, 0, 1, 2, 3, 7, 64, 65, 200, 512});
        if (random.chance(0.5)) {
          const auto knob = [&] { return random.unit(); };
          const Knobs knobs = {knob(), knob(), knob(), knob(), knob(), knob()};
          const int glide = random.chance(0.7) ? n : random.integer(-1, 1000);
          turn(*shipped, knobs, glide);
          turn(truth, knobs, glide);
        }
        std::vector<double> input = drawInput(random, n), expected(input.size());
        truth.signalProcess(input.data(), expected.data(), n);
        std::vector<double> apart(input.size());
        std::vector<double>& output = random.chance(0.5) ? input : apart;
        shipped->signalProcess(input.data(), output.data(), n);
        ASSERT_TRUE(sameBits(output, expected)) << "block " << block << " of " << n;
        ASSERT_TRUE(sameBits(shipped->upState, truth.upState));
        ASSERT_TRUE(sameBits(shipped->downState, truth.downState));
        if (random.chance(0.05)) {
          shipped->clearState();
          truth.clear();
        }
        if (random.chance(0.1)) shipped->resume();  // which changes nothing
      }
    }
  }
}

// A channel of any voicing.
class AnyVoicing : public AmpChannelBase, public PowerStageSplit {
 public:
  AnyVoicing(const ChannelConstants& figures, bool multistage)
      : AmpChannelBase(44100.0), PowerStageSplit(false), split_(multistage ? this : nullptr) {
    build(figures);
    signalProcess(nullptr, nullptr, 0);  // ends both ramps
  }
  void signalProcess(double* in, double* out, int n) override {
    playChannel(*this, {QuellardCh2::clip.at(8), split_}, in, out, n);
  }

 private:
  PowerStageSplit* split_;
};

// Voicings that do not fit the pipeline sound as they do in blocks that are too short for it,
// which the scalar chain plays.
TEST(SignalProcess, VoicingsThatTheFastCoreCannotPlayAreRight) {
  kChannelModels[1].at(44100.0);  // its tables
  Random random(2);
  const std::vector<double> input = noise(random, 0.5, 64);
  const std::vector<VoicingRow> sections(20, {peaking, 1000.0, 1.0, 3.0});
  const auto some = [&](std::size_t count) { return std::span(sections).first(count); };
  const std::vector<VoicingRow> post(2, {lowPass1, 3000.0, 1.0, 0.0});
  const std::vector<VoicingRow> power = {
      {highPass1, 100.0, 1.0, 0.0}, {lowPass1, 4000.0, 1.0, 0.0}, {lowPass1, 5000.0, 1.0, 0.0}};
  const struct {
    std::size_t pre, post, eq, power, revise;
  } rows[] = {{1, 1, 7, 2, 4}, {1, 2, 7, 2, 4}, {1, 0, 7, 2, 4}, {1, 1, 7, 3, 4}, {1, 1, 7, 1, 4},
              {4, 1, 7, 2, 4}, {5, 1, 7, 2, 4}, {1, 1, 7, 2, 9}, {1, 1, 6, 2, 1}, {1, 1, 1, 2, 0},
              {2, 1, 6, 2, 2}, {4, 0, 6, 0, 2}, {9, 2, 7, 3, 5}};
  for (const auto& row : rows) {
    for (const bool multistage : {false, true}) {
      const ChannelConstants figures = {.pre = some(row.pre),
                                        .post = std::span(post).first(row.post),
                                        .eq = some(row.eq),
                                        .power = std::span(power).first(row.power),
                                        .revise = some(row.revise),
                                        .postAndPower = PostAndPower::oversampled,
                                        .at48k = kR3,
                                        .elsewhere = kR2,
                                        .firstShaperCurve = {},
                                        .driveLevel = 1.0,
                                        .masterScale = 1.0,
                                        .lowBassRange = 6.0};
      AnyVoicing whole(figures, multistage), pieces(figures, multistage);
      std::vector<double> expected = input;
      for (std::size_t i = 0; i < expected.size(); i += 4)
        pieces.signalProcess(&expected[i], &expected[i], 4);
      EXPECT_TRUE(sameBits(play(whole, input), expected))
          << row.pre << ' ' << row.post << ' ' << row.eq << ' ' << row.power << ' ' << row.revise
          << (multistage ? " with a split" : "");
      EXPECT_NE(expected.back(), 0.0);
    }
  }
}

}  // namespace
}  // namespace quellard::test

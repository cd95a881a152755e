// SPDX-License-Identifier: ISC
// The road of a block, whatever the models do to its sound: ramps, block lengths, memory.
#include <limits>

#include "tests/channels/models.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

std::vector<double> guitar(std::size_t length, std::uint64_t salt = 1) {
  Random random(sessionSeed() ^ salt);
  return pluckedNote(random, 44100.0, 220.0, 0.5, length);
}

TEST(SignalProcess, SilenceStaysExactlySilent) {
  for (const ChannelModel& model : kChannelModels) {
    for (const double rate : {44100.0, 48000.0}) {
      const AnyChannel c = model.at(rate);
      for (int block = 0; block < 4; ++block) {
        for (const double y : play(*c, std::vector<double>(100, 0.0))) ASSERT_EQ(y, 0.0) << model;
        turn(*c, {.gain = 1.0, .master = 1.0}, 50);
      }
    }
  }
}

TEST(SignalProcess, AnEmptyBlockEndsTheRampsAndTouchesNothing) {
  for (const ChannelModel& model : kChannelModels) {
    for (const int n : {0, -1, std::numeric_limits<int>::min()}) {
      const AnyChannel c = model.at(44100.0);
      double in = 0.5, out = 7.0;
      c->signalProcess(&in, &out, n);
      EXPECT_EQ(in, 0.5);
      EXPECT_EQ(out, 7.0);
      EXPECT_EQ(c->gainCurrent, c->gainTarget);
      EXPECT_EQ(c->masterCurrent, c->masterTarget);
    }
  }
}

// A block equals its samples played one by one at levels set by hand: the old ones at the first
// sample, the targets at the last, a straight line between. The lengths make 1/(n - 1) exact.
TEST(SignalProcess, LevelsMoveInAStraightLineAcrossABlock) {
  for (const ChannelModel& model : kChannelModels) {
    for (const std::size_t n : {1u, 2u, 5u, 65u}) {
      SCOPED_TRACE(testing::Message() << model << ", " << n << " samples");
      const std::vector<double> warmUp = guitar(500), input = guitar(n, 2);
      const AnyChannel ramped = tunedChannel(model, 44100.0);
      const AnyChannel stepped = tunedChannel(model, 44100.0);
      play(*ramped, warmUp);
      play(*stepped, warmUp);
      ramped->gainCurrent = 0.25, ramped->gainTarget = 0.75;
      ramped->masterCurrent = 2.0, ramped->masterTarget = 1.0;
      std::vector<double> expected;
      for (std::size_t k = 0; k < n; ++k) {
        const double way = n == 1 ? 0.0 : static_cast<double>(k) / static_cast<double>(n - 1);
        stepped->gainCurrent = stepped->gainTarget = 0.25 + 0.5 * way;
        stepped->masterCurrent = stepped->masterTarget = 2.0 - way;
        expected.push_back(play(*stepped, {input[k]})[0]);
      }
      EXPECT_TRUE(sameBits(play(*ramped, input), expected));
      EXPECT_EQ(ramped->gainCurrent, 0.75);
      EXPECT_EQ(ramped->masterCurrent, 1.0);
    }
  }
}

TEST(SignalProcess, OnlyRampsKnowWhereABlockEnds) {
  const std::vector<double> input = guitar(700);
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel whole = tunedChannel(model, 48000.0), split = tunedChannel(model, 48000.0);
    whole->setEQ(0.9, 0.1, 0.3, 1.0, 300);  // a glide that the splits cut into pieces
    split->setEQ(0.9, 0.1, 0.3, 1.0, 300);
    std::vector<double> pieces = input;  // and played in place
    std::size_t at = 0;
    for (const std::size_t n : {1u, 2u, 97u, 250u, 350u}) {
      split->signalProcess(&pieces[at], &pieces[at], static_cast<int>(n));
      split->signalProcess(nullptr, nullptr, 0);
      split->resume();
      at += n;
    }
    ASSERT_EQ(at, input.size());
    const std::vector<double> expected = play(*whole, input);
    EXPECT_TRUE(sameBits(pieces, expected)) << model;
    EXPECT_GT(rms(expected), 1e-4) << "something was heard";
  }
}

TEST(SignalProcess, ClearedMemoryPlaysAsIfOnlySilenceHadComeBefore) {
  const std::vector<double> input = guitar(400);
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel cleared = tunedChannel(model, 44100.0), rested = tunedChannel(model, 44100.0);
    for (const AnyChannel* c : {&cleared, &rested}) (*c)->setEQ(0.2, 0.8, 0.5, 0.0, 600);
    play(*cleared, guitar(300, 3));
    play(*rested, std::vector<double>(300, 0.0));
    cleared->clearMemory();
    EXPECT_TRUE(sameBits(play(*cleared, input), play(*rested, input))) << model;
  }
}

TEST(SignalProcess, ABadSampleIsPlayedAsSilence) {
  for (const ChannelModel& model : kChannelModels) {
    const AnyChannel bad = tunedChannel(model, 44100.0), good = tunedChannel(model, 44100.0);
    std::vector<double> broken = guitar(300), mended = broken;
    const double infinity = std::numeric_limits<double>::infinity();
    std::size_t at = 50;
    for (const double x : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
      broken[at] = x;
      mended[at] = 0.0;
      at += 60;
    }
    EXPECT_TRUE(sameBits(play(*bad, broken), play(*good, mended))) << model;
  }
}

std::vector<double> drawInput(Random& random, int n) {
  const double level = random.pick(std::vector<double>{0.0, 1e-310, 1e-3, 0.5, 1e6});
  std::vector<double> input = noise(random, level, static_cast<std::size_t>(n));
  if (n > 0 && random.chance(0.1)) input[0] = std::numeric_limits<double>::quiet_NaN();
  return input;
}

// Random lives of a channel: knobs with glides of any length, blocks of any length, in place or
// not, and now and then its memory lost.
TEST(SignalProcess, MatchesThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x519);
  for (const double rate : {44100.0, 48000.0, 96000.0, 20000.0}) {
    for (const ChannelModel& model : kChannelModels) {
      SCOPED_TRACE(testing::Message() << model << " at " << rate);
      const AnyChannel shipped = model.at(rate);
      plain::Channel truth(model.plain, rate);
      for (int block = 0; block < 60; ++block) {
        const int n = random.pick(std::vector<int>{0, 1, 2, 3, 7, 64, 65, 200, 512});
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
          shipped->clearMemory();
          truth.clear();
        }
      }
    }
  }
}

}  // namespace
}  // namespace quellard::test

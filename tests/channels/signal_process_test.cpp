// SPDX-License-Identifier: ISC
#include <algorithm>
#include <climits>
#include <limits>

#include "tests/channels/models.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

// With bad samples in it, now and then, which play as silence.
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

// Random lives of a channel: knobs with glides of any length, blocks of any length and of none, in
// place or not, and now and then its memory lost.
TEST(SignalProcess, MatchesThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x519);
  for (const double rate : {44100.0, 48000.0, 96000.0, 20000.0}) {
    for (const ChannelModel& model : kChannelModels) {
      SCOPED_TRACE(testing::Message() << model << " at " << rate);
      const AnyChannel shipped = model.at(rate);
      plain::Channel truth(model.plain, rate);
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
          shipped->clearMemory();
          truth.clear();
        }
        if (random.chance(0.1)) shipped->resume();  // which changes nothing
      }
    }
  }
}

}  // namespace
}  // namespace quellard::test

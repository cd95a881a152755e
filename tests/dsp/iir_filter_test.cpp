// SPDX-License-Identifier: ISC
#include "dsp/iir_filter.h"

#include "tests/reference/reference_amplifier.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

filterPrm_tag record(int num, double gain = 6.0, double frq = 1000.0) {
  return {num, frq, 500.0, 2000.0, 0.8, gain, 44100.0};
}

TEST(IirFilter, MemorySurvivesARedesignThatKeepsTheType) {
  const struct {
    int from, to;
    bool kept;
  } rows[] = {{10, 10, true}, {10, 11, false}, {2, 6, false},    {0, 0, true},
              {13, 13, true}, {13, -1, false}, {10, 65546, true}};
  for (const auto& row : rows) {
    for (const int length : {-1, 0, 64}) {  // -1: at once, by FDexcute()
      filterPrm_tag first = record(row.from), second = record(row.to, -6.0, 3000.0);
      IIRFilter section(&first);
      section.state1 = 0.25;
      section.state2 = 0.5;
      if (length < 0)
        section.FDexcute(&second);
      else
        section.ipFDexcute(&second, length);
      EXPECT_EQ(section.state1, row.kept ? 0.25 : 0.0) << row.from << " to " << row.to;
      EXPECT_EQ(section.state2, row.kept ? 0.5 : 0.0) << row.from << " to " << row.to;
      EXPECT_TRUE(sameBits(section.coef, IIRFilter(&second).coef));
    }
  }
}

TEST(Glide, MatchesTheReferenceToTheBit) {
  Random random(sessionSeed() ^ 0x911de);
  const std::vector<int> types = {1, 10, 10, 11, 12, 13};
  for (int run = 0; run < 200; ++run) {
    filterPrm_tag prm = record(random.pick(types));
    IIRFilter shipped(&prm);
    reference::Section model({prm.num, prm.frq, prm.q, prm.gain, prm.fs});
    for (int move = 0; move < 6; ++move) {
      prm = record(random.chance(0.7) ? prm.num : random.pick(types), random.between(-30.0, 10.0),
                   random.between(10.0, 25000.0));
      prm.q = random.between(1e-3, 2.0);
      const int length = random.integer(-1, 40);
      model.glideTo({prm.num, prm.frq, prm.q, prm.gain, prm.fs}, length);
      shipped.ipFDexcute(&prm, length);
      for (double x : noise(random, 1.0, static_cast<std::size_t>(random.integer(0, 60)))) {
        const double expected = model.glide(x);
        shipped.ipIirProcessing(&x);
        ASSERT_EQ(std::memcmp(&x, &expected, sizeof x), 0) << "run " << run << ", move " << move;
      }
    }
  }
}

}  // namespace
}  // namespace quellard::test

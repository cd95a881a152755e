// SPDX-License-Identifier: ISC
#include "dsp/iir_filter.h"

#include "tests/plain/plain_amplifier.h"
#include "tests/support/measure.h"
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
    for (const int length : {-1, 0, 64}) {  // -1: at once, by the other operation
      filterPrm_tag first = record(row.from), second = record(row.to, -6.0, 3000.0);
      IIRFilter section(&first);
      section.state1 = 0.25, section.state2 = 0.5;
      length < 0 ? section.FDexcute(&second) : section.ipFDexcute(&second, length);
      EXPECT_EQ(section.state1, row.kept ? 0.25 : 0.0) << row.from << " to " << row.to;
      EXPECT_EQ(section.state2, row.kept ? 0.5 : 0.0) << row.from << " to " << row.to;
      EXPECT_TRUE(sameBits(section.coef, IIRFilter(&second).coef));
    }
  }
}

// The weight of x[n] with which the next sample of a glide is filtered, to the bit: what an empty
// section makes of a 1. The other weights move with it, as the comparison below shows.
double nextWeight(IIRFilter& section) {
  section.refresh();
  double x = 1.0;
  section.ipIirProcessing(&x);
  return x;
}

double target(const IIRFilter& section) { return section.coef[section.form == 0 ? 0 : 2]; }

void glideTo(IIRFilter& section, filterPrm_tag prm, int length) {
  section.ipFDexcute(&prm, length);
}

TEST(Glide, StartsSilentThenRunsInAStraightLineAndSnapsToTheDesign) {
  for (const int num : {lowPass1, peaking, onePoleLowPass}) {
    for (const int length : {-5, 0, 1, 4, 7}) {
      SCOPED_TRACE(testing::Message() << "type " << num << ", length " << length);
      filterPrm_tag prm = record(num);
      IIRFilter section(&prm);
      const double old = target(section);
      EXPECT_EQ(nextWeight(section), 0.0) << "the first sample of a new section";
      for (int n = 0; n < 3; ++n) EXPECT_EQ(nextWeight(section), old);
      glideTo(section, record(num, -6.0, 5000.0), length);
      const double way = target(section) - old;
      ASSERT_NE(way, 0.0);
      for (int j = 0; j <= length; ++j) {
        double x = 1.0;
        section.iirProcessing(&x);  // what is not a gliding sample leaves the glide where it is
        const double share = length < 1 ? 1.0 : double(j) / length;
        EXPECT_NEAR(nextWeight(section), old + way * share, j == 0 && length > 0 ? 0.0 : 1e-15);
      }
      for (int after = 0; after < 3; ++after) EXPECT_EQ(nextWeight(section), target(section));
    }
  }
}

// A glide cut short jumps to the target it was on its way to and goes on from there.
TEST(Glide, RestartBeginsAtTheFirstTarget) {
  filterPrm_tag prm = record(peaking, 6.0);
  IIRFilter section(&prm);
  glideTo(section, record(peaking, -6.0), 512);
  const double first = target(section);
  for (int n = 0; n < 100; ++n) nextWeight(section);
  glideTo(section, record(peaking, 0.0, 200.0), 4);
  EXPECT_EQ(nextWeight(section), first);
  EXPECT_NEAR(nextWeight(section), first + 0.25 * (target(section) - first), 1e-15);
}

TEST(Glide, MatchesThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x911de);
  const std::vector<int> types = {1, 10, 10, 11, 12, 13};
  for (int run = 0; run < 200; ++run) {
    filterPrm_tag prm = record(random.pick(types));
    IIRFilter shipped(&prm);
    plain::Section model({prm.num, prm.frq, prm.q, prm.gain, prm.fs});
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

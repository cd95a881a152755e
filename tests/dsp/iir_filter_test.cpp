// SPDX-License-Identifier: ISC
#include "dsp/iir_filter.h"

#include <algorithm>
#include <limits>

#include "tests/plain/plain_amplifier.h"
#include "tests/support/measure.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

using Coefficients = IIRFilter::Coefficients;

filterPrm_tag record(int num, double gain = 6.0, double frq = 1000.0) {
  return {num, frq, 500.0, 2000.0, 0.8, gain, 44100.0};
}

void excite(IIRFilter& section, int samples = 100) {
  Random random(7);
  for (double x : noise(random, 1.0, static_cast<std::size_t>(samples))) section.iirProcessing(&x);
}

TEST(IirFilter, MemorySurvivesARedesignThatKeepsTheType) {
  struct Row {
    int from, to;
    bool kept;
  };
  for (const Row& row : std::vector<Row>{{10, 10, true},
                                         {10, 11, false},
                                         {11, 10, false},
                                         {2, 6, false},
                                         {0, 0, true},
                                         {13, 13, true},
                                         {13, -1, false},
                                         {10, 65546, true}}) {
    for (const int length : {-1, 0, 64}) {  // -1: at once, by the other operation
      filterPrm_tag first = record(row.from), second = record(row.to, -6.0, 3000.0);
      IIRFilter section(&first);
      excite(section);
      const double state1 = section.state1, state2 = section.state2;
      ASSERT_NE(state1, 0.0);
      length < 0 ? section.FDexcute(&second) : section.ipFDexcute(&second, length);
      EXPECT_EQ(section.state1, row.kept ? state1 : 0.0) << row.from << " to " << row.to;
      EXPECT_EQ(section.state2, row.kept ? state2 : 0.0) << row.from << " to " << row.to;
      EXPECT_TRUE(sameBits(section.coef, IIRFilter(&second).coef));
    }
  }
}

TEST(IirFilter, FirstOrderLeavesTheSecondStateAlone) {
  for (const int num : {lowPass1, highPass1, lowShelf1, highShelf1}) {
    filterPrm_tag prm = record(num);
    IIRFilter section(&prm);
    EXPECT_EQ(section.coef[1], 0.0);
    EXPECT_EQ(section.coef[4], 0.0);
    excite(section);
    EXPECT_NE(section.state1, 0.0) << num;
    EXPECT_EQ(section.state2, 0.0) << num;
  }
}

TEST(IirFilter, OnePoleImpulseIsGeometric) {
  filterPrm_tag prm = record(onePoleLowPass);
  IIRFilter section(&prm);
  EXPECT_GT(section.coef[2], 0.0);
  EXPECT_LT(section.coef[2], 1.0);
  EXPECT_EQ(section.coef[0], 1.0 - section.coef[2]);
  double expected = section.coef[0];
  double x = 1.0;
  for (int n = 0; n < 50; ++n) {
    section.iirProcessing(&x);
    ASSERT_EQ(x, expected) << n;
    expected *= section.coef[2];
    x = 0.0;
  }
}

TEST(IirFilter, RefreshEmptiesTheMemoryAndNothingElse) {
  for (const int num : {lowPass1, peaking, onePoleLowPass}) {
    filterPrm_tag prm = record(num), target = record(num, -3.0, 700.0);
    IIRFilter section(&prm);
    excite(section);
    section.ipFDexcute(&target, 10);
    double x = 1.0;
    section.ipIirProcessing(&x);
    const Coefficients coef = section.coef, base = section.ipBase, step = section.ipStep;
    section.refresh();
    EXPECT_TRUE(sameBits(section.coef, coef) && sameBits(section.ipBase, base) &&
                sameBits(section.ipStep, step));
    EXPECT_EQ(section.ipCount, 1.0);
    EXPECT_EQ(section.ipLength, 10.0);
    EXPECT_EQ(section.num, num);
    for (int n = 0; n < 20; ++n) {
      x = 0.0;
      section.ipIirProcessing(&x);
      ASSERT_EQ(x, 0.0);
      section.iirProcessing(&x);
      ASSERT_EQ(x, 0.0);
    }
  }
}

// Three sections of one history, each probed with a memory and an input that show some of the
// coefficients that a sample was really filtered with, to the bit.
class GlideProbe {
 public:
  explicit GlideProbe(filterPrm_tag prm) : feedback_(&prm), direct_(&prm), delayed_(&prm) {}

  Coefficients coef() const { return feedback_.coef; }
  bool onePole() const { return feedback_.form == 0; }
  double count() const { return feedback_.ipCount; }

  template <class Operation>
  void each(Operation operation) {
    for (IIRFilter* section : {&feedback_, &direct_, &delayed_}) operation(*section);
  }

  void glideTo(filterPrm_tag prm, int length) {
    each([&](IIRFilter& section) {
      filterPrm_tag own = prm;
      section.ipFDexcute(&own, length);
    });
  }

  // Plays one sample.
  Coefficients next() {
    if (onePole()) return {play(direct_, 1.0, 0.0), 0.0, play(feedback_, 0.0, 1.0), 0.0, 0.0};
    play(feedback_, 0.0, 1.0);
    const double b0 = play(direct_, 1.0, 0.0);
    play(delayed_, 1.0, -b0);  // so that the output is 0 and nothing is fed back
    return {feedback_.state1, feedback_.state2, b0, delayed_.state1, delayed_.state2};
  }

 private:
  static double play(IIRFilter& section, double x, double state1) {
    section.state1 = state1;
    section.state2 = 0.0;
    section.ipIirProcessing(&x);
    return x;
  }

  IIRFilter feedback_, direct_, delayed_;
};

void expectClose(const Coefficients& measured, const Coefficients& expected, const char* what) {
  for (std::size_t i = 0; i < measured.size(); ++i) {
    EXPECT_NEAR(measured[i], expected[i], 1e-15) << what << ", coefficient " << i;
  }
}

Coefficients between(const Coefficients& from, const Coefficients& to, double share) {
  Coefficients point;
  for (std::size_t i = 0; i < point.size(); ++i) point[i] = from[i] + share * (to[i] - from[i]);
  return point;
}

TEST(Glide, RunsInAStraightLineAndSnapsToTheDesign) {
  for (const int num : {lowPass1, peaking, onePoleLowPass}) {
    for (const int length : {-5, 0, 1, 4, 7}) {
      SCOPED_TRACE(testing::Message() << "type " << num << ", length " << length);
      GlideProbe probe(record(num));
      for (int n = 0; n < 3; ++n) probe.next();  // past the silent sample of a new section
      const Coefficients old = probe.coef();
      probe.glideTo(record(num, -6.0, 5000.0), length);
      ASSERT_NE(old, probe.coef());
      for (int j = 0; j <= length; ++j) {
        const Coefficients k = probe.next();
        if (j == 0 && length > 0) {
          EXPECT_TRUE(sameBits(k, old));
        } else {
          expectClose(k, between(old, probe.coef(), length < 1 ? 1.0 : double(j) / length), "way");
        }
      }
      for (int after = 0; after < 3; ++after) EXPECT_TRUE(sameBits(probe.next(), probe.coef()));
    }
  }
}

// A glide cut short jumps to the target it was on its way to and goes on from there.
TEST(Glide, RestartBeginsAtTheFirstTarget) {
  GlideProbe probe(record(peaking, 6.0));
  probe.next();
  probe.glideTo(record(peaking, -6.0), 512);
  const Coefficients first = probe.coef();
  for (int n = 0; n < 100; ++n) probe.next();
  probe.glideTo(record(peaking, 0.0, 200.0), 4);
  EXPECT_TRUE(sameBits(probe.next(), first));
  expectClose(probe.next(), between(first, probe.coef(), 0.25), "a quarter of the second way");
}

TEST(Glide, AdvancesOnlyWhileItPlays) {
  GlideProbe probe(record(peaking, 6.0));
  probe.next();
  const Coefficients old = probe.coef();
  probe.glideTo(record(peaking, -6.0), 4);
  probe.next();
  probe.next();
  probe.each([](IIRFilter& section) {  // what is not a gliding sample leaves the glide where it is
    excite(section);
    section.refresh();
  });
  expectClose(probe.next(), between(old, probe.coef(), 0.5), "half way");
}

TEST(Glide, ANewSectionStartsWithOneSilentSample) {
  for (const int num : {lowPass1, peaking, onePoleLowPass}) {
    GlideProbe probe(record(num));
    EXPECT_EQ(probe.next(), Coefficients{}) << num;
    EXPECT_TRUE(sameBits(probe.next(), probe.coef())) << num;
    probe.next();
    EXPECT_EQ(probe.count(), 1.0) << "an ended glide counts no further";
  }
}

TEST(Glide, MatchesThePlainModelToTheBit) {
  Random random(sessionSeed() ^ 0x911de);
  const std::vector<int> types = {1, 10, 10, 11, 12, 13};
  for (int run = 0; run < 200; ++run) {
    filterPrm_tag prm = record(random.pick(types));
    IIRFilter shipped(&prm);
    plain::Section model({prm.num, prm.frq, prm.frqLow, prm.frqHigh, prm.q, prm.gain, prm.fs});
    for (int move = 0; move < 6; ++move) {
      prm = {random.chance(0.7) ? prm.num : random.pick(types),
             random.between(10.0, 25000.0),
             0,
             0,
             random.between(1e-3, 2.0),
             random.between(-30.0, 10.0),
             44100.0};
      plain::Record truth = {prm.num, prm.frq, 0, 0, prm.q, prm.gain, prm.fs};
      const int length = random.integer(-1, 40);
      shipped.ipFDexcute(&prm, length);
      model.glideTo(truth, length);
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

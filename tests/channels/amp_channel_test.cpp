// SPDX-License-Identifier: ISC
#include "channels/amp_channel.h"

#include "tests/channels/models.h"
#include "tests/support/measure.h"

namespace quellard::test {
namespace {

// The voicings once more, as they are printed on the amplifier's service sheet.
using Sheet = std::vector<VoicingRow>;

struct Voicing {
  Sheet pre, post, eq, power, revise;
  double masterScale;
};

// clang-format off
const Sheet kTone = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                     {1, 200, 1, 0}, {10, 120, 0.8, 0}};
const Sheet kLongTone = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                         {1, 200, 1, 0}, {10, 120, 0.8, 0}, {10, 8000, 0.8, 0}};
const std::array<Voicing, 3> kVoicings = {{
  {{{11, 13000, 1, 0}}, {{0, 5000, 1, 0}}, kTone, {{1, 18, 1, 0}, {0, 10000, 1, 0}},
   {{10, 160, 0.8, 2}, {10, 1000, 0.8, -12}, {12, 10000, 1, 2}, {10, 6000, 1.2, 3}}, 7.07945784},
  {{{11, 13000, 1, 0}}, {{0, 2300, 1, 0}}, kLongTone, {{1, 200, 1, 0}, {0, 2000, 1, 0}},
   {{10, 170, 0.55, 6}, {12, 8000, 1, 6}, {10, 10000, 0.5, 2}, {10, 6000, 1.2, 4}}, 0.56234133},
  {{{11, 13000, 1, 0}, {10, 2300, 0.5, 6}}, {{0, 2300, 1, 0}}, kLongTone,
   {{1, 18, 1, 0}, {0, 10000, 1, 0}}, {{10, 280, 0.55, 9}, {10, 6000, 1.2, 10}}, 0.5},
}};
// clang-format on

template <class Num, class Value, class Gain>
void expectColumns(const Sheet& sheet, const Num& num, const Value& frq, const Value& q,
                   const Gain& gain) {
  ASSERT_EQ(num.size(), sheet.size());
  for (std::size_t i = 0; i < sheet.size(); ++i) {
    EXPECT_EQ(num[i], sheet[i].num) << i;
    EXPECT_EQ(frq[i], sheet[i].frq) << i;
    EXPECT_EQ(q[i], sheet[i].q) << i;
    EXPECT_EQ(gain[i], sheet[i].gain) << i;
  }
}

// clang-format off
#define EXPECT_BANK(sheet, Class, bank)                                  \
  expectColumns(sheet, Class::Class##bank##Num, Class::Class##bank##Frq, \
                Class::Class##bank##Q, Class::Class##bank##Gain)
#define EXPECT_VOICING(voicing, Class)                                            \
  EXPECT_BANK((voicing).pre, Class, pre);                                         \
  EXPECT_BANK((voicing).post, Class, post);                                       \
  EXPECT_BANK((voicing).power, Class, power);                                     \
  EXPECT_BANK((voicing).revise, Class, revise);                                   \
  expectColumns((voicing).eq, Class::Class##eqNum, Class::Class##eqFrq,           \
                Class::Class##eqQ, std::array<double, Class::Class##eqQ.size()>{})
// clang-format on

TEST(AmpChannel, ClassesPublishTheirVoicings) {
  EXPECT_VOICING(kVoicings[0], QuellardCh1);
  EXPECT_VOICING(kVoicings[1], QuellardCh2);
  EXPECT_VOICING(kVoicings[2], QuellardCh3);
}

TEST(AmpChannel, FactorFollowsTheTruncatedRate) {
  struct Row {
    double rate;
    int rateInt, factor;
    double splitCoef;
  };
  for (const Row& row : std::vector<Row>{{48000.0, 48000, 7, 0.7095},
                                         {48000.9, 48000, 7, 0.7095},
                                         {47999.9, 47999, 8, 0.722},
                                         {44100.0, 44100, 8, 0.722},
                                         {96000.0, 96000, 8, 0.722},
                                         {1e12, 2147483647, 8, 0.722}}) {
    for (const ChannelModel& model : kChannelModels) {
      const AnyChannel channel = model.at(row.rate);
      EXPECT_EQ(channel->rate, row.rate);
      EXPECT_EQ(channel->rateInt, row.rateInt) << model;
      EXPECT_EQ(channel->overSample, row.factor) << model << " at " << row.rate;
      EXPECT_EQ(channel->overSampleRatio, row.factor);
    }
    EXPECT_EQ(QuellardCh2(row.rate, true).splitCoef, row.splitCoef) << row.rate;
    EXPECT_EQ(QuellardCh3(row.rate, true).splitCoef, row.splitCoef) << row.rate;
  }
}

void expectDesignedFor(const FilterBank& bank, std::int32_t count, const Sheet& sheet, double fs) {
  ASSERT_EQ(count, static_cast<std::int32_t>(sheet.size()));
  for (std::size_t i = 0; i < sheet.size(); ++i) {
    plain::Record record = {sheet[i].num, sheet[i].frq, 0, 0, sheet[i].q, sheet[i].gain, fs};
    EXPECT_TRUE(sameBits(bank[i]->coef, plain::design(record))) << "section " << i;
  }
}

// Below 26 kHz the 13 kHz shelf lies beyond half the rate.
TEST(AmpChannel, EverySectionIsDesignedForTheRateItRunsAt) {
  for (const double rate : {22050.0, 44100.0, 48000.0, 192000.0}) {
    for (std::size_t i = 0; i < kChannelModels.size(); ++i) {
      SCOPED_TRACE(testing::Message() << kChannelModels[i] << " at " << rate);
      const AnyChannel c = kChannelModels[i].at(rate);
      const double inner = i == 0 ? rate : rate * (rate == 48000.0 ? 7.0 : 8.0);
      expectDesignedFor(c->preFilters, c->preCount, kVoicings[i].pre, rate);
      expectDesignedFor(c->postFilters, c->postCount, kVoicings[i].post, inner);
      expectDesignedFor(c->eqFilters, c->eqCount, kVoicings[i].eq, rate);
      expectDesignedFor(c->powerFilters, c->powerCount, kVoicings[i].power, inner);
      expectDesignedFor(c->reviseFilters, c->reviseCount, kVoicings[i].revise, rate);
      plain::Record highPass = {1, 20.0, 0, 0, 1.0, 0.0, rate};
      EXPECT_TRUE(sameBits(c->dcBlocker->coef, plain::design(highPass)));
      EXPECT_EQ(c->masterScale, kVoicings[i].masterScale);
      // A new channel fades in from nothing.
      EXPECT_EQ(c->gainCurrent, 0.0);
      EXPECT_EQ(c->masterCurrent, 0.0);
      EXPECT_EQ(c->gainTarget, 1.0);
      EXPECT_EQ(c->masterTarget, 1.0);
    }
  }
}

// A channel that is none: the operations exist and do nothing.
TEST(AmpChannel, TheBareFrameTouchesNothing) {
  struct Bare final : AmpChannelBase {
    Bare() : AmpChannelBase(44100.7) {}
  } bare;
  double in = 1.0, out = 5.0;
  turn(bare, {}, 4);
  bare.resume();
  bare.signalProcess(&in, &out, 1);
  EXPECT_EQ(out, 5.0);
  EXPECT_EQ(bare.rateInt, 44100);
  EXPECT_EQ(bare.rate, 44100.7);
  for (const std::int32_t count :
       {bare.preCount, bare.postCount, bare.eqCount, bare.powerCount, bare.reviseCount}) {
    EXPECT_EQ(count, 0);
  }
}

}  // namespace
}  // namespace quellard::test

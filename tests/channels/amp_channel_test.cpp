// SPDX-License-Identifier: ISC
#include "channels/amp_channel.h"

#include <gtest/gtest.h>
#include <limits>

#include "tests/channels/models.h"

namespace quellard::test {
namespace {

// The voicings once more, as they are printed on the amplifier's service sheet.
using Sheet = std::vector<VoicingRow>;

struct Voicing {
  Sheet pre, post, eq, power, revise;
};

// clang-format off
const Sheet kTone = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                     {1, 200, 1, 0}, {10, 120, 0.8, 0}};
const Sheet kLongTone = {{11, 200, 1, 0}, {10, 570, 0.7, 0}, {12, 1300, 1, 0}, {12, 4000, 1, 0},
                         {1, 200, 1, 0}, {10, 120, 0.8, 0}, {10, 8000, 0.8, 0}};
const std::array<Voicing, 3> kVoicings = {{
  {{{11, 13000, 1, 0}}, {{0, 5000, 1, 0}}, kTone, {{1, 18, 1, 0}, {0, 10000, 1, 0}},
   {{10, 160, 0.8, 2}, {10, 1000, 0.8, -12}, {12, 10000, 1, 2}, {10, 6000, 1.2, 3}}},
  {{{11, 13000, 1, 0}}, {{0, 2300, 1, 0}}, kLongTone, {{1, 200, 1, 0}, {0, 2000, 1, 0}},
   {{10, 170, 0.55, 6}, {12, 8000, 1, 6}, {10, 10000, 0.5, 2}, {10, 6000, 1.2, 4}}},
  {{{11, 13000, 1, 0}, {10, 2300, 0.5, 6}}, {{0, 2300, 1, 0}}, kLongTone,
   {{1, 18, 1, 0}, {0, 10000, 1, 0}}, {{10, 280, 0.55, 9}, {10, 6000, 1.2, 10}}},
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
  };
  const int most = std::numeric_limits<int>::max();
  for (const Row& row : std::vector<Row>{
           {48000.9, 48000, 7}, {47999.9, 47999, 8}, {44100.0, 44100, 8}, {1e12, most, 8}}) {
    for (const ChannelModel& model : kChannelModels) {
      const AnyChannel channel = model.at(row.rate);
      EXPECT_EQ(channel->rate, row.rate);
      EXPECT_EQ(channel->rateInt, row.rateInt) << model;
      EXPECT_EQ(channel->overSample, row.factor) << model << " at " << row.rate;
      EXPECT_EQ(channel->overSampleRatio, row.factor);
    }
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The block routine with channels that write down what they are asked to do.
#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "engine/amplifier.h"
#include "tests/support/floating_point_mode.h"

namespace quellard::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Log = std::vector<std::string>;

// Multiplies by 1, 10 or 100.
class NotedChannel : public AmpChannelBase {
 public:
  NotedChannel(std::size_t number, Log& log)
      : AmpChannelBase(44100.0),
        factor(std::array{1.0, 10.0, 100.0}.at(number)),
        name_(std::to_string(number)),
        log_(log) {}
  void signalProcess(double* in, double* out, int n) override {
    note("play", {}, n);
    for (int i = 0; i < n; ++i) out[i] = factor * in[i];
    if (inBlock) inBlock();
  }
  void setEQ(double treble, double mid, double bass, double presence, int n) override {
    note("eq", {treble, mid, bass, presence}, n);
  }
  void setGain(double gain, int n) override { note("gain", {gain}, n); }
  void setMaster(double master, int n) override { note("master", {master}, n); }
  void clearMemory() override { log_.push_back(name_ + " clear"); }

  double factor;
  std::function<void()> inBlock;

 private:
  void note(const char* what, std::initializer_list<double> values, int n) {
    std::ostringstream line;
    line << name_ << ' ' << what;
    for (const double value : values) line << ' ' << value;
    line << " @" << n;
    log_.push_back(line.str());
  }

  std::string name_;
  Log& log_;
};

class ProcessBlock : public testing::Test {
 protected:
  ProcessBlock() {
    amp.prepare(44100.0);
    for (std::size_t c = 0; c < 3; ++c) {
      auto fake = std::make_unique<NotedChannel>(c, log);
      fakes[c] = fake.get();
      amp.channels[c] = std::move(fake);
    }
    for (auto& value : amp.controlValues) value = 0.5f;
  }

  void set(int index, float value) { amp.liveValue(index)->store(value); }

  // What the channels were asked during a block of ones; the output is left in `out`.
  Log block(int frames) {
    log.clear();
    const auto length = static_cast<std::size_t>(std::max(frames, 0));
    std::vector<double> in(length, 1.0);
    out.assign(length, -7.0);
    amp.processBlock(in.data(), out.data(), frames);
    return log;
  }

  Amplifier amp;
  Log log;
  NotedChannel* fakes[3];
  std::vector<double> out;
};

TEST_F(ProcessBlock, EveryControlGoesThroughItsTaperWhenItHasMoved) {
  const float knobs[18] = {0.1f, 0.25f, 0.3f, 0.4f, 0.5f, 0.5f,   0.6f, 1.0f,  0.7f,
                           0.8f, 0.0f,  1.0f, 0.9f, 0.0f, 0.125f, 0.2f, 0.75f, 0.25f};
  for (int i = 0; i < 18; ++i) set(i + 1, knobs[i]);
  const Log everything = {"0 eq 0.4 0.3 0.5 0.1 @64",
                          "0 gain 0.125 @64",
                          "0 master 0.25 @64",
                          "1 eq 0.8 0.7 1 0.6 @64",
                          "1 gain 1 @64",
                          "1 master 0 @64",
                          "2 eq 0.2 0.125 0 0.9 @64",
                          "2 gain 0.015625 @64",
                          "2 master 0.5625 @64",
                          "2 play @64",
                          "2 play @0"};
  EXPECT_EQ(block(64), everything);
  for (const Log& moved : {Log{"1 eq 0.8 1 1 0.6 @8"}, Log{}}) {
    set(9, 1.0f);
    Log expected = moved;
    expected.insert(expected.end(), {"2 play @8", "2 play @0"});
    EXPECT_EQ(block(8), expected);
  }
}

TEST_F(ProcessBlock, ValuesOutsideTheKnobAreKeptButPlayedAtItsEnds) {
  block(1);
  const std::pair<double, const char*> rows[] = {{1.5, "0 gain 1 @1"},
                                                 {kNaN, "0 gain 0 @1"},
                                                 {kInfinity, "0 gain 1 @1"},
                                                 {-0.5, "0 gain 0 @1"},
                                                 {-1.0, "0 gain 0 @1"}};
  for (const auto& [value, played] : rows) {
    const auto stored = static_cast<float>(value);
    set(6, stored);
    EXPECT_EQ(block(1).front(), played);
    EXPECT_EQ(std::memcmp(&stored, &amp.controlValues[5], sizeof stored), 0);
  }
}

TEST_F(ProcessBlock, ABlockWithoutFramesMovesTheKnobsOnly) {
  block(16);
  for (const int frames : {0, -5, std::numeric_limits<int>::min()}) {
    set(12, frames == -5 ? 0.0f : 1.0f);
    EXPECT_EQ(block(frames),
              (Log{frames == -5 ? "1 gain 0 @0" : "1 gain 1 @0", "2 play @0", "2 play @0"}));
    EXPECT_EQ(block(frames), (Log{"2 play @0", "2 play @0"})) << "the move is remembered";
  }
  set(19, 0.0f);
  block(0);
  block(16);
  EXPECT_EQ(out[15], 100.0 * ((705 - 15) * (1.0 / 705))) << "the fade began without a sample";
}

// The outgoing channel plays up to the switch point and the incoming one, named by the selector of
// that block, from there on.
TEST_F(ProcessBlock, ChannelsChangePlacesAtTheSilentSample) {
  set(19, 0.9f);
  block(700);
  EXPECT_EQ(out, std::vector<double>(700, 100.0)) << "the first selector is no move";
  set(19, 0.0f);
  EXPECT_EQ(block(700), (Log{"2 play @700", "2 play @0"}));
  EXPECT_EQ(out[0], 100.0 * (705 * (1.0 / 705)));
  set(19, 0.5f);
  EXPECT_EQ(block(700), (Log{"2 play @5", "1 play @695"}));
  const double step = 1.0 / 705;
  EXPECT_EQ((std::vector<double>(out.begin() + 3, out.begin() + 7)),
            (std::vector<double>{2 * step * 100.0, 1 * step * 100.0, 0.0, step * 10.0}));
  EXPECT_EQ(block(2000), (Log{"1 play @2000", "1 play @0"}));
  EXPECT_EQ(out[10], 10.0);
  set(19, 0.66f);
  EXPECT_EQ(block(705), (Log{"1 play @705", "1 play @0"}));
  EXPECT_EQ(block(1), (Log{"1 play @0", "2 play @1"})) << "a block that begins at the point";
}

TEST_F(ProcessBlock, AChannelThatTurnsNonFiniteIsSilencedAndStartsAfresh) {
  for (const double poison : {kInfinity, kNaN}) {
    fakes[2]->factor = poison;
    EXPECT_EQ(block(9).back(), "2 clear");
    EXPECT_EQ(out, std::vector<double>(9, 0.0));
    fakes[2]->factor = 100.0;
    EXPECT_EQ(block(9), (Log{"2 play @9", "2 play @0"}));
    EXPECT_EQ(out, std::vector<double>(9, 100.0));
  }
  // In a block that two channels share, only the one at fault loses its memory.
  set(19, 0.0f);
  block(700);
  fakes[0]->factor = kNaN;
  EXPECT_EQ(block(20), (Log{"2 play @5", "0 play @15", "0 clear"}));
  EXPECT_EQ(out, std::vector<double>(20, 0.0));
}

TEST_F(ProcessBlock, ChannelsPlayUnderTheLockWithFlushToZero) {
  const unsigned hostsMode = floatingPointMode();
  unsigned inside = 0;
  bool lockWasFree = false;
  fakes[2]->inBlock = [&] {
    inside = floatingPointMode();
    std::thread([&] {
      if (const std::unique_lock lock(amp.processLock, std::try_to_lock); lock) lockWasFree = true;
    }).join();
  };
  for (const unsigned mode : {hostsMode, hostsMode | kDenormalsAreZeroBit | kRoundDownBits,
                              hostsMode | kFlushToZeroBit, hostsMode | 0x3Fu}) {
    setFloatingPointMode(mode);
    block(4);
    const unsigned after = floatingPointMode();
    setFloatingPointMode(hostsMode);
    if (kHasFloatingPointMode) {
      EXPECT_EQ(after, mode) << "the host's own mode and flags";
      EXPECT_EQ(inside & ~0x3Fu, (mode | kFlushToZeroBit) & ~0x3Fu);
    }
    EXPECT_FALSE(lockWasFree);
  }
}

}  // namespace
}  // namespace quellard::test

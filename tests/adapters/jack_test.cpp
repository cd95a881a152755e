// SPDX-License-Identifier: ISC
// The parts of quellard-jack beside the amplifier: mute, level meter, line entry, state file.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <ncurses.h>
#include <vector>

#include "adapters/jack/line_entry.h"
#include "adapters/jack/mute.h"
#include "adapters/jack/state_file.h"
#include "params/parameter_values.h"
#include "rig/level_meter.h"
#include "tools/common/errors.h"

namespace quellard::test {
namespace {

namespace fs = std::filesystem;

TEST(Mute, FadesIn10MsAndOtherwiseKeepsEveryBit) {
  constexpr unsigned kFrames = 1000;
  constexpr int kFade = 480;  // 10 ms
  Mute mute;
  mute.prepare(48000.0);
  std::vector<float> left(kFrames, 0.7F), right(kFrames, -0.3F);
  float* channels[] = {left.data(), right.data()};
  const auto refill = [&] {
    left.assign(kFrames, 0.7F);
    right.assign(kFrames, -0.3F);
    mute.process(channels, 2, kFrames);
  };
  refill();
  EXPECT_EQ(left, std::vector<float>(kFrames, 0.7F));
  const auto expectFade = [&](float from, float to) {
    EXPECT_NEAR(left.front(), from, 0.7 / kFade * 1.01);
    EXPECT_NEAR(left[kFade / 2], 0.35, 0.01);
    EXPECT_EQ(left[kFade + 1], to);
    for (std::size_t i = 1; i < kFrames; ++i) {
      ASSERT_LE(std::fabs(left[i] - left[i - 1]), 0.7F / kFade * 1.01F) << i;
      ASSERT_NEAR(right[i] / -0.3F, left[i] / 0.7F, 1e-5) << i;
    }
  };
  mute.set(true);
  refill();
  expectFade(0.7F, 0.0F);
  refill();
  EXPECT_EQ(std::fabs(left.front()), 0.0F);
  mute.set(false);
  refill();
  expectFade(0.0F, 0.7F);
}

TEST(LevelMeter, HoldsThePeakAndKeepsTheClipMark) {
  LevelMeter meter(1.0F);
  meter.update(0.5F, 0.05);
  EXPECT_NEAR(meter.held_db(), -6.02, 0.01);
  for (int i = 0; i < 29; ++i) meter.update(0.01F, 0.05);
  EXPECT_NEAR(meter.held_db(), -6.02, 0.01) << "for a second and a half";
  EXPECT_NEAR(meter.level_db(), -40.0, 0.01);
  for (int i = 0; i < 60; ++i) meter.update(0.01F, 0.05);
  EXPECT_NEAR(meter.held_db(), -40.0, 0.01) << "never below the level";
  meter.update(1.0F, 0.05);
  EXPECT_FALSE(meter.clipped()) << "full scale can be played";
  meter.update(1.0001F, 0.05);
  meter.update(0.0F, 60.0);
  EXPECT_TRUE(meter.clipped());
  EXPECT_EQ(meter.level_db(), LevelMeter::kFloor_db);
  meter.clear();
  EXPECT_FALSE(meter.clipped());
}

TEST(LineEntry, TakesAnyCharacterAndDeletesItWhole) {
  LineEntry entry;
  const auto type = [&](const std::string& text) {
    for (const char c : text) entry.press(static_cast<unsigned char>(c));
  };
  type("Süß");
  entry.press(KEY_BACKSPACE);
  EXPECT_EQ(entry.text(), "Sü");
  entry.press(127);
  entry.press(KEY_UP);
  entry.press('\x07');
  EXPECT_EQ(entry.text(), "S");
  type(std::string(2000, 'x'));
  EXPECT_EQ(entry.text().size(), LineEntry::kLongest);
  entry.press(21);
  for (int i = 0; i < 2; ++i) entry.press('\b');
  EXPECT_EQ(entry.text(), "");
  EXPECT_EQ(entry.press('\r'), LineEntry::State::entered);
  EXPECT_EQ(entry.press(27), LineEntry::State::cancelled);
}

class State : public testing::Test {
 protected:
  State() {
    std::string name = (fs::temp_directory_path() / "quellard-state-XXXXXX").string();
    folder = mkdtemp(name.data());
    file = folder / "deep/er/amp.state";
  }
  ~State() override { fs::remove_all(folder); }

  fs::path folder, file;
};

TEST_F(State, IsReadBackAndAFileWithAMistakeIsKept) {
  StateFile first(file);
  EXPECT_FALSE(first.read().has_value());
  EXPECT_NE(first.notice(), "");
  SettingsText settings = {"Blues Lead"};
  settings.values[6] = 0.1F;
  settings.values[kInputParameter] = 0.25F;
  settings.cabinet = {"/gone/4x12 #1.wav", -3.5};
  first.write(settings);
  StateFile second(file);
  EXPECT_EQ(second.read(), settings);
  EXPECT_EQ(second.notice(), "");

  std::ofstream(file) << "Dear diary\n";
  StateFile third(file);
  EXPECT_FALSE(third.read().has_value());
  EXPECT_NE(third.notice().find("amp.state:1: 'Dear diary' is not"), std::string::npos);
  third.write(settings);
  std::string kept;
  std::getline(std::ifstream(file.string() + ".damaged"), kept);
  EXPECT_EQ(kept, "Dear diary");
  EXPECT_EQ(StateFile(file).read()->values, settings.values);

  StateFile none(folder);
  EXPECT_FALSE(none.read().has_value());
  EXPECT_NE(none.notice().find("nothing will be remembered"), std::string::npos);
  none.write(settings);
  EXPECT_TRUE(fs::is_directory(folder));
}

TEST_F(State, IsWrittenOnceTheValuesRest) {
  StateFile state(file);
  SettingsText settings;
  const auto begin = std::chrono::steady_clock::now();
  const auto elapsed = [&] { return std::chrono::steady_clock::now() - begin; };
  state.follow(settings);
  EXPECT_FALSE(fs::exists(file));
  while (!fs::exists(file) && elapsed() < 3 * StateFile::kRest) state.follow(settings);
  EXPECT_TRUE(fs::exists(file));
  EXPECT_GE(elapsed(), StateFile::kRest);
}

TEST_F(State, EachClientHasItsOwn) {
  setenv("XDG_STATE_HOME", folder.c_str(), 1);
  EXPECT_EQ(StateFile::defaultFor("quellard-01"), folder / "quellard/jack/quellard-01.state");
  const fs::path odd = StateFile::defaultFor("../../a b");
  EXPECT_EQ(odd.parent_path(), folder / "quellard/jack");
  EXPECT_NE(StateFile::defaultFor("a/b"), StateFile::defaultFor("a_b"));
  unsetenv("XDG_STATE_HOME");
  setenv("HOME", "relative", 1);
  EXPECT_EQ(StateFile::defaultFor("a"), fs::path());
}

}  // namespace
}  // namespace quellard::test

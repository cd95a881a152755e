// SPDX-License-Identifier: ISC
// Settings as text, the user's presets, and the command-line options for both.
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

#include "params/factory_bank.h"
#include "tests/support/environment.h"
#include "tests/support/signals.h"
#include "tests/tools/scratch.h"
#include "tools/common/errors.h"
#include "tools/settings/presets.h"
#include "tools/settings/settings_options.h"

namespace quellard::test {
namespace {

template <typename Task>
std::string complaint(Task&& task) {
  try {
    task();
  } catch (const UsageError& error) {
    return error.what();
  } catch (const FileError& error) {
    return std::string("file: ") + error.what();
  }
  return "accepted";
}

// The folder of user presets, empty at first.
class Presets : public testing::Test {
 protected:
  Presets() {
    setVariable("XDG_CONFIG_HOME", (folder / "").string());
    fs::create_directories(folder / "quellard/presets");
  }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(folder / ("quellard/presets/" + name), std::ios::binary) << text;
  }
  const Scratch folder;
};

TEST(Settings, AnyValuesComeBackToTheBit) {
  Random random(3);
  const auto bits = [](const HostedValues& values) {
    return std::string(reinterpret_cast<const char*>(&values), sizeof values);
  };
  for (int round = 0; round < 2000; ++round) {
    HostedValues values;
    for (float& value : values) value = static_cast<float>(random.unit());
    values[kBypassParameter] = 0.0F;
    values[kGateParameter] = round % 5 == 0 ? 0.0F : 0.02F + 0.98F * values[kGateParameter];
    if (round % 2 == 0) values[kTypeParameter] = selectFromChannel(round / 2 % 3);
    values[1] = round % 3 == 0 ? 1e-42F : 0.0F;
    values[2] = std::nextafter(1.0F, 0.0F);
    const std::string text = writeSettings({"Some words", values});
    const SettingsText read = parseSettings(text, "");
    ASSERT_EQ(bits(read.values), bits(values)) << text;
    ASSERT_EQ(read.description, "Some words");
  }
  SettingsText solo;
  solo.values[kGateParameter] = valueFromGate_dbfs(-60.0);
  solo.values[17] = 0.373F;
  solo.values[1] = 0.739F;
  EXPECT_EQ(
      writeSettings(solo),
      "channel = modern\nclean.presence = 7.39\nmodern.presence = 5\nmodern.bass = 5\n"
      "modern.mid = 5\nmodern.treble = 5\nmodern.master = 3.73\nmodern.gain = 5\ngate = -60\n");
}

TEST(Settings, RememberACabinetOfAnyName) {
  for (const char* file : {"/a/4x12.wav", "/a/#1 50%.wav", "/a/ends with ", "/a/b\nc=d", "/%23",
                           "/\xFF\xC3", "/a = b"}) {
    SettingsText settings;
    settings.cabinet = {file, -2.25};
    EXPECT_EQ(parseSettings(writeSettings(settings), ""), settings) << writeSettings(settings);
  }
  EXPECT_EQ(complaint([] { parseSettings("cab = x\ncab level = 25", "f"); }),
            "f:2: cab level: 25 is outside -24 to 24");
}

TEST(Settings, AnySpellingIsReadAndMistakesAreNamedByTheirLine) {
  const SettingsText read = parseSettings(
      "\xEF\xBB\xBF# Solo\r\n\r\ngain = 7.39 # hot\r\nGAIN=2\nclean.bass=1\nchannel = Vintage\n12 "
      "= "
      "0.75",
      "");
  EXPECT_EQ(read.description, "Solo");
  HostedValues expected = defaultHostedValues();
  expected[kTypeParameter] = 0.5F;
  expected[12] = 0.75F;
  expected[2] = 0.1F;
  EXPECT_EQ(read.values, expected) << "bare names mean the channel of the file, the last counts";
  EXPECT_EQ(parseSettings("", "").values, defaultHostedValues());
  const struct {
    const char *text, *message;
  } cases[] = {
      {"gain = 5\n\ngian = 5\n", "f:3: unknown knob 'gian', did you mean 'gain'?"},
      {"# gain\nbass = 11", "f:2: bass: 11 is outside 0 to 10"},
      {"gain = 5\nchannel = loud\n", "f:2: unknown channel 'loud': clean, vintage or modern"},
      {"gate = -90", "f:1: gate: -90 is outside -80 to -30"},
      {"gain 5", "f:1: 'gain 5' is not of the form PARAM=VALUE"},
      {"type = clean\n20 = 0.5\n", "f:2: there is no parameter 20: they are 1 to 19"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(complaint([&] { parseSettings(test.text, "f"); }), test.message);
  }
}

TEST_F(Presets, AreSavedAndListedAfterTheFactoryBank) {
  ParameterValues values = defaultValues();
  values[4] = 0.1234567F;
  savePreset("Süßer Ton", values);
  savePreset("alto", defaultValues());
  savePreset("ALTO", values);  // the same preset, whose file keeps its name
  const PresetList list = listPresetFiles();
  EXPECT_EQ(list.errors.size(), 0u);
  ASSERT_EQ(list.presets.size(), kNumFactoryPresets + 2);
  EXPECT_EQ(list.presets[11].name, "Soaring Solo");
  EXPECT_EQ(list.presets[12].name, "alto");
  EXPECT_EQ(list.presets[12].values, values);
  EXPECT_EQ(findPreset(" süßer TON ").values, values);
  EXPECT_EQ(findPreset("warm jazz").values, presetValues(kFactoryBank[1]));
  EXPECT_EQ(complaint([] { findPreset("allto"); }), "unknown preset 'allto', did you mean 'alto'?");
  EXPECT_EQ(complaint([] { findPreset("Warn Jazz"); }),
            "unknown preset 'Warn Jazz', did you mean 'Warm Jazz'?");
}

TEST_F(Presets, NoNameLeadsOutOfTheirFolderOrReplacesAnother) {
  write("../outside.txt", "gain = 1\n");
  EXPECT_EQ(complaint([] { findPreset("../outside"); }), "unknown preset '../outside'");
  for (const std::string name : {"", " ", "../outside", "/etc/x", ".", ".hidden", "a/b", "a\nb",
                                 "a\x1b[2J", "\xff", " a", "a\u202eb", "warm jazz"}) {
    EXPECT_NE(complaint([&] { savePreset(name, defaultValues()); }), "accepted") << name;
  }
  EXPECT_NE(faultOfPresetName(std::string(65, 'a')), "");
  for (const std::string name : {"a", "100% 'wet'", "-x", "Süß", "a.txt"}) {
    savePreset(name, defaultValues());
    EXPECT_FALSE(findPreset(name).isFactory) << name;
  }
  EXPECT_EQ(presetOption("it's"), "--preset 'it'\\''s'");
  EXPECT_EQ(presetOption("-x"), "--preset='-x'") << "not to be taken for an option";
  EXPECT_EQ(folder.names(), std::vector<std::string>{"quellard"});
}

TEST_F(Presets, ABrokenFileIsNamedAndTheOthersStillWork) {
  write("Good.txt", "gain = 3");
  write("Bad.txt", "gain = 3\nbas = 4");
  write("Warm Jazz.txt", "");
  write(".part.txt", "half");
  write("notes.md", "no preset");
  write("long.txt", std::string(1 << 17, '#'));
  fs::create_directory(folder / "quellard/presets/sub.txt");
  const PresetList list = listPresetFiles();
  ASSERT_EQ(list.presets.size(), kNumFactoryPresets + 1);
  EXPECT_EQ(list.presets.back().name, "Good");
  ASSERT_EQ(list.errors.size(), 4u);
  EXPECT_TRUE(list.errors[0].ends_with("Bad.txt:2: unknown knob 'bas', did you mean 'bass'?"));
  EXPECT_TRUE(complaint([] { findPreset("bad"); }).ends_with("did you mean 'bass'?"));
  EXPECT_EQ(findPreset("Good").values[18], 0.3F);
  fs::remove_all(folder / "quellard/presets");
  EXPECT_EQ(listPresetFiles().errors.size(), 0u);
  std::ofstream(folder / "quellard/presets") << "no folder";
  EXPECT_TRUE(listPresetFiles().errors.at(0).ends_with("presets: a part of its path is no folder"));
}

TEST(SettingsOptions, APresetReplacesAllValuesAKnobOne) {
  ParameterValues before = defaultValues();
  before[kTypeParameter] = 0.5F;
  before[12] = 0.9F;
  SettingsOptions knobs;
  knobs.knobs["bass"] = "2";
  ParameterValues expected = before;
  expected[8] = 0.2F;
  EXPECT_EQ(settingsFrom(knobs, before), expected) << "on the channel that was remembered";
  knobs.channel = "clean";
  knobs.assignments = {"vintage_gain=7.5"};
  expected = before;
  expected[kTypeParameter] = 0.0F;
  expected[2] = 0.2F;
  expected[12] = 0.75F;
  EXPECT_EQ(settingsFrom(knobs, before), expected);

  SettingsOptions fresh;
  fresh.program = "3";
  EXPECT_EQ(settingsFrom(fresh, before), defaultValues());
  fresh.preset = "classic crunch";
  EXPECT_EQ(settingsFrom(fresh, before), presetValues(kFactoryBank[7]));
  fresh.program = "17";
  EXPECT_EQ(complaint([&] { settingsFrom(fresh, before); }), "--program: 17 is outside 1 to 16");
}

}  // namespace
}  // namespace quellard::test

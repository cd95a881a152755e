// SPDX-License-Identifier: ISC
// The hands on the face: what mouse and keys do to the amplifier, and what is shown of it.
#include "face/face.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "rig/value_text.h"
#include "tests/face/recording_target.h"

namespace quellard {
namespace {

constexpr int kCleanGain = 6;
constexpr int kModernMaster = 17;

class Hands : public testing::Test {
 protected:
  static const Control& knob(int parameter) {
    return controls()[static_cast<std::size_t>(knobControl(parameter))];
  }

  void click(Point at, MouseButton button = MouseButton::left) {
    now_s_ += 1.0;
    face.press(at, button, false, now_s_);
    face.release(at);
  }

  void dragKnob(int parameter, float by, MouseButton button, bool isFine) {
    const Point from = knob(parameter).center;
    now_s_ += 1.0;
    face.press(from, button, isFine, now_s_);
    constexpr int kSteps = 10;
    for (int step = 1; step <= kSteps; ++step) {
      face.drag({from.x, from.y - by * static_cast<float>(step) / kSteps}, isFine);
    }
    face.release({from.x, from.y - by});
  }

  void typeText(const std::string& text) {
    for (const char c : text) face.type(static_cast<char32_t>(c));
  }

  void expectShown(int parameter, const char* text) const {
    EXPECT_STREQ(valueText(parameter, target.values[parameter]).data(), text) << parameter;
  }

  void focusOn(int control) {
    for (std::size_t i = 0; i <= controls().size() && face.state().focus != control; ++i) {
      face.key(Key::tab, false);
    }
    ASSERT_EQ(face.state().focus, control);
  }

  static Point middleOf(int control) {
    return controls()[static_cast<std::size_t>(control)].area.center();
  }

  RecordingTarget target;
  Face face{target, factoryFacePresets()};
  double now_s_ = 0.0;
};

TEST_F(Hands, ADragTurnsUpwardsFinelyAndNoFurtherThanTheEnds) {
  dragKnob(kCleanGain, Face::kDragLength / 4.0F, MouseButton::left, false);
  EXPECT_NEAR(target.values[kCleanGain], 0.75F, 1e-5F);
  dragKnob(kCleanGain, -Face::kDragLength / 4.0F, MouseButton::left, true);
  EXPECT_NEAR(target.values[kCleanGain], 0.725F, 1e-5F);
  dragKnob(kCleanGain, -Face::kDragLength / 4.0F, MouseButton::right, false);
  EXPECT_NEAR(target.values[kCleanGain], 0.7F, 1e-5F);
  dragKnob(kCleanGain, -1000.0F, MouseButton::left, false);
  EXPECT_EQ(target.values[kCleanGain], 0.0F);
  dragKnob(kCleanGain, 1000.0F, MouseButton::left, false);
  EXPECT_EQ(target.values[kCleanGain], 1.0F);
  // One move of the host's automation each, and nothing else was touched.
  EXPECT_EQ(target.begun, 5);
  EXPECT_TRUE(target.open.empty());
  for (const auto& [parameter, value] : target.moves) EXPECT_EQ(parameter, kCleanGain);
}

TEST_F(Hands, ABubbleShowsTheValueWhileItMovesAndADoubleClickTakesItBack) {
  const Point at = knob(kModernMaster).center;
  face.press(at, MouseButton::left, false, 1.0);
  EXPECT_EQ(face.state().moving, -1);
  face.drag({at.x, at.y - 50.0F}, false);
  EXPECT_EQ(face.state().moving, knobControl(kModernMaster));
  EXPECT_EQ(target.open, std::set{kModernMaster});
  face.release({at.x, at.y - 50.0F});
  EXPECT_EQ(face.state().moving, -1);
  EXPECT_NE(target.values[kModernMaster], kKnobDefault);

  face.press(at, MouseButton::left, false, 3.0);
  face.release(at);
  face.press(at, MouseButton::left, false, 3.0 + Face::kDoubleClickSeconds / 2.0);
  face.release(at);
  EXPECT_EQ(target.values[kModernMaster], kKnobDefault);
  // Two slow clicks are none.
  target.values[kModernMaster] = 0.9F;
  for (const double when_s : {10.0, 10.0 + 2.0 * Face::kDoubleClickSeconds}) {
    face.press(at, MouseButton::left, false, when_s);
    face.release(at);
  }
  EXPECT_EQ(target.values[kModernMaster], 0.9F);
}

// A player who flicks a knob twice wants it moved twice, and one who does something else between
// two clicks, or clicks with another button, has not clicked twice.
TEST_F(Hands, WhatLiesBetweenTwoClicksMakesThemTwo) {
  const Point at = knob(kCleanGain).center;
  for (const double when_s : {1.0, 1.0 + Face::kDoubleClickSeconds / 4.0}) {
    face.press(at, MouseButton::left, false, when_s);
    face.drag({at.x, at.y - 20.0F}, false);
    face.release({at.x, at.y - 20.0F});
  }
  EXPECT_NEAR(target.values[kCleanGain], 0.7F, 1e-5F);
  struct Case {
    MouseButton first;
    void (*between)(Face&, Point);
    const char* shown;
  };
  now_s_ = 10.0;
  for (const Case& each :
       {Case{MouseButton::left, [](Face&f, Point at0) { f.wheel(at0, 1.0F, false); }, "7.20"},
        {MouseButton::left, [](Face&f, Point) { f.key(Key::up, false); }, "7.30"},
        {MouseButton::right, [](Face&, Point) {}, "7.30"}}) {
    click(at, each.first);
    each.between(face, at);
    face.press(at, MouseButton::left, false, now_s_ + 0.1);
    face.release(at);
    expectShown(kCleanGain, each.shown);
  }
}

TEST_F(Hands, TheWheelTurnsWhatIsUnderTheMouse) {
  const Point at = knob(kGateParameter).center;
  face.wheel(at, 1.0F, false);
  expectShown(kGateParameter, "-80.0 dB");
  face.wheel(at, 1.0F, true);
  expectShown(kGateParameter, "-79.9 dB");
  face.wheel(at, -5.0F, false);
  EXPECT_EQ(target.values[kGateParameter], 0.0F);
  const std::size_t moves = target.moves.size();
  face.wheel({5.0F, 5.0F}, 1.0F, false);
  EXPECT_EQ(target.moves.size(), moves);
}

// Every control can be reached by the Tab key, both ways, and set by keys alone.
TEST_F(Hands, EveryControlIsReachedAndSetByTheKeyboard) {
  const int count = static_cast<int>(controls().size());
  for (int i = 0; i < count; ++i) {
    face.key(Key::tab, false);
    EXPECT_EQ(face.state().focus, i);
  }
  face.key(Key::tab, true);
  EXPECT_EQ(face.state().focus, count - 2);

  for (int index = 1; index <= kNumHostedValues; ++index) {
    if (!isKnob(index) && index <= kBypassParameter) continue;
    focusOn(knobControl(index));
    EXPECT_TRUE(face.key(Key::end, false));
    EXPECT_EQ(target.values[index], 1.0F);
    face.key(Key::home, false);
    EXPECT_EQ(target.values[index], 0.0F);
    const bool isGate = index == kGateParameter;
    face.key(Key::up, false);
    expectShown(index, isKnob(index) ? "0.10" : isGate ? "-80.0 dB" : "-23.5 dB");
    face.key(Key::up, true);
    expectShown(index, isKnob(index) ? "0.11" : isGate ? "-79.9 dB" : "-23.4 dB");
    face.key(Key::pageUp, false);
    expectShown(index, isKnob(index) ? "1.11" : isGate ? "-74.9 dB" : "-18.4 dB");
    face.key(Key::pageDown, false);
    face.key(Key::down, true);
    face.key(Key::down, false);
    EXPECT_EQ(target.values[index], 0.0F) << "the same way back";
    face.key(Key::remove, false);
    EXPECT_EQ(target.values[index], defaultHostedValues()[index]);
  }
  for (int channel = 0; channel < kNumChannels; ++channel) {
    focusOn(controlOf(ControlKind::channel, channel));
    EXPECT_TRUE(face.type(U' '));
    EXPECT_EQ(channelFromSelect(target.values[kTypeParameter]), channel);
  }
  face.key(Key::up, false);
  EXPECT_EQ(channelFromSelect(target.values[kTypeParameter]), 1);
  focusOn(controlOf(ControlKind::bypass));
  face.key(Key::enter, false);
  EXPECT_TRUE(isBypassed(target.values[kBypassParameter]));
  face.key(Key::enter, false);
  EXPECT_FALSE(isBypassed(target.values[kBypassParameter]));

  EXPECT_TRUE(face.key(Key::escape, false));
  EXPECT_EQ(face.state().focus, -1);
  // What the face has no use for is left to the host, such as the space bar for its transport.
  EXPECT_FALSE(face.key(Key::escape, false));
  EXPECT_FALSE(face.key(Key::up, false));
  EXPECT_FALSE(face.type(U' '));
}

// A player who tries what a step does, and takes it back, has changed nothing.
TEST_F(Hands, AStepUpAndOneDownLeadBack) {
  for (int preset = 0; preset < 4; ++preset) {
    click(middleOf(controlOf(ControlKind::nextPreset)));
    for (int index = 1; index <= kNumKnobs; ++index) {
      for (const Key there : {Key::up, Key::pageDown}) {
        focusOn(knobControl(index));
        const float before = target.values[index];
        if (before < 0.1F || before > 0.9F) continue;
        face.key(there, false);
        EXPECT_NE(target.values[index], before) << index;
        face.key(there == Key::up ? Key::down : Key::pageUp, false);
        EXPECT_EQ(target.values[index], before) << index;
      }
    }
    face.update(0.03);
    EXPECT_FALSE(face.state().isChanged);
  }
}

// Keys act on a knob whose focus is seen. After a click, Up and Down and Enter do; the rest, such
// as the digits and Delete, is the host's.
TEST_F(Hands, KeysAreTheHostsWhereNoFocusIsSeen) {
  click(knob(kCleanGain).center);
  const std::size_t moves = target.moves.size();
  for (const Key key : {Key::home, Key::end, Key::remove, Key::backspace, Key::pageUp,
                        Key::pageDown, Key::left, Key::right}) {
    EXPECT_FALSE(face.key(key, false));
  }
  for (const char32_t character : {U'7', U'-', U' ', U'o'}) EXPECT_FALSE(face.type(character));
  EXPECT_FALSE(face.key(Key::escape, false));
  EXPECT_FALSE(face.key(Key::up, false)) << "Escape leaves also what is not seen";
  click(middleOf(controlOf(ControlKind::bypass)));
  const std::size_t pressed = target.moves.size();
  EXPECT_FALSE(face.key(Key::enter, false)) << "a button that was clicked";
  EXPECT_EQ(target.moves.size(), pressed);
  EXPECT_EQ(pressed, moves + 1);

  click(knob(kCleanGain).center);
  EXPECT_TRUE(face.key(Key::up, false));
  expectShown(kCleanGain, "5.10");
  EXPECT_TRUE(face.key(Key::home, false)) << "now it is seen";
  face.loseFocus();
  EXPECT_FALSE(face.key(Key::end, false));
  click(knob(kCleanGain).center);
  EXPECT_TRUE(face.key(Key::enter, false));
  ASSERT_TRUE(face.state().typed.has_value());
  for (const char32_t character : {U'\u00E9', U'\u2212', U'x'}) {
    EXPECT_TRUE(face.type(character)) << "an open field leaves none to the host";
  }
  EXPECT_EQ(face.state().typed->text, "x");
}

// After wheel and keys the bubble stays for a second; a press, a field or the end of the window
// takes it away.
TEST_F(Hands, AFocusThatComesFromOutsideTakesKeysAndEndsTyping) {
  const int gain = knobControl(kCleanGain), master = knobControl(kModernMaster);
  face.focusOn(gain);
  typeText("9");
  ASSERT_TRUE(face.state().typed.has_value());
  face.focusOn(gain);
  EXPECT_TRUE(face.state().typed.has_value()) << "it was there already";
  face.focusOn(master);
  EXPECT_FALSE(face.state().typed.has_value());
  expectShown(kCleanGain, "5.00");
  EXPECT_TRUE(face.key(Key::up, false));
  expectShown(kModernMaster, "5.10");
  for (const int nowhere : {-1, static_cast<int>(controls().size())}) {
    face.focusOn(nowhere);
    EXPECT_EQ(face.state().focus, master);
  }
}

TEST_F(Hands, ABubbleShowsWhatWheelAndKeysDo) {
  const int gain = knobControl(kCleanGain);
  const auto expectBubble = [&](const char* what) {
    EXPECT_EQ(face.state().moving, gain) << what;
    face.update(0.9 * Face::kBubbleSeconds);
    EXPECT_EQ(face.state().moving, gain) << what;
    face.update(0.2 * Face::kBubbleSeconds);
    EXPECT_EQ(face.state().moving, -1) << what;
  };
  face.wheel(knob(kCleanGain).center, 1.0F, false);
  expectBubble("wheel");
  focusOn(gain);
  for (const Key key : {Key::up, Key::pageDown, Key::home, Key::end, Key::remove}) {
    face.key(key, false);
    expectBubble("key");
  }
  for (int n = 0; n < 2; ++n) {
    face.press(knob(kCleanGain).center, MouseButton::left, false, 1.0);
    face.release(knob(kCleanGain).center);
  }
  expectBubble("double-click");
  const std::vector<std::function<void()>> ends = {[&] {
                                                     click({480.0F, 595.0F});
                                                   },
                                                   [&] { face.key(Key::enter, false); },
                                                   [&] { face.letGo(); }};
  for (const auto& end : ends) {
    focusOn(gain);
    face.key(Key::up, false);
    end();
    EXPECT_EQ(face.state().moving, -1);
  }
}

TEST_F(Hands, ValuesAreTypedAsHostsTypeThem) {
  struct Entry {
    int parameter;
    const char* text;
    const char* shown;
  };
  for (const Entry& entry :
       {Entry{kCleanGain, "6.25", "6.25"}, Entry{kCleanGain, "7,5", "7.50"},
        Entry{kCleanGain, "12", "10.00"}, Entry{kInputParameter, "-6 dB", "-6.0 dB"},
        Entry{kGateParameter, "-60", "-60.0 dB"}, Entry{kGateParameter, "off", "Off"}}) {
    face.key(Key::escape, false);
    const Rect& value = knob(entry.parameter).value;
    click(value.center());
    ASSERT_TRUE(face.state().typed.has_value()) << entry.text;
    typeText(entry.text);
    EXPECT_TRUE(face.key(Key::enter, false));
    EXPECT_FALSE(face.state().typed.has_value()) << entry.text;
    EXPECT_STREQ(valueText(entry.parameter, target.values[entry.parameter]).data(), entry.shown);
  }
  EXPECT_EQ(target.begun, 6);

  // What is no value stays, marked, until it is mended; Escape and an empty field leave the knob.
  const float before = target.values[kCleanGain];
  click(knob(kCleanGain).value.center());
  typeText("7x");
  face.key(Key::enter, false);
  ASSERT_TRUE(face.state().typed.has_value());
  EXPECT_TRUE(face.state().typed->isWrong);
  face.key(Key::backspace, false);
  EXPECT_FALSE(face.state().typed->isWrong);
  face.key(Key::escape, false);
  EXPECT_EQ(target.values[kCleanGain], before);
  face.key(Key::enter, false);
  face.key(Key::enter, false);
  EXPECT_EQ(target.values[kCleanGain], before);

  // A digit on a knob begins a value, and a click elsewhere or the Tab key takes it over.
  face.type(U'3');
  click({480.0F, 595.0F});
  EXPECT_FLOAT_EQ(target.values[kCleanGain], 0.3F);
  focusOn(knobControl(kCleanGain));
  typeText("4.5");
  face.key(Key::tab, false);
  EXPECT_FLOAT_EQ(target.values[kCleanGain], 0.45F);
  EXPECT_EQ(face.state().focus, knobControl(kCleanGain) + 1);

  // What holds the keyboard elsewhere drops it, and neither the list nor a knob that is held.
  face.type(U'9');
  face.loseFocus();
  EXPECT_FALSE(face.state().typed.has_value());
  click(middleOf(controlOf(ControlKind::presetName)));
  face.loseFocus();
  EXPECT_TRUE(face.state().menu.has_value());
  face.letGo();
  EXPECT_FALSE(face.state().menu.has_value());
  face.press(knob(kCleanGain).center, MouseButton::left, false, now_s_ + 1.0);
  face.drag({0.0F, 0.0F}, false);
  face.loseFocus();
  EXPECT_EQ(target.open, std::set{kCleanGain});
  face.letGo();
  EXPECT_TRUE(target.open.empty());

  // "off" can be typed from the gate's focus on, and on no other knob.
  target.values[kGateParameter] = 0.5F;
  for (const int parameter : {kInputParameter, kGateParameter}) {
    focusOn(knobControl(parameter));
    EXPECT_EQ(face.type(U'o'), parameter == kGateParameter);
  }
  typeText("ff");
  face.key(Key::enter, false);
  EXPECT_EQ(target.values[kGateParameter], 0.0F);
}

// A host may close the window when it hears of a move.
TEST_F(Hands, AMoveMayEndTheFacesWindow) {
  for (int closingCall = 1; closingCall <= 2; ++closingCall) {  // at the beginning, at the value
    int calls = 0;
    target.whileMoved = [&] {
      if (++calls == closingCall) face.letGo();
    };
    const Point at = knob(kCleanGain).center;
    face.press(at, MouseButton::left, false, closingCall);
    face.drag({at.x, at.y - 20.0F}, false);
    EXPECT_TRUE(target.open.empty());
    face.drag({at.x, at.y - 40.0F}, false);
    EXPECT_EQ(calls, closingCall) << "the drag has ended";
  }
}

TEST_F(Hands, ThePresetMenuListsChoosesAndMarksWhatWasChanged) {
  std::vector<FacePreset> presets = factoryFacePresets();
  const std::size_t factory = presets.size();
  for (int i = 0; i < 30; ++i) {
    ParameterValues values = defaultValues();
    values[1] = static_cast<float>(i) / 100.0F;
    presets.push_back({"Mine " + std::to_string(i), "", values, false});
  }
  face.setPresets(presets);
  EXPECT_EQ(face.state().preset, "Init");
  EXPECT_FALSE(face.state().isChanged);

  click(middleOf(controlOf(ControlKind::presetName)));
  ASSERT_TRUE(face.state().menu.has_value());
  face.type(U'f');
  face.key(Key::enter, false);
  EXPECT_EQ(face.state().preset, "Funk Cut");
  EXPECT_EQ(amplifierValues(target.values),
            presets[static_cast<std::size_t>(target.chosen)].values);
  EXPECT_TRUE(target.open.empty());

  target.values[3] = 0.123F;  // as a host moves it
  face.update(0.03);
  EXPECT_EQ(face.state().preset, "Funk Cut");
  EXPECT_TRUE(face.state().isChanged);
  click(middleOf(controlOf(ControlKind::nextPreset)));
  EXPECT_EQ(face.state().preset, "Pedal Platform");
  EXPECT_FALSE(face.state().isChanged);
  for (int i = 0; i < 2; ++i) click(middleOf(controlOf(ControlKind::previousPreset)));
  EXPECT_EQ(face.state().preset, "Warm Jazz");

  // The last one of a long list, by keys, is in view and wraps to the first.
  focusOn(controlOf(ControlKind::presetName));
  face.key(Key::enter, false);
  face.key(Key::end, false);
  const MenuView end = *face.state().menu;
  EXPECT_GE(end.selectedRow, end.firstRow);
  EXPECT_LT(end.selectedRow, end.firstRow + kMenuRows);
  face.key(Key::enter, false);
  EXPECT_EQ(face.state().preset, "Mine 29");
  face.key(Key::down, false);
  EXPECT_EQ(face.state().preset, "Init");
  EXPECT_EQ(presets[factory].name, "Mine 0");

  // By the mouse: a row below the heading, and a click beside the list chooses nothing.
  click(middleOf(controlOf(ControlKind::presetName)));
  const Point third = menuRowArea(3).center();
  face.drag(third, false);
  EXPECT_EQ(face.state().menu->selectedRow, 3);
  click(third);
  EXPECT_EQ(face.state().preset, "Warm Jazz");
  click(middleOf(controlOf(ControlKind::presetName)));
  const std::size_t moves = target.moves.size();
  click({10.0F, 300.0F});
  EXPECT_FALSE(face.state().menu.has_value());
  EXPECT_EQ(target.moves.size(), moves);
}

// What the wheel brings into view is what Enter chooses.
TEST_F(Hands, TheListsSelectionGoesWithTheWheel) {
  std::vector<FacePreset> presets = factoryFacePresets();
  for (int i = 0; i < 30; ++i) presets.push_back({"Mine", "", defaultValues(), false});
  face.setPresets(presets);
  const auto isInView = [&] {
    const MenuView& menu = *face.state().menu;
    return menu.selectedRow >= menu.firstRow && menu.selectedRow < menu.firstRow + kMenuRows &&
           menuRows(face.presets(), 0)[static_cast<std::size_t>(menu.selectedRow)] >= 0;
  };
  click(middleOf(controlOf(ControlKind::presetName)));
  for (const float way : {-1.0F, 1.0F}) {
    for (int n = 0; n < 12; ++n) {
      face.wheel({5.0F, 5.0F}, way, false);
      EXPECT_TRUE(isInView()) << n;
    }
  }
  face.wheel(menuRowArea(7).center(), -1.0F, false);
  EXPECT_EQ(face.state().menu->firstRow, 3);
  EXPECT_EQ(face.state().menu->selectedRow, 10);
}

TEST_F(Hands, FilesWithAMistakeAreCountedBelowTheUsersOwn) {
  for (const int own : {0, 2}) {
    std::vector<FacePreset> presets = factoryFacePresets();
    for (int i = 0; i < own; ++i) presets.push_back({"Mine", "", presets[3].values, false});
    face.setPresets(presets);
    face.setUnreadableFiles(2);
    click(middleOf(controlOf(ControlKind::presetName)));
    EXPECT_EQ(face.state().menu->unreadable, 2);
    const std::vector<int> rows = menuRows(presets, 2);
    const auto note = std::find(rows.begin(), rows.end(), kUnreadableNote);
    ASSERT_NE(note, rows.end());
    EXPECT_EQ(*(note - 1), kUserHeading);
    EXPECT_EQ(rows.end() - note - 1, own);
    click(menuRowArea(static_cast<int>(note - rows.begin())).center());
    EXPECT_TRUE(face.state().menu.has_value()) << "the note is no button";
    for (const Key way : {Key::down, Key::up, Key::end, Key::down, Key::down}) {
      for (std::size_t n = 0; n < rows.size(); ++n) {
        face.key(way, false);
        EXPECT_GE(rows.at(static_cast<std::size_t>(face.state().menu->selectedRow)), 0);
      }
    }
    face.key(Key::enter, false);
    EXPECT_EQ(target.chosen, static_cast<int>(presets.size()) - 1);
  }
}

// A face that is opened again, of a player who has changed a preset.
TEST_F(Hands, ThePresetIsKnownToTheNextFace) {
  click(middleOf(controlOf(ControlKind::nextPreset)));
  target.values[3] = 0.123F;
  const auto expectNext = [&](const char* preset, bool isChanged) {
    const Face next(target, factoryFacePresets());
    EXPECT_EQ(next.state().preset, preset);
    EXPECT_EQ(next.state().isChanged, isChanged);
  };
  expectNext(face.presets()[1].name.c_str(), true);
  target.values = withAmplifier(target.values, face.presets()[4].values);
  face.update(0.03);
  EXPECT_EQ(target.shown, 4) << "as a host moved them";
  target.shown = 1000;
  target.values[3] = 0.123F;
  expectNext("Custom", false);

  // Values that are still to come are no change of those that are shown until then.
  target.values = withAmplifier(target.values, face.presets()[4].values);
  target.knowsValues = false;
  Face early(target, factoryFacePresets());
  EXPECT_EQ(early.state().preset, face.presets()[4].name);
  target.values[3] = 0.123F;
  target.knowsValues = true;
  early.update(0.03);
  EXPECT_EQ(early.state().preset, "Custom");
}

TEST_F(Hands, MetersHoldPeaksAndClipMarksUntilTheyAreCleared) {
  target.heard = {.inputPeak = 1.0F, .outputPeak = 0.5F, .gateIsOpen = false};
  face.update(0.03);
  EXPECT_TRUE(face.state().input.clipped);
  EXPECT_FALSE(face.state().output.clipped);
  EXPECT_EQ(face.state().input.lit, MeterView::kSegments);
  EXPECT_EQ(face.state().output.text, "-6.0 dBFS");
  EXPECT_FALSE(face.state().gateIsOpen);
  // With a trim of -12 dB the amplifier hears that much less; the guitar has clipped all the same.
  target.values[kInputParameter] = valueFromLevel_db(-12.0);
  face.update(0.03);
  EXPECT_EQ(face.state().input.text, "-12.0 dBFS");
  EXPECT_TRUE(face.state().input.clipped);
  target.heard.outputPeak = HUGE_VALF;
  face.update(0.03);
  EXPECT_EQ(face.state().output.text, "99.9 dBFS");
  click(middleOf(controlOf(ControlKind::outputMeter)));
  target.heard.outputPeak = 0.5F;
  face.update(0.03);
  target.heard = {};
  face.update(0.5);
  EXPECT_EQ(face.state().output.lit, 0);
  EXPECT_EQ(face.state().output.text, "-6.0 dBFS");
  click(middleOf(controlOf(ControlKind::inputMeter)));
  EXPECT_FALSE(face.state().input.clipped);
  for (int i = 0; i < 400; ++i) face.update(0.03);
  EXPECT_EQ(face.state().output.held, 0);
}

// Whatever comes, in whatever order, moves stay paired and within their range.
TEST_F(Hands, SurviveAnyEvents) {
  std::mt19937 random(7);
  const auto below = [&](int most) {
    return static_cast<int>(random() % static_cast<unsigned>(most));
  };
  for (int event = 0; event < 20000; ++event) {
    const Point at = {static_cast<float>(below(1100)) - 70.0F,
                      static_cast<float>(below(700)) - 50.0F};
    const bool isFine = below(4) == 0;
    switch (below(9)) {
      case 0:
        face.press(at, below(2) ? MouseButton::left : MouseButton::right, isFine, event * 0.1);
        break;
      case 1: face.release(at); break;
      case 2:
      case 3: face.drag(at, isFine); break;
      case 4: face.wheel(at, static_cast<float>(below(7) - 3), isFine); break;
      case 5: face.key(static_cast<Key>(below(13)), isFine); break;
      case 6: face.type(static_cast<char32_t>(below(0x180))); break;
      case 7: face.update(0.03); break;
      default: below(20) == 0 ? face.loseFocus() : face.leave(); break;
    }
  }
  face.letGo();
  EXPECT_TRUE(target.open.empty());
}

}  // namespace
}  // namespace quellard

// SPDX-License-Identifier: ISC
// All that a picture of the face depends on. Two equal states give the same picture, and where two
// differ, only the areas of what differs need to be painted.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "face/layout.h"
#include "rig/level_meter.h"
#include "rig/rig_parameters.h"

namespace quellard {

struct FacePreset {
  std::string name;
  std::string description;
  ParameterValues values;
  bool isFactory = true;
};

// "Init", which has every knob at its default, and the factory bank.
std::vector<FacePreset> factoryFacePresets();

// A meter of segments of 2 dB each, the highest up to 0 dBFS.
struct MeterView {
  static constexpr int kSegments = 30;
  static constexpr double kSegment_db = 2.0;

  int lit = 0;       // segments, 0..kSegments
  int held = 0;      // the segment of the held peak, 0 for none
  std::string text;  // the held peak
  bool clipped = false;

  bool operator==(const MeterView&) const = default;
};

// gain_db: what is to be added to the metered level.
MeterView meterView(const LevelMeter& meter, double gain_db);

struct TextField {
  int control = 0;  // a knob
  std::string text;
  bool isWrong = false;  // it was entered and is no value

  bool operator==(const TextField&) const = default;
};

struct MenuView {
  int firstRow = 0;  // that is shown
  int selectedRow = 0;
  int current = -1;    // the preset that is chosen; -1 for none
  int unreadable = 0;  // files of the user's presets

  bool operator==(const MenuView&) const = default;
};

// The menu's rows: places in the list of presets, the headings between them, and the note that
// files are unreadable.
inline constexpr int kFactoryHeading = -2;
inline constexpr int kUserHeading = -3;
inline constexpr int kUnreadableNote = -4;
std::vector<int> menuRows(std::span<const FacePreset> presets, int unreadable);
Rect menuArea(int rows);         // rows: of menuRows()
Rect menuRowArea(int shownRow);  // 0..kMenuRows-1

struct FaceState {
  HostedValues values = defaultHostedValues();
  std::string preset;
  std::string description;
  bool isChanged = false;  // since the preset was chosen
  MeterView input;
  MeterView output;
  bool gateIsOpen = true;
  std::optional<std::string> cabinet;
  bool hasGrip = true;  // the corner by which its window is resized
  // Places in controls(), -1 for none.
  int focus = -1;   // of the keyboard
  int hover = -1;   // under the mouse
  int moving = -1;  // shows its bubble
  std::optional<TextField> typed;
  std::optional<MenuView> menu;

  // An open menu has the keyboard.
  int shownFocus() const { return menu.has_value() ? -1 : focus; }

  bool operator==(const FaceState&) const = default;
};

// Where the pictures of two states differ. A menu's rows are those of `presets`.
std::vector<Rect> changedAreas(const FaceState& before, const FaceState& after,
                               std::span<const FacePreset> presets);

}  // namespace quellard

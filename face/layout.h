// SPDX-License-Identifier: ISC
// Where everything on the face is, in its own units: 960 x 600, which a window may show at any
// scale.
#pragma once

#include <array>
#include <span>

#include "face/geometry.h"
#include "params/sizes.h"
#include "rig/rig_parameters.h"

namespace quellard {

inline constexpr float kFaceWidth = 960.0F;
inline constexpr float kFaceHeight = 600.0F;

// What a player can point at and reach with the Tab key.
enum class ControlKind {
  previousPreset,
  presetName,
  nextPreset,
  bypass,
  channel,
  knob,
  inputMeter,
  outputMeter
};

struct Control {
  ControlKind kind = ControlKind::knob;
  int parameter = 0;       // of a knob, the bypass or the selector; else 0
  int channel = -1;        // 0..2; -1 for none
  Point center;            // of a knob
  float radius = 0.0F;     // of a knob
  Rect area;               // what reacts, and what a keyboard's focus surrounds
  const char* label = "";  // of a knob
  Rect value = {};         // where a knob's value stands, which can be typed
  bool isBipolar = false;
};

// The strips of the three channels.
inline constexpr std::array<Rect, kNumChannels> kStrips = {{
    {20, 78, 920, 128},
    {20, 214, 920, 128},
    {20, 350, 920, 128},
}};

inline constexpr Rect kHeader = {0, 0, kFaceWidth, 76};
inline constexpr Rect kPresetBox = {300, 16, 360, 38};
inline constexpr Rect kPresetText = {280, 56, 400, 16};  // its description
inline constexpr Rect kBypassButton = {836, 20, 96, 30};
inline constexpr Rect kRigPanel = {20, 488, 920, 100};
inline constexpr Rect kInputMeter = {120, 520, 190, 38};
inline constexpr Rect kGateLamp = {408, 530, 76, 20};
inline constexpr Rect kCabinetBox = {530, 518, 120, 46};
inline constexpr Rect kOutputMeter = {690, 520, 160, 38};
inline constexpr Rect kResizeGrip = {938, 578, 22, 22};

// The list of presets, below the box.
inline constexpr Rect kMenu = {230, 58, 500, 472};
inline constexpr float kMenuRowHeight = 26.0F;
inline constexpr float kMenuMargin = 2.0F;
inline constexpr int kMenuRows = 18;

// In the order in which the Tab key visits them.
std::span<const Control> controls();
inline const Control& controlNumber(int index) { return controls()[asSize(index)]; }

// Its place in controls(); -1 where there is none.
int controlAt(Point point);
int knobControl(int parameter);                     // parameter: of a knob or of the rig's three
int controlOf(ControlKind kind, int channel = -1);  // channel: of ControlKind::channel

// Everything that a control draws, with its focus, its bubble and its value.
Rect drawnArea(const Control& control);

// The bubble that shows a knob's value while it moves.
Rect bubbleArea(const Control& control);

}  // namespace quellard

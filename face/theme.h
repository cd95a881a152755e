// SPDX-License-Identifier: ISC
// The colours of the face. Every text keeps a contrast of at least 4.5 to 1 with what lies behind
// it, lit or not.
#pragma once

#include <array>

#include "face/picture.h"
#include "params/parameter_table.h"

namespace quellard::theme {

// CLEAN, VINTAGE and MODERN: blue, amber and red as in the plots, brighter for a dark ground.
inline constexpr std::array<Color, kNumChannels> kChannels = {
    Color::hex(0x4AA3FF), Color::hex(0xF5A623), Color::hex(0xFF4D5E)};

inline constexpr Color kText = Color::hex(0xE9E4DA);
inline constexpr Color kBrightText = Color::hex(0xFFFFFF);
inline constexpr Color kQuietText = Color::hex(0xA39D92);
inline constexpr Color kDarkText = Color::hex(0x14120F);
inline constexpr Color kWrong = Color::hex(0xFF7A70);
inline constexpr Color kFocus = Color::hex(0xFFE9B0);

inline constexpr Color kBackgroundTop = Color::hex(0x2A2622);
inline constexpr Color kBackgroundBottom = Color::hex(0x171512);
inline constexpr Color kLitTop = Color::hex(0x3A352F);
inline constexpr Color kLitBottom = Color::hex(0x262320);
inline constexpr Color kUnlitTop = Color::hex(0x221F1C);
inline constexpr Color kUnlitBottom = Color::hex(0x1D1A18);
inline constexpr Color kPanelTop = Color::hex(0x151311);
inline constexpr Color kPanelBottom = Color::hex(0x100F0D);
inline constexpr Color kMenuBackground = Color::hex(0x1B1916);
inline constexpr Color kMenuSelected = Color::hex(0x38332D);
inline constexpr Color kWell = Color::hex(0x0F0E0C);  // boxes, fields and meters
inline constexpr Color kEdge = Color::hex(0xFFFFFF, 0.10F);

inline constexpr Color kGreen = Color::hex(0x6BE675);
inline constexpr Color kYellow = Color::hex(0xF2D13C);
inline constexpr Color kRed = Color::hex(0xFF4538);
inline constexpr Color kUnlitLamp = Color::hex(0x3B3732);
inline constexpr Color kRigArc = Color::hex(0xE9E4DA);

}  // namespace quellard::theme

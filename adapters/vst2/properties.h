// SPDX-License-Identifier: ISC
// What VST 2.4 hosts may ask about a parameter or a channel of audio beyond its name.
#pragma once

#include <cstdint>

#include "shell/vst2.h"

namespace quellard {

// One channel of audio, as the published interface lays it out.
struct PinProperties {
  char label[64];
  std::int32_t flags;
  std::int32_t arrangement;
  char shortLabel[8];
  char future[48];
};
static_assert(sizeof(PinProperties) == 128);

inline constexpr std::int32_t kPinIsActive = 1 << 0;
inline constexpr std::int32_t kPinIsStereo = 1 << 1;  // the first of two
inline constexpr std::int32_t kPinUsesSpeaker = 1 << 2;

// Flags of a parameter beyond those in vst2.h.
inline constexpr std::int32_t kVstParameterUsesIntStep = 1 << 3;
inline constexpr std::int32_t kVstParameterSupportsDisplayIndex = 1 << 4;
inline constexpr std::int32_t kVstParameterSupportsDisplayCategory = 1 << 5;

// index: of the amplifier's parameter, 1..19; categories are its channels. False, and nothing
// written, for others. Any thread; neither allocates.
bool fillParameterProperties(int index, VstParameterProperties* properties);

// channel: 0..sides-1, likewise.
bool fillPinProperties(bool isInput, int channel, int sides, PinProperties* properties);

}  // namespace quellard

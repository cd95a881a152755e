// SPDX-License-Identifier: ISC
// The records in which VST 2.4 hosts get the properties of a parameter or an audio channel.
#pragma once

#include <cstdint>

#include "shell/vst2.h"

namespace quellard {

// One audio channel, in the layout of the published interface.
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

// index: a parameter of the amplifier, whose channel becomes its category, or of the rig. False,
// and nothing written, for others and for null. [any thread] Neither function allocates.
bool fillParameterProperties(int index, VstParameterProperties* properties);

// The same for an audio channel, 0..sides-1.
bool fillPinProperties(bool isInput, int channel, int sides, PinProperties* properties);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// What LV2 hosts store in projects: the plug-ins' URIs and, in some hosts, port numbers. Neither
// ever changes. The module and the program that writes its description both use this file.
#pragma once

#include <array>
#include <cstdint>

#include "rig/rig_parameters.h"

namespace quellard {

struct Lv2Variant {
  const char* uri;
  const char* name;
  int sides;  // of the audio: one port in and one out for each
};

inline constexpr std::array<Lv2Variant, 2> kLv2Variants = {{
    {"urn:quellard:amplifier", "Quellard", 1},
    {"urn:quellard:amplifier-stereo", "Quellard Stereo", 2},
}};

// Port i-1 controls parameter i of the amplifier in every variant. The audio inputs follow, then
// the outputs, then the control port "enabled", then the parameters of the rig from kInputParameter
// on.
inline constexpr std::uint32_t kLv2FirstAudioPort = kNumStoredValues;
constexpr std::uint32_t lv2EnabledPort(int sides) {
  return kLv2FirstAudioPort + 2 * static_cast<std::uint32_t>(sides);
}
constexpr std::uint32_t lv2PortOf(int parameter, int sides) {
  return isStored(parameter)
             ? static_cast<std::uint32_t>(parameter - 1)
             : lv2EnabledPort(sides) + static_cast<std::uint32_t>(parameter - kBypassParameter);
}

// 0 for a port that is no parameter's.
constexpr int lv2ParameterOf(std::uint32_t port, int sides) {
  for (int parameter = 1; parameter <= kNumHostedValues; ++parameter) {
    if (parameter != kBypassParameter && lv2PortOf(parameter, sides) == port) return parameter;
  }
  return 0;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// What LV2 hosts store in projects: the plug-ins' URIs and, in some hosts, port numbers. Neither
// ever changes. The module and the program that writes its description both use this file.
#pragma once

#include <array>
#include <cstdint>

#include "params/parameter_table.h"

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

// Port i-1 controls parameter i in every variant. The audio inputs follow, then the outputs, then
// the control port "enabled".
inline constexpr std::uint32_t kLv2ControlPorts = kNumStoredValues;
constexpr std::uint32_t lv2EnabledPort(int sides) {
  return kLv2ControlPorts + 2 * static_cast<std::uint32_t>(sides);
}

}  // namespace quellard

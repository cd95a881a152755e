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

// The window, one for all variants.
inline constexpr char kLv2UiUri[] = "urn:quellard:amplifier-ui";

// Port i-1 controls parameter i of the amplifier in every variant. The audio inputs follow, then
// the outputs, then the control port "enabled", then the parameters of the rig from kInputParameter
// on, then what the window's meters show.
inline constexpr std::uint32_t kLv2FirstAudioPort = kNumStoredValues;
constexpr std::uint32_t lv2EnabledPort(int sides) {
  return kLv2FirstAudioPort + 2 * static_cast<std::uint32_t>(sides);
}
constexpr std::uint32_t lv2PortOf(int parameter, int sides) {
  return isStored(parameter)
             ? static_cast<std::uint32_t>(parameter - 1)
             : lv2EnabledPort(sides) + static_cast<std::uint32_t>(parameter - kBypassParameter);
}

// What the plug-in reports: peaks in decibels of full scale, limited to a range, and whether the
// gate lets the signal through.
struct Lv2Report {
  const char* symbol;
  const char* name;
  bool isPeak;
};
enum Lv2ReportIndex : std::uint8_t { kLv2InputPeak, kLv2OutputPeak, kLv2GateOpen, kNumLv2Reports };
inline constexpr std::array<Lv2Report, kNumLv2Reports> kLv2Reports = {{
    {"input_peak", "Input Peak", true},
    {"output_peak", "Output Peak", true},
    {"gate_open", "Gate Open", false},
}};
inline constexpr float kLv2LowestPeak_db = -100.0F;
inline constexpr float kLv2HighestPeak_db = 24.0F;
constexpr std::uint32_t lv2ReportPort(std::uint32_t report, int sides) {
  return lv2PortOf(kNumHostedValues, sides) + 1 + report;
}

// 0 for a port that is no parameter's.
constexpr int lv2ParameterOf(std::uint32_t port, int sides) {
  for (int parameter = 1; parameter <= kNumHostedValues; ++parameter) {
    if (parameter != kBypassParameter && lv2PortOf(parameter, sides) == port) return parameter;
  }
  return 0;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The ids, names and numbers that VST 2.4 hosts store in projects. They never change. The ids
// differ from that of the effect in its own host, where every parameter's number is one higher:
// with the same id, a project saved with one would set each knob of the other to its neighbour's
// value.
#pragma once

#include <cstdint>
#include <optional>

#include "rig/rig_parameters.h"
#include "shell/vst2.h"

namespace quellard {

struct Vst2Variant {
  const char* name;
  std::int32_t uniqueId;
  int sides;
};

inline constexpr Vst2Variant kVst2Mono = {"Quellard", fourCharacters("QUL1"), 1};
inline constexpr Vst2Variant kVst2Stereo = {"Quellard Stereo", fourCharacters("QUL2"), 2};
inline constexpr char kVst2Vendor[] = "Quellard";

// Those of the amplifier and the rig, less the bypass, for which this format has a call.
inline constexpr int kNumVst2Parameters = kNumHostedValues - 1;

// The parameter with this number of the host's; 0, which is none, for one that it should not have.
constexpr int vst2ParameterOf(std::int32_t number) {
  if (number < 0 || number >= kNumVst2Parameters) return 0;
  return number < kNumStoredValues ? number + 1 : number + 2;
}

// The inverse; nothing for the bypass.
constexpr std::optional<std::int32_t> vst2NumberOf(int parameter) {
  if (parameter == kBypassParameter) return std::nullopt;
  return parameter < kBypassParameter ? parameter - 1 : parameter - 2;
}

}  // namespace quellard

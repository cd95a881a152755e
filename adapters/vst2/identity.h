// SPDX-License-Identifier: ISC
// The ids and names that VST 2.4 hosts store in projects. They never change. The ids differ from
// that of the effect in its own host, where every parameter's number is one higher: with the same
// id, a project saved with one would set each knob of the other to its neighbour's value.
#pragma once

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

}  // namespace quellard

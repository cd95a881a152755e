// SPDX-License-Identifier: ISC
// What VST 2.4 hosts remember the plug-ins by. None of it ever changes. The identities are not that
// of the effect in its own host: there a parameter's number is one higher, and a project saved with
// the one would set every knob of the other to its neighbour's value.
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

// SPDX-License-Identifier: ISC
// How long the texts of programs and parameters may be, under the names of the VST 2.4 interface.
// Hosts were compiled with these numbers.
#pragma once

#include <cstdint>

namespace quellard {

inline constexpr std::int32_t kVstMaxProgNameLen = 24;  // with the terminator
inline constexpr std::int32_t kVstMaxParamStrLen = 8;   // without

}  // namespace quellard

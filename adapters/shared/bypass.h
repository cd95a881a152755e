// SPDX-License-Identifier: ISC
// The bypass as a parameter, for formats in which it is one. It follows the amplifier's own twenty
// and has two steps: 0 with the amplifier in the signal, 1 without it.
#pragma once

#include "params/parameter_table.h"

namespace quellard {

// Hosts store automation under this number: it never changes.
inline constexpr int kBypassParameter = kNumParameters;
inline constexpr char kBypassTitle[] = "Bypass";

}  // namespace quellard

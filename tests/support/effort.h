// SPDX-License-Identifier: ISC
// Which kind of build the tests run in, and how many rounds they may take there.
#pragma once

#include <algorithm>

namespace quellard::test {

inline constexpr bool kSanitized = QUELLARD_SANITIZED;  // from CMake

// An emulator is some twenty times slower than the processor.
inline constexpr bool kEmulated = QUELLARD_EMULATED;  // from CMake

#if defined(__OPTIMIZE__)
inline constexpr bool kAtFullSpeed = !kSanitized && !kEmulated;
#else
inline constexpr bool kAtFullSpeed = false;
#endif

// The rounds of a test with random input: fewer in slow builds.
constexpr int effort(int rounds) { return kAtFullSpeed ? rounds : std::max(1, rounds / 8); }

}  // namespace quellard::test

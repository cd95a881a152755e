// SPDX-License-Identifier: ISC
// The calling thread's floating-point control register, on processors on which the amplifier sets
// it.
#pragma once

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace quellard::test {

inline constexpr unsigned kFlushToZeroBit = 0x8000;
inline constexpr unsigned kDenormalsAreZeroBit = 0x40;
inline constexpr unsigned kRoundDownBits = 0x2000;

#if defined(__SSE__)
inline constexpr bool kHasFloatingPointMode = true;
inline unsigned floatingPointMode() { return _mm_getcsr(); }
inline void setFloatingPointMode(unsigned mode) { _mm_setcsr(mode); }
#else
inline constexpr bool kHasFloatingPointMode = false;
inline unsigned floatingPointMode() { return 0; }
inline void setFloatingPointMode(unsigned) {}
#endif

}  // namespace quellard::test

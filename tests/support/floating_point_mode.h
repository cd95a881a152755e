// SPDX-License-Identifier: ISC
// The calling thread's floating-point control register, on processors on which the amplifier sets
// it.
#pragma once

#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace quellard::test {

// kHostsBits: what a host may have set beside it, the rounding among it. kStickyBits: what
// arithmetic itself sets.
#if defined(__SSE__)
inline constexpr bool kHasFloatingPointMode = true;
inline constexpr unsigned kFlushToZeroBit = 0x8000;
inline constexpr unsigned kHostsBits = 0x2040;  // round down, denormals are zero
inline constexpr unsigned kStickyBits = 0x3F;
inline unsigned floatingPointMode() { return _mm_getcsr(); }
inline void setFloatingPointMode(unsigned mode) { _mm_setcsr(mode); }
#elif defined(__aarch64__)
inline constexpr bool kHasFloatingPointMode = true;
inline constexpr unsigned kFlushToZeroBit = 1u << 24;
inline constexpr unsigned kHostsBits = 1u << 23 | 1u << 25;  // round down, one NaN for all
inline constexpr unsigned kStickyBits = 0;                   // they have a register of their own
inline unsigned floatingPointMode() {
  std::uint64_t mode = 0;
  asm volatile("mrs %0, fpcr" : "=r"(mode));
  return static_cast<unsigned>(mode);
}
inline void setFloatingPointMode(unsigned mode) {
  asm volatile("msr fpcr, %0" : : "r"(std::uint64_t{mode}));
}
#else
inline constexpr bool kHasFloatingPointMode = false;
inline constexpr unsigned kFlushToZeroBit = 0, kHostsBits = 0, kStickyBits = 0;
inline unsigned floatingPointMode() { return 0; }
inline void setFloatingPointMode(unsigned) {}
#endif

}  // namespace quellard::test

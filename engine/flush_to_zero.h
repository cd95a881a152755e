// SPDX-License-Identifier: ISC
// Decaying filters end in denormal numbers, which cost a hundred times as much as normal ones.
// While a guard lives, the calling thread's results that would be denormal are zero.
#pragma once

#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace quellard {

// Sets the processor's flush-to-zero flag and restores the whole register at the end, so that the
// host's own mode survives. On x86 denormal operands are left as the host has them; ARM's flag
// flushes them, too. Does nothing on processors without such a flag. [audio thread]
class FlushToZero {
 public:
  FlushToZero() : previous_(read()) { write(previous_ | kFlag); }
  ~FlushToZero() { write(previous_); }
  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;

 private:
#if defined(__SSE__)
  using Register = std::uint32_t;
  static constexpr Register kFlag = 0x8000;  // MXCSR bit 15
  static Register read() { return _mm_getcsr(); }
  static void write(Register value) { _mm_setcsr(value); }
#elif defined(__aarch64__)
  using Register = std::uint64_t;
  static constexpr Register kFlag = Register{1} << 24;  // FPCR.FZ
  static Register read() {
    Register value;
    __asm__ volatile("mrs %0, fpcr" : "=r"(value));
    return value;
  }
  static void write(Register value) { __asm__ volatile("msr fpcr, %0" : : "r"(value)); }
#else
  using Register = std::uint32_t;
  static constexpr Register kFlag = 0;
  static Register read() { return 0; }
  static void write(Register) {}
#endif

  Register previous_;
};

}  // namespace quellard

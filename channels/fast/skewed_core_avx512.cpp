// SPDX-License-Identifier: ISC
// The fast core, built for avx512.
#define QUELLARD_FAST_ISA avx512
#include "channels/fast/skewed_core.h"

namespace quellard::fast {
void runAvx512(PackedChannel& channel, const double* in, double* out, int n) {
  runSkewed(channel, in, out, n);
}
}  // namespace quellard::fast

// SPDX-License-Identifier: ISC
// The fast core, built for avx512.
#define QUELLARD_FAST_ISA avx512
#include "channels/fast/skewed_core.h"

namespace quellard::fast {
void runAvx512(SkewedState& state, const double* in, double* out, int n) {
  runSkewed(state, in, out, n);
}
}  // namespace quellard::fast

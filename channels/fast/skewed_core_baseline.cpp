// SPDX-License-Identifier: ISC
// The fast core, built for baseline.
#define QUELLARD_FAST_ISA baseline
#include "channels/fast/skewed_core.h"

namespace quellard::fast {
void runBaseline(SkewedState& state, const double* in, double* out, int n) {
  runSkewed(state, in, out, n);
}
}  // namespace quellard::fast

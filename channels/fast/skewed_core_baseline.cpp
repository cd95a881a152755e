// SPDX-License-Identifier: ISC
// The fast core, built for baseline.
#define QUELLARD_FAST_ISA baseline
#include "channels/fast/skewed_core.h"

namespace quellard::fast {
void runBaseline(PackedChannel& channel, const double* in, double* out, int n) {
  runSkewed(channel, in, out, n);
}
}  // namespace quellard::fast

// SPDX-License-Identifier: ISC
#include "channels/fast/dispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace quellard::fast {

void runBaseline(PackedChannel& channel, const double* in, double* out, int n);
#if defined(__x86_64__)
void runAvx2(PackedChannel& channel, const double* in, double* out, int n);
void runAvx512(PackedChannel& channel, const double* in, double* out, int n);
#endif

bool available(Isa isa) {
#if defined(__x86_64__)
  __builtin_cpu_init();
  if (isa == Isa::avx2) return __builtin_cpu_supports("avx2") != 0;
  if (isa == Isa::avx512)
    return __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0;
#endif
  return isa == Isa::baseline;
}

namespace {

Isa firstChoice() {
  const char* forced = std::getenv("QUELLARD_ISA");  // NOLINT(concurrency-mt-unsafe)
  if (forced != nullptr) {
    if (std::strcmp(forced, "baseline") == 0) return Isa::baseline;
    if (std::strcmp(forced, "avx2") == 0 && available(Isa::avx2)) return Isa::avx2;
  }
  for (Isa isa : {Isa::avx512, Isa::avx2}) {
    if (available(isa)) return isa;
  }
  return Isa::baseline;
}

std::atomic<Isa>& inForce() {
  static std::atomic<Isa> isa{firstChoice()};
  return isa;
}

}  // namespace

Isa isaInForce() { return inForce().load(std::memory_order_relaxed); }

void force(Isa isa) {
  if (available(isa)) inForce().store(isa, std::memory_order_relaxed);
}

PipelineFunction pipeline() {
#if defined(__x86_64__)
  switch (isaInForce()) {
    case Isa::avx2: return runAvx2;
    case Isa::avx512: return runAvx512;
    case Isa::baseline: break;
  }
#endif
  return runBaseline;
}

}  // namespace quellard::fast

// SPDX-License-Identifier: ISC
// A level that moves in a straight line. A record without functions: it is compiled for every
// instruction set, and of a function's compilations the linker might keep one with AVX for a
// processor without it.
#pragma once

namespace quellard {

// The level at sample k is k * step + start.
struct Ramp {
  double start;
  double step;
};

}  // namespace quellard

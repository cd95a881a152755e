// SPDX-License-Identifier: ISC
// A level that moves in a straight line. A record without functions: the cores of all instruction
// sets include it, and a function would be one that they share.
#pragma once

namespace quellard {

// The level at sample k is k * step + start.
struct Ramp {
  double start;
  double step;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Measures the amplifier as one would measure a real one: a signal in, the answer out. Each
// measurement plays through an instance of its own, whose knobs have settled.
#pragma once

#include <vector>

#include "tools/plugin_host.h"
#include "tools/render.h"

namespace quellard {

struct Point {
  double x;
  double y;
};
using Curve = std::vector<Point>;

// The gain of the amplifier for signals too small to distort: Hz against dB, about 240 points from
// 20 Hz to 20 kHz on a logarithmic scale. VINTAGE and MODERN treat the two signs differently
// however small the signal (about 10 % between the slopes of their last stage), so the answer is
// that to the part that changes sign with the input.
// rate: Hz, here and below.
Curve measureResponse(const PluginModule& module, const StartingPoint& start, int rate);

// How far the output swings for a sine of growing level: input peak against output peak, upward
// swings at positive levels and downward ones at negative levels. Levels in full scales.
Curve measureTransfer(const PluginModule& module, const StartingPoint& start, int rate);

// The level of a steady sine's harmonics and of all between: Hz against dBFS, up to half the rate.
// note_hz: its frequency. peak: its level in full scales.
Curve measureSpectrum(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz, double peak);

}  // namespace quellard

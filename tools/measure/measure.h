// SPDX-License-Identifier: ISC
// Measurements of the amplifier with test signals. Each uses its own instance of the plug-in, after
// a preroll (render_rig.h), so that no knob moves.
#pragma once

#include <vector>

#include "tools/host/plugin_host.h"
#include "tools/host/render_rig.h"

namespace quellard {

struct Point {
  double x;
  double y;
};
using Curve = std::vector<Point>;

// The frequency response for signals too small to distort: x in Hz, y in dB, about 240 points from
// 20 Hz to 20 kHz on a logarithmic scale. The last stage of VINTAGE and MODERN has slopes for
// positive and negative samples that differ by about 10 % at any level, so this is the response of
// the part of the output that changes sign with the input. rate: Hz, here and below.
Curve measureResponse(const PluginModule& module, const StartingPoint& start, int rate);

// The transfer curve for a sine of increasing level: x is the input's peak, y the output's;
// positive peaks at positive x, negative ones at negative x. Full scale is 1.
Curve measureTransfer(const PluginModule& module, const StartingPoint& start, int rate);

// The spectrum of the output for a steady sine: x in Hz up to half the rate, y in dBFS.
// note_hz: the sine's frequency. peak: its level; full scale is 1.
Curve measureSpectrum(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz, double peak);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Pictures of what the amplifier does, measured through the plug-in and drawn by gnuplot.
#pragma once

#include <filesystem>
#include <string>

#include "tools/render.h"

namespace quellard {

enum class PlotPage { all, tone, transfer, spectrum };

struct PlotSettings {
  StartingPoint start;  // the knobs that a picture does not move itself
  PlotPage page = PlotPage::all;
  int rate = 48000;        // Hz
  double note_hz = 110.0;  // of the spectrum
};

// "tone", "transfer", "spectrum" or "all"; throws UsageError for another word.
PlotPage parsePlotPage(const std::string& text);

// Draws, with a row or a panel for each of the three channels:
//   tone      the response for small signals while one knob moves over its range
//   transfer  how far the output swings at each input level, for several places of GAIN
//   spectrum  the harmonics of a steady note
// picture: a name that ends in .png or .svg, otherwise UsageError. Throws FileError when gnuplot is
// missing or the picture cannot be written, and Interrupted.
void plotAmplifier(const PluginModule& module, const std::filesystem::path& picture,
                   const PlotSettings& settings);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Pictures of the amplifier's tone, transfer curves and spectra, drawn by gnuplot.
#pragma once

#include <filesystem>
#include <string>

#include "tools/host/render_rig.h"

namespace quellard {

enum class PlotPage { all, tone, transfer, spectrum };

struct PlotSettings {
  StartingPoint start;  // the knobs, apart from those that a picture moves itself
  PlotPage page = PlotPage::all;
  int rate = 48000;        // Hz
  double note_hz = 110.0;  // of the spectrum
};

// "tone", "transfer", "spectrum" or "all"; throws UsageError for another word.
PlotPage parsePlotPage(const std::string& text);

// Draws, with a row or a panel for each of the three channels:
//   tone      the frequency response for several positions of each tone knob
//   transfer  the output's peak over the input's, for several positions of GAIN
//   spectrum  the harmonics of a steady note
// picture: ends in .png or .svg, otherwise UsageError. Throws FileError when gnuplot is missing or
// the picture cannot be written, and Interrupted.
void plotAmplifier(const PluginModule& module, const std::filesystem::path& picture,
                   const PlotSettings& settings);

}  // namespace quellard

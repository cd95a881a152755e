// SPDX-License-Identifier: ISC
// Plays one audio file through the amplifier into another.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/automation.h"
#include "tools/plugin_host.h"
#include "tools/progress.h"
#include "tools/settings_options.h"

namespace quellard {

struct RenderSettings {
  StartingPoint start;
  std::vector<Move> moves;   // in the order of time
  int blockLength = 512;     // frames, > 0
  double tailSeconds = 0.0;  // silence played after the end of the input, >= 0
  bool mono = false;         // the mean of the input's channels through one amplifier
  bool settle = true;        // see settle()
  std::string sampleFormat;  // as formatFor() takes it
  std::string streamType;    // the file type on a stream whose name says none: "wav"
};

struct RenderResult {
  double seconds = 0.0;  // of audio written
  double elapsed = 0.0;  // seconds of work
  std::optional<double> peak_dbfs;
  std::optional<double> loudness_lufs;
  std::int64_t clipped = 0;   // samples cut at full scale
  std::size_t lateMoves = 0;  // moves at or after the end, never heard
  bool truncated = false;     // the input ended before the place that it gives itself
};

void applyStart(PluginInstance& amplifier, const StartingPoint& start);

// Lets the knobs reach their places before the first sample is played. The amplifier glides to a
// new setting over one block and rises from silence in its first one, which is right for a hand
// on a knob, but would fade in the beginning of every file, slower with longer blocks. A block of
// no frames puts the filters of all three channels and the drive and level of the audible one in
// their places, and leaves no other trace. A channel that a move switches to later still raises
// drive and level from nothing over its first block, as it does in every host.
void settle(PluginInstance& amplifier);

// Cuts the time of a render into blocks: none longer than blockLength, and one beginning exactly
// at every move, which then takes its time whatever the blocks (rig/parameter_smoother.h).
class BlockPlan {
 public:
  // rate: Hz, turns the moves' seconds into the nearest frame.
  BlockPlan(const std::vector<Move>& moves, double rate, int blockLength);

  // Steps to the next block and returns its length in frames.
  int next();

  // The moves that are due where the present block begins (before the first next(), at the start),
  // each given once, in order.
  std::vector<Setting> due();

  // Moves that have not been given.
  std::size_t left() const { return frames_.size() - nextMove_; }

 private:
  const std::vector<Move>& moves_;
  std::vector<std::int64_t> frames_;  // where each move falls
  int blockLength_;
  std::int64_t begin_ = 0;  // of the present block
  std::int64_t end_ = 0;
  std::size_t nextMove_ = 0;
};

// Renders input to output, mono to mono, with more channels one amplifier for each. The output
// appears only when it is complete. Tells progress how much there is to do. May run on several
// threads at once, for different outputs; the result is the same to the bit. Throws UsageError,
// FileError or Interrupted.
RenderResult renderFile(const PluginModule& module, const std::filesystem::path& input,
                        const std::filesystem::path& output, const RenderSettings& settings,
                        Progress& progress);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Plays one audio file through the amplifier into another.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/host/plugin_host.h"
#include "tools/host/progress.h"
#include "tools/host/render_rig.h"
#include "tools/settings/automation.h"

namespace quellard {

struct RenderSettings {
  RigSettings rig;
  std::vector<Move> moves;   // in the order of time
  double tailSeconds = 0.0;  // silence played after the end of the input, >= 0
  bool mono = false;         // the mean of the input's channels through one amplifier
  bool preroll = true;       // see preroll()
  std::string sampleFormat;  // see formatFor()
  std::string streamType;    // the file type for a stream whose name has no ending: "wav"
};

struct RenderResult {
  int rate = 0;                          // Hz
  int channels = 0;                      // of the output
  std::int64_t frames = 0;               // length of the output
  double seconds = 0.0;                  // the same
  double elapsed = 0.0;                  // seconds that rendering took
  std::optional<double> inputPeak_dbfs;  // of the guitar behind the input trim
  double gateClosed = 0.0;               // share of the time, 0..1; 0 where it is off
  std::optional<double> peak_dbfs;
  std::optional<double> loudness_lufs;
  std::int64_t clipped = 0;   // samples beyond full scale
  std::size_t lateMoves = 0;  // moves at or after the end of the audio
  bool truncated = false;     // the input is shorter than its header says, or damaged
};

// Divides the time of a render into blocks of at most blockLength, so that a block begins at every
// move. The moves themselves take a fixed time (rig/parameter_smoother.h).
class BlockPlan {
 public:
  // rate: Hz. Moves are rounded to the nearest frame.
  BlockPlan(const std::vector<Move>& moves, double rate, int blockLength);

  // Steps to the next block and returns its length in frames.
  int next();

  // The moves at the start of the present block (before the first next(), at time 0), in order.
  // Each is returned once.
  std::vector<ParameterChange> due();

  // The number of moves that due() has not returned.
  std::size_t left() const { return frames_.size() - nextMove_; }

 private:
  const std::vector<Move>& moves_;
  std::vector<std::int64_t> frames_;  // of the moves
  int blockLength_;
  std::int64_t begin_ = 0;  // of the present block
  std::int64_t end_ = 0;
  std::size_t nextMove_ = 0;
};

// Renders input to output with one amplifier per channel. The output appears only when it is
// complete. Reports to progress. May run on several threads at once, for different outputs, with
// the same bits. Throws UsageError, FileError or Interrupted.
RenderResult renderFile(const PluginModule& module, const std::filesystem::path& input,
                        const std::filesystem::path& output, const RenderSettings& settings,
                        Progress& progress);

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/render_options.h"

#include <CLI/CLI.hpp>

#include "tools/common/parsing.h"
#include "tools/files/audio_format.h"
#include "tools/host/render_limits.h"

namespace quellard {

void addSharedRenderOptions(CLI::App& command, RenderOptions& options) {
  addValue(command, "--format", options.sampleFormat, "FORMAT",
           "Sample format (float where the file type can): " + sampleFormatNames() +
               ". All but float and double are cut at full scale");
  addValue(command, "--type", options.fileType, "ENDING",
           "File type of results in a folder or on standard output (wav)");
  addValue(command, "--automation", options.automation, "FILE",
           "Knob moves: lines of 'seconds, parameter, value'");
  command.add_flag("--mono", options.mono,
                   "Play the mean of all channels through one amplifier: a take recorded on both "
                   "sides drives it as one side does");
  addValue(command, "--tail", options.tail, "SECONDS", "Silence to play after the end (0)");
  addValue(command, "--block", options.block, "FRAMES", "Block to play at a time (512)");
  addValue(command, "-j,--jobs", options.threads, "N", "Files to render at the same time (1)");
  command.add_flag("-q,--quiet", options.quiet, "No progress bar and no summary");
  addSettingsOptions(command, options.settings.knobs);
  addRigOptions(command, options.settings.rig);
}

int blockLengthFrom(const RenderOptions& options) {
  return integerWithin("--block", options.block, 1, kLongestBlock);
}

double tailSecondsFrom(const RenderOptions& options) {
  return numberWithin("--tail", options.tail, 0.0, kLongestTail_s);
}

int threadsFrom(const RenderOptions& options) {
  return integerWithin("--jobs", options.threads, 1, kMostThreads);
}

}  // namespace quellard

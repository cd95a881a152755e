// SPDX-License-Identifier: ISC
// Plays arrays as the command plays files, to the bit.
#pragma once

#include <memory>
#include <mutex>
#include <pybind11/pybind11.h>
#include <string>
#include <utility>
#include <vector>

#include "python/arrays.h"
#include "tools/host/render_rig.h"
#include "tools/settings/chosen_settings.h"

namespace quellard {

// Names and values as of chosen_settings.h, in order.
using Assignments = std::vector<std::pair<std::string, std::string>>;

// The amplifier, which is part of this library.
const PluginModule& linkedAmplifier();

// rate: of any Python number, Hz. Throws UsageError where the amplifier cannot play it.
int checkedRate(double rate);

// The name of a file of moves, or lines of them.
struct Automation {
  std::string file;  // "" for lines
  std::string lines;
};

// Renders x, followed by tailSeconds of silence, into out, or a new array of the same kind for
// None. automation: null for none. Raises UsageError, FileError, and what AudioArray raises; frees
// the interpreter's lock while it plays.
pybind11::object render(const pybind11::object& x, double rate, const Assignments& settings,
                        const Automation* automation, int blockLength, double tailSeconds,
                        const pybind11::object& out);

// Plays blocks of every channel, where it can in the output's own memory, otherwise in buffers of
// its own, which are kept.
class Blocks {
 public:
  explicit Blocks(int channels);

  // Plays `frames` samples from `begin` on; behind the end of x there is silence. Throws UsageError
  // for NaN and infinity. Without the interpreter's lock.
  void play(RenderRig& rig, const AudioArray& x, AudioArray& out, std::int64_t begin, int frames);

 private:
  double* placeFor(AudioArray& out, int channel, std::int64_t begin, int frames);

  std::vector<std::vector<double>> samples_;
  std::vector<double*> sides_;
};

// A stream of blocks, in which what has been set is kept. Calls from several threads wait for each
// other, all but process() without the interpreter's lock, which process() frees.
class StreamingAmp {
 public:
  struct Settings {
    HostedValues values = defaultHostedValues();
    CabinetChoice cabinet = {};
  };

  // Begins as silent as a render. blockLength: blocks are played in pieces of up to so many frames.
  StreamingAmp(double rate, int channels, int blockLength);

  // Values change in a move of 12 ms from the next block on; before the first block, at once. Where
  // an error is thrown nothing is changed. A preset or program replaces all values of the
  // amplifier.
  void set(const Assignments& assignments);

  // Plays a block of any length into out, or a new array of the same kind for None.
  pybind11::object process(const pybind11::object& x, const pybind11::object& out);

  // Back to silence; the settings stay. Throws FileError for a cabinet that is gone.
  void reset();

  Settings settings() const;
  int rate() const { return rate_; }
  int channels() const { return channels_; }
  int blockLength() const { return blockLength_; }

 private:
  std::unique_ptr<RenderRig> newRig() const;

  mutable std::mutex mutex_;
  int rate_;
  int channels_;
  int blockLength_;
  Settings settings_;
  Blocks blocks_;
  std::unique_ptr<RenderRig> rig_;  // null before the first block
};

}  // namespace quellard

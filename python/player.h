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

// Lines of moves, or the name of a file of them.
struct Automation {
  std::string text;
  std::string name;  // of the file, or for messages
  bool isFile = false;
};

// Renders x, followed by tailSeconds of silence, into out, or a new array of the same kind for
// None. automation: null for none. Raises UsageError, FileError, and what AudioArray raises; frees
// the interpreter's lock while it plays.
pybind11::object render(const pybind11::object& x, double rate, const Assignments& settings,
                        const Automation* automation, int blockLength, double tailSeconds,
                        const pybind11::object& out);

// A stream of blocks, in which what has been set is kept. Calls from several threads wait for each
// other.
class StreamingAmp {
 public:
  // Begins as silent as a render. blockLength: blocks are played in pieces of up to so many frames.
  StreamingAmp(double rate, int channels, int blockLength);

  // Values change in a move of 12 ms from the next block on; before the first block, at once. Where
  // an error is thrown nothing is changed. A preset or program replaces all values of the
  // amplifier.
  void set(const Assignments& settings);

  // Plays a block of any length into out, or a new array of the same kind for None.
  pybind11::object process(const pybind11::object& x, const pybind11::object& out);

  // Back to silence; the settings stay.
  void reset();

  HostedValues values() const;
  CabinetChoice cabinet() const;
  int rate() const { return rate_; }
  int channels() const { return channels_; }
  int blockLength() const { return blockLength_; }

 private:
  RenderRig& rig();

  mutable std::mutex mutex_;
  int rate_;
  int channels_;
  int blockLength_;
  HostedValues values_ = defaultHostedValues();
  CabinetChoice cabinet_;
  std::unique_ptr<RenderRig> rig_;  // null before the first block
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Amplifiers with the rig around them, one amplifier for each channel of the audio, all with the
// same values. Renders and streams of blocks go through it, so that both give the same bits.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "rig/parameter_smoother.h"
#include "rig/rig_chain.h"
#include "rig/rig_parameters.h"
#include "tools/host/plugin_host.h"
#include "tools/settings/cabinet_choice.h"
#include "tools/settings/settings_options.h"

namespace quellard {

void applyStart(PluginInstance& amplifier, const StartingPoint& start);

// Plays a block of no frames, after which the filters of all three channels and the drive and level
// of the one that plays have the knobs' values; it has no other effect. Without it the amplifier
// would glide there from silence over its first block, and fade in the beginning of every file, the
// slower the longer the block. A channel that a move selects later still fades in its drive and
// level over its first block, as in every host.
void preroll(PluginInstance& amplifier);

struct RigSettings {
  StartingPoint start;
  HostedValues values = defaultHostedValues();  // only those behind the bypass count
  CabinetChoice cabinet = {};
  int blockLength = 512;  // frames, > 0
};

class RenderRig {
 public:
  // rate: Hz, within PluginModule's limits. Throws FileError.
  RenderRig(const PluginModule& module, int channels, int rate, const RigSettings& settings);

  // Sets values without a glide, before the first block, and plays the preroll if wanted.
  void begin(const std::vector<ParameterChange>& start, bool withPreroll);

  // From the next block on, in a move of 12 ms: values of the amplifiers; kInputParameter to
  // kOutputParameter of these.
  void move(const std::vector<ParameterChange>& changes);
  void moveRig(const HostedValues& values) { chain_.moveTo(values); }

  // Throws FileError; then the cabinet stays as it was.
  void changeCabinet(const CabinetChoice& choice);

  // Plays a block in place. sides: an array of samples for each channel. frames: up to the block
  // length.
  void process(std::span<double* const> sides, int frames);

  int channels() const { return static_cast<int>(amplifiers_.size()); }

  // The largest magnitude of a sample behind the input trim, once it is to be measured, which costs
  // a little.
  void measureInput() { measuresInput_ = true; }
  double inputPeak() const { return inputPeak_; }
  std::int64_t gateClosedFrames() const { return chain_.gateClosedFrames(); }

 private:
  void measure(int frames);
  void processStep(std::span<double* const> sides, int begin, int frames);

  int rate_;
  std::vector<std::unique_ptr<PluginInstance>> amplifiers_;
  ParameterSmoother smoother_;
  RigChain chain_;
  std::vector<double*> step_;  // where the present step begins in each side
  bool measuresInput_ = false;
  double inputPeak_ = 0.0;
};

}  // namespace quellard

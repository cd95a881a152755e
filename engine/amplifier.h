// SPDX-License-Identifier: ISC
// The amplifier: everything of an effect instance that makes sound, from plain buffers to plain
// buffers, without a host. The effect object derives from it, and hosts share that object's layout:
// the order and the names of the fields are part of the interface, which calls the channel selector
// "type". processBlock() and its steps are defined in process_block.cpp, all else in amplifier.cpp.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "channels/amp_channel.h"
#include "dsp/taper.h"
#include "engine/channel_switcher.h"
#include "params/parameter_table.h"
#include "params/program.h"

namespace quellard {

class Amplifier {
 public:
  Amplifier();
  ~Amplifier();
  Amplifier(const Amplifier&) = delete;
  Amplifier& operator=(const Amplifier&) = delete;

  // Plays `frames` samples of `in` into `out`; both may be the same array. A count below 1 touches
  // neither, but moved knobs still reach the channels. Silence before the first sample-rate setup,
  // where memory is short, and for a block in which a channel's signal turned non-finite.
  // [audio thread] Holds processLock. Allocates in the first block after a sample-rate setup and in
  // each of another length than the last one; after reserve() only in one beyond reservedFrames.
  void processBlock(double* in, double* out, int frames);

  // The sample-rate setup: builds everything that depends on the rate. Hz; the rate in force, NaN,
  // infinities and rates that are not positive change nothing. Returns whether it built. Not while
  // a block is played. On an exception (no memory) no channel is left, and the next call builds
  // again. knobMinimum: what every taper returns at a knob's minimum.
  bool prepare(double rate, double knobMinimum = 0.0);

  // Allocates buffers for blocks of up to `frames` samples, for hosts that change the length from
  // block to block: they then play without allocating, across sample-rate setups too. A smaller
  // count than one reserved before changes nothing. May throw std::bad_alloc, which leaves the
  // buffers as they were. Not while a block is played.
  void reserve(int frames);

  // Goes back to where the last sample-rate setup left the sound: states, fades, glides and
  // levels, so that the same blocks give the same bits again. Knobs, selector, programs and buffers
  // stay. Nothing before the first setup. [audio thread] Holds processLock, allocates nothing.
  void reset();

  // Where the current value of a parameter is kept; null for indices without one.
  std::atomic<float>* liveValue(int index);
  const std::atomic<float>* liveValue(int index) const;

  // Held for a whole block and for each store of a parameter. Recursive.
  std::recursive_mutex processLock;
  std::unique_ptr<QuellardProgram[]> programs;
  // The knobs, which the host interface calls controls: 0..1, six per channel in the order of the
  // parameters: PRESENCE, BASS, MID, TREBLE, MASTER, GAIN.
  std::array<std::atomic<float>, kNumKnobs> controlValues;
  // As last pushed to the channels: BASS, MID, TREBLE, PRESENCE, MASTER, GAIN. After a setup -1,
  // outside the range of the knobs, so that every knob counts as moved.
  std::array<float, kNumKnobs> appliedValues;
  std::atomic<float> typeValue;  // the channel selector, 0..1
  std::int32_t activeChannel;    // the audible one
  std::unique_ptr<ChannelSwitcher> channelSwitch;
  std::unique_ptr<double[]> fadeBuffer;
  bool typePending;           // the selector is yet to be adopted, by the next block
  std::int32_t bufferFrames;  // the length of the last block; the buffers may be longer
  // MASTER, GAIN, BASS, MID, TREBLE, PRESENCE for each channel.
  std::array<std::unique_ptr<edit<double>>, kNumKnobs> tapers;
  double appliedSampleRate;  // Hz; -1 before the first setup
  std::array<std::unique_ptr<AmpChannelBase>, kNumChannels> channels;
  std::unique_ptr<double[]> channelBuffer;
  // The longest block that needs no allocation: what reserve() was asked for, or a longer block
  // since. 0 without reserve(), and after a block that found memory short: then the first block
  // after a setup allocates, and every block of another length than the last one.
  std::int32_t reservedFrames;
  // The designs with which the tunable sections of each channel, input shelf and tone stack, were
  // built. The first block glides from there to the knobs, and so does the first after a reset().
  static constexpr std::size_t kMostTunableSections = 8;
  using TunableDesigns = std::array<IIRFilter::Coefficients, kMostTunableSections>;
  std::array<TunableDesigns, kNumChannels> builtDesigns;

  // The rate, in Hz, of the last setup in this process whose waveshaper tables are complete; -1 at
  // load. A setup at the same rate need not ask for them.
  static std::atomic<double> clipSampleRate;

 private:
  void adoptFirstSelector();
  void pushMovedKnobs(int frames);
  void pushChannelKnobs(std::size_t channel, int frames);
  bool sizeBuffers(int frames);
  bool playChannels(int outgoingChannel, int switchPoint, double* in, int frames);
  void writeOutput(double* out, int frames) const;
  void rememberKnobs();

  void buildChannels(double rate);
  void buildTapers(double knobMinimum);
};

}  // namespace quellard

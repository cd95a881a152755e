// SPDX-License-Identifier: ISC
// The amplifier as hosts of today need it: one effect for each side (mono has one, stereo two with
// the same knobs), parameters that any thread may move, a bypass, and audio buffers of either
// precision. Knobs move over a fixed time (parameter_smoother.h), and input is limited to 60 dB
// above full scale (samples.h).
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "params/parameter_table.h"
#include "rig/bypass.h"
#include "rig/parameter_smoother.h"
#include "rig/peak_meter.h"
#include "rig/rig_chain.h"
#include "shell/quellard.h"

namespace quellard {

// A host's inputs or outputs: an array of channel pointers in one of the two precisions, the other
// null. Where both arrays are null, a channel is beyond count or its pointer is null, input reads
// as silence and output is dropped.
struct AudioChannels {
  float* const* floats = nullptr;
  double* const* doubles = nullptr;
  int count = 0;
};

class HostedAmp {
 public:
  static constexpr int kMono = 1;
  static constexpr int kStereo = 2;
  // This long after the input has fallen silent, without a cabinet, the output is below -120 dB of
  // full scale. CLEAN with BASS at 10 decays slowest (rig_tests --gtest_filter=*Tail* prints the
  // time).
  static constexpr double kTailSeconds = 2.0;
  static std::uint32_t tailFrames(double rate);  // the same in frames; rate: Hz
  // Limits the buffers, since hosts may announce any block length: about 20 seconds at 48 kHz.
  static constexpr int kLongestPiece = 1 << 20;

  // Every parameter at its default. sides: kMono or kStereo.
  explicit HostedAmp(int sides);

  // Builds new effects for a rate in Hz and blocks of up to maxFrames. They start from silence; the
  // parameters stay. Returns false and changes nothing for a rate or a count that is not positive
  // and finite. May throw std::bad_alloc, which changes nothing either. Not while play() runs.
  bool prepare(double rate, int maxFrames);

  // Clears filters and fades and keeps the parameters: what is played next sounds as after
  // prepare(). [audio thread] Never allocates.
  void reset();

  // The parameters of the amplifier and of the rig (rig_parameters.h); other indices are ignored
  // and read as 0. Values are limited to 0..1, NaN is ignored. value() returns the new value at
  // once; the sound starts to move there with the next call of play(). [any thread] No lock, no
  // allocation.
  void setValue(int index, float value);
  float value(int index) const;
  // The same for all of the amplifier, as a preset sets them, and for all there are. They are
  // stored one by one: a play() at the same moment may see some of them only, the next one sees
  // all.
  void setValues(const ParameterValues& values);
  void setHostedValues(const HostedValues& values);
  ParameterValues values() const;
  HostedValues hostedValues() const;

  // kBypassParameter, from 0.5 up: takes the amplifier and the rig out of the signal, or back in,
  // with a crossfade of 10 ms from the next call of play() on. While bypassed the output is the
  // input, bit for bit, and the amplifier plays on unheard. [any thread] No lock, no allocation.
  void setBypass(bool bypassed) { setValue(kBypassParameter, bypassed ? 1.0F : 0.0F); }
  bool bypassed() const { return isBypassed(value(kBypassParameter)); }

  // The loudspeaker, none at first: what is loaded is removed by prepare(). [not the audio thread]
  Cabinet& cabinet() { return chain_.cabinet(); }

  // Whether the gate lets the signal through. [any thread]
  bool gateIsOpen() const { return chain_.gateIsOpen(); }

  // Whether the levels are measured, which costs a little; not at first. Without it they stand
  // still. [any thread]
  void measureLevels(bool measures) { measuresLevels_.store(measures, std::memory_order_relaxed); }
  // The largest magnitude of the last moment, in front of the input trim and at the output, of both
  // sides. [any thread]
  float inputPeak() const { return inputPeak_.peak(); }
  float outputPeak() const { return outputPeak_.peak(); }
  // How many blocks were measured: levels are old where this stands still, as in a host that has
  // stopped. [any thread]
  unsigned measuredBlocks() const { return outputPeak_.blocks(); }

  // Plays frames begin..end-1 of a host's block, and writes silence before the first prepare(). The
  // output may be the input, in any order of channels. The first call after prepare() or reset()
  // begins with every knob at its value (preroll), as a render does: the effect alone would glide
  // there over one block, so that the beginning of a song would depend on the host's block length.
  // [audio thread] Never allocates; more frames than maxFrames (or kLongestPiece) are played in
  // pieces of that length.
  void play(const AudioChannels& in, const AudioChannels& out, int begin, int end);

  int sides() const { return sides_; }
  double rate() const { return rate_; }  // Hz; 0 before the first prepare()

 private:
  struct Side {
    std::unique_ptr<Quellard> effect;
    std::vector<double> samples;  // the host's, converted; played in place
    std::vector<double> dry;      // the input, kept while the bypass is engaged or fades
  };

  std::vector<Side> buildSides(double rate, int maxFrames) const;
  void setParameter(int index, float value);
  void adoptMovedValues();
  void preroll();
  void playPiece(const AudioChannels& in, const AudioChannels& out, int begin, int frames);
  void readSides(const AudioChannels& in, int begin, int frames, bool keepDry);
  void playSides(int frames);
  void measure(PeakMeter& meter, int frames);

  int sides_;
  bool prerolled_ = false;
  double rate_ = 0.0;
  int maxFrames_ = 0;
  std::vector<Side> built_;  // empty before the first prepare()
  // The values last set, by any thread. Only the audio thread passes them to the effects, so that
  // both sides move in the same block and nobody waits for their lock.
  PerParameter<std::atomic<float>, kNumHostedValues> targets_;
  ParameterSmoother smoother_;
  RigChain chain_;
  Bypass bypass_;
  std::atomic<bool> measuresLevels_ = false;
  PeakMeter inputPeak_;
  PeakMeter outputPeak_;
};

}  // namespace quellard

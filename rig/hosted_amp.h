// SPDX-License-Identifier: ISC
// The amplifier as hosts of today see it: one effect for each side (mono has one, stereo two with
// the same settings), opened without a host, behind parameters that any thread may move, a bypass
// and audio buffers of either precision. Knobs move over a fixed time (parameter_smoother.h), and
// input is held within 60 dB above full scale (samples.h).
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "params/parameter_table.h"
#include "rig/bypass.h"
#include "rig/parameter_smoother.h"
#include "shell/quellard.h"

namespace quellard {

// One direction of a host's audio: an array of channel pointers in one of the two precisions, the
// other null. Where an array, a channel or its pointer is missing, input is silence and output goes
// nowhere.
struct AudioChannels {
  float* const* floats = nullptr;
  double* const* doubles = nullptr;
  int count = 0;
};

class HostedAmp {
 public:
  static constexpr int kMono = 1;
  static constexpr int kStereo = 2;
  // Within this time after the input has fallen silent the output is below -120 dB of full scale:
  // CLEAN with all its bass takes longest (adapters_tests --gtest_filter=*Tail* prints what a pluck
  // leaves).
  static constexpr double kTailSeconds = 2.0;
  static std::uint32_t tailFrames(double rate);  // the same at a rate in Hz
  // Hosts may announce any length; buffers for 20 seconds are as much as makes sense.
  static constexpr int kLongestPiece = 1 << 20;

  // Every parameter at its default. sides: kMono or kStereo.
  explicit HostedAmp(int sides);

  // Builds new effects for a rate in Hz and blocks of up to maxFrames; what was heard before is
  // gone, the parameters stay. False, with everything as it was, for a rate or a count that is not
  // positive and finite. May throw std::bad_alloc, likewise. Not while audio is played.
  bool prepare(double rate, int maxFrames);

  // Forgets the sound and keeps the parameters, as a new prepare() would. [audio thread] Never
  // allocates.
  void reset();

  // Parameters 1..19; other indices keep nothing and read as 0. A value is held within 0..1,
  // NaN moves nothing. The next stretch of audio begins to move there, on both sides; it reads as
  // the new one at once. [any thread] No lock, no allocation.
  void setValue(int index, float value);
  float value(int index) const;
  // The same for all nineteen, one after the other: a stretch that begins in between plays a
  // mixture, the next one has them all.
  void setValues(const ParameterValues& values);
  ParameterValues values() const;

  // Takes the amplifier out of the signal, or back in, with a crossfade of 10 ms from the next
  // stretch of audio on. In between the output is the input, bit for bit, and the amplifier plays
  // on unheard. The bypass stays through prepare() and reset(). [any thread] No lock, no
  // allocation.
  void setBypass(bool bypassed) { bypassed_.store(bypassed, std::memory_order_relaxed); }
  bool bypassed() const { return bypassed_.load(std::memory_order_relaxed); }

  // Plays frames begin..end-1 of a host's block, and writes silence before the first prepare(). The
  // output may be the input, in any order of channels. The first stretch after prepare() or reset()
  // finds every knob in its place, as a render does: the effect alone would glide there over one
  // block, so that the beginning of a song would depend on the host's block length. [audio thread]
  // Never allocates; stretches longer than maxFrames (or kLongestPiece) are played in pieces of it.
  void play(const AudioChannels& in, const AudioChannels& out, int begin, int end);

  int sides() const { return sides_; }
  double rate() const { return rate_; }  // Hz; 0 before the first prepare()

 private:
  struct Side {
    std::unique_ptr<Quellard> effect;
    std::vector<double> samples;  // the host's, converted; played in place
    std::vector<double> dry;      // the same untouched, while the bypass is or becomes engaged
  };

  std::vector<Side> buildSides(double rate, int maxFrames) const;
  void tell(int index, float value);
  void adoptMovedValues();
  void settle();
  void playPiece(const AudioChannels& in, const AudioChannels& out, int begin, int frames);
  void readSides(const AudioChannels& in, int begin, int frames, bool keepDry);

  int sides_;
  bool settled_ = false;
  double rate_ = 0.0;
  int maxFrames_ = 0;
  std::vector<Side> built_;  // empty before the first prepare()
  // What the world has asked for. The audio thread alone tells the effects, so that both sides move
  // in the same block and nobody waits for their lock.
  PerParameter<std::atomic<float>> wanted_;
  std::atomic<bool> bypassed_ = false;
  ParameterSmoother smoother_;
  Bypass bypass_;
};

}  // namespace quellard

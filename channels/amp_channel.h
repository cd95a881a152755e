// SPDX-License-Identifier: ISC
// What the engine asks of a channel, and the state that every channel carries. A channel is built
// for one sample rate and lives until the next rate is set. All operations but construction and
// destruction run on the audio thread under the effect's lock and allocate nothing.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "channels/clipper.h"
#include "channels/voicing.h"
#include "dsp/iir_filter.h"

namespace quellard {

// Filter sections in series, in the order in which the signal meets them.
using FilterCascade = std::unique_ptr<std::unique_ptr<IIRFilter>[]>;
using CascadeView = std::span<const std::unique_ptr<IIRFilter>>;

inline CascadeView sectionsOf(const FilterCascade& cascade, std::int32_t count) {
  return {cascade.get(), static_cast<std::size_t>(count)};
}

// Where a channel's post and power filters run: in front of the first waveshaper, or between the
// waveshapers.
enum class PostAndPower : std::uint8_t { atSampleRate, oversampled };

// What makes a channel that channel. The names of the groups of filters are the host interface's:
// pre, the input shelf and what follows it; post, after the first waveshaper, and power, after the
// second one, which in CLEAN both run before the drive; eq, the tone stack; revise, the output EQ.
struct ChannelConstants {
  std::span<const VoicingRow> pre, post, eq, power, revise;
  PostAndPower postAndPower;
  ResamplingSet at48k;
  ResamplingSet elsewhere;
  FirstShaperCurve firstShaperCurve;
  double driveLevel;    // the drive factor at full GAIN
  double masterScale;   // make-up factor after the chain
  double lowBassRange;  // dB by which BASS moves the low bass peak up and down
};

class AmpChannelBase {
 public:
  virtual ~AmpChannelBase() = default;
  AmpChannelBase(const AmpChannelBase&) = delete;
  AmpChannelBase& operator=(const AmpChannelBase&) = delete;

  // Plays n samples of `in` into `out`; both may be the same array. Drive and output level move in
  // straight lines from where the last block left them to their targets at the block's last
  // sample; a block of one sample has them where they were left. n below 1 touches no sample but
  // ends the ramps. A non-finite input sample is played as 0.
  virtual void signalProcess(double* /*in*/, double* /*out*/, int /*n*/) {}

  // The knobs after their tapers, 0..1, and the length in samples over which the filters glide to
  // their new design (at once below 1); see IIRFilter::ipFDexcute.
  virtual void setEQ(double /*treble*/, double /*mid*/, double /*bass*/, double /*presence*/,
                     int /*n*/) {}
  virtual void setGain(double /*gain*/, int /*n*/) {}
  virtual void setMaster(double /*master*/, int /*n*/) {}

  // Does nothing: filters and levels go on from where they were when the host stopped the effect.
  virtual void resume() {}

  // Sets the states of filters, resampler and split to zero, for a signal that has turned
  // non-finite; controls, glides and levels stay. Hosts call the operations above by their places
  // in the virtual table, so new ones follow here.
  virtual void clearState();

  std::int32_t preCount = 0;
  std::int32_t postCount = 0;
  std::int32_t eqCount = 0;
  std::int32_t powerCount = 0;
  std::int32_t reviseCount = 0;
  FilterCascade preFilters;
  FilterCascade postFilters;
  FilterCascade eqFilters;  // the tone stack
  FilterCascade powerFilters;
  FilterCascade reviseFilters;
  std::unique_ptr<IIRFilter> dcBlocker;
  std::array<double, 5>
      resampleA{};  // feedback A1..A5 of the resampling lowpass; signed to be added
  std::array<double, 6> resampleB{};  // feed-forward B0..B5
  std::int32_t rateInt;               // truncated toward zero: 48000.9 Hz counts as 48000
  double rate;                        // Hz
  std::int32_t overSample = 0;        // F: 7 at 48000 Hz, 8 at any other rate
  double overSampleRatio = 0.0;       // F as a double
  double masterScale = 0.0;           // the channel's make-up factor
  std::array<double, 6> upState{};    // s0 to s4; a last one, always 0, lets one formula serve all
  std::array<double, 6> downState{};
  // Over a block these two ramps are the drive and the level of Segment, in signal_chain.h.
  double gainTarget = 1.0;    // the drive factor that GAIN asks for
  double gainCurrent = 0.0;   // at the end of the last block
  double masterTarget = 1.0;  // the output level that MASTER asks for
  double masterCurrent = 0.0;

 protected:
  explicit AmpChannelBase(double sampleRate);

  // Takes over the constants and builds every section. May throw std::bad_alloc.
  void build(const ChannelConstants& constants);
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The amplifier as JavaScript plays it. A page holds one amplifier in each instance of the module:
// one in the audio worklet, one in each render. Nothing here is called before amp_prepare() but
// amp_set(), amp_value() and what prepares a cabinet.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "page/wasm/exported.h"
#include "rig/hosted_amp.h"
#include "tools/settings/resampling.h"

namespace quellard {
namespace {

constexpr int kMostSides = HostedAmp::kStereo;

class PageAmp {
 public:
  bool prepare(int sides, double rate, int maxFrames) {
    if (sides != HostedAmp::kMono && sides != HostedAmp::kStereo) return false;
    auto amp = std::make_unique<HostedAmp>(sides);
    amp->setHostedValues(values_);
    if (!amp->prepare(rate, maxFrames)) return false;
    amp->measureLevels(true);
    amp_ = std::move(amp);
    asleepAfter_ = 2LL * HostedAmp::tailFrames(rate);
    silent_ = 0;
    for (int side = 0; side < sides; ++side) {
      at(floats_, side).assign(asSize(maxFrames), 0.0F);
      at(doubles_, side).assign(asSize(maxFrames), 0.0);
      at(floatAt_, side) = at(floats_, side).data();
      at(doubleAt_, side) = at(doubles_, side).data();
    }
    return true;
  }

  void set(int index, float value) {
    if (!isHosted(index)) return;
    values_[index] = limitToRange(value);
    if (amp_) amp_->setValue(index, value);
  }
  float value(int index) const { return isHosted(index) ? values_[index] : 0.0F; }

  HostedAmp& amp() { return *amp_; }
  float* floats(int side) { return at(floatAt_, side); }
  double* doubles(int side) { return at(doubleAt_, side); }

  void playFloats(int frames) {
    play({.floats = floatAt_.data(), .count = amp_->sides()}, floatAt_, frames);
  }
  void playDoubles(int frames) {
    play({.doubles = doubleAt_.data(), .count = amp_->sides()}, doubleAt_, frames);
  }

  // The response of a cabinet: as it was recorded, then as it is to be played.
  std::vector<double>& response() { return response_; }
  void prepareResponse(double from, double to) {
    if (from != to) response_ = resampled(response_, 1, from, to);
    response_ = preparedResponse({to, {response_}}, HostedAmp::kMono).sides.front();
  }
  void loadCabinet() {
    if (response_.empty()) return amp_->cabinet().unload();
    amp_->cabinet().load({amp_->rate(), {response_}}, 1.0, amp_->sides());
  }

  bool isAsleep() const { return silent_ > asleepAfter_; }

  // Browsers differ in what they do above full scale; so nothing above it reaches them. Returns how
  // many samples were held.
  int hold(int frames) {
    int held = 0;
    for (int side = 0; side < amp_->sides(); ++side) {
      for (float& sample : std::span(floats(side), asSize(frames))) {
        if (sample >= -1.0F && sample <= 1.0F) continue;
        sample = std::clamp(sample, -1.0F, 1.0F);
        ++held;
      }
    }
    return held;
  }

 private:
  // There is no flag for denormal numbers in WebAssembly: an amplifier that decays from silence to
  // silence would take more than ten times as long as one that plays. So after twice the tail of
  // silence, when the output is below -240 dB, it sleeps, and wakes from silence with the first
  // sample that is not zero.
  template <typename Sample>
  void play(const AudioChannels& channels, const std::array<Sample*, kMostSides>& samples,
            int frames) {
    const std::span sides(samples.data(), asSize(amp_->sides()));
    const bool isSilent = std::ranges::all_of(sides, [frames](const Sample* side) {
      return std::all_of(side, side + frames, [](Sample x) { return x == 0; });
    });
    const bool wasAsleep = isAsleep();
    silent_ = isSilent ? silent_ + frames : 0;
    if (wasAsleep && isSilent) return;
    if (wasAsleep) amp_->reset();
    amp_->play(channels, channels, 0, frames);
  }

  HostedValues values_ = defaultHostedValues();
  std::unique_ptr<HostedAmp> amp_;
  std::array<std::vector<float>, kMostSides> floats_;
  std::array<std::vector<double>, kMostSides> doubles_;
  std::array<float*, kMostSides> floatAt_{};
  std::array<double*, kMostSides> doubleAt_{};
  std::vector<double> response_;
  std::int64_t silent_ = 0;  // frames of silence at the input's end
  std::int64_t asleepAfter_ = 0;
};

PageAmp& page() {
  static PageAmp one;
  return one;
}

}  // namespace
}  // namespace quellard

using quellard::page;

// sides: 1 or 2. rate: Hz. From silence, with the values set before. 0 where that cannot be.
QUELLARD_EXPORTED(amp_prepare) int ampPrepare(int sides, double rate, int maxFrames) {
  return page().prepare(sides, rate, maxFrames) ? 1 : 0;
}

// index: 1..23. value: 0..1.
QUELLARD_EXPORTED(amp_set) void ampSet(int index, float value) { page().set(index, value); }
QUELLARD_EXPORTED(amp_value) float ampValue(int index) { return page().value(index); }

// Where a side's samples are put and fetched, of maxFrames each. They stay where they are until
// the next amp_prepare().
QUELLARD_EXPORTED(amp_floats) float* ampFloats(int side) { return page().floats(side); }
QUELLARD_EXPORTED(amp_doubles) double* ampDoubles(int side) { return page().doubles(side); }

// In place. The output of amp_play_floats() may be above full scale until amp_hold().
QUELLARD_EXPORTED(amp_play_floats) void ampPlayFloats(int frames) { page().playFloats(frames); }
QUELLARD_EXPORTED(amp_play_doubles) void ampPlayDoubles(int frames) { page().playDoubles(frames); }
QUELLARD_EXPORTED(amp_hold) int ampHold(int frames) { return page().hold(frames); }

// A cabinet. cabinet_room(): where its samples are put and fetched, so many of them.
// cabinet_prepare() brings what stands there from one rate to another, in Hz, and to the level of
// no cabinet, and returns how many samples it is then; it takes a moment, and the module stops
// where there is nothing to hear. amp_load_cabinet() plays what stands there; without samples,
// none.
QUELLARD_EXPORTED(cabinet_room) double* cabinetRoom(int frames) {
  page().response().resize(quellard::asSize(frames));
  return page().response().data();
}
QUELLARD_EXPORTED(cabinet_prepare) int cabinetPrepare(double from, double to) {
  page().prepareResponse(from, to);
  return static_cast<int>(page().response().size());
}
QUELLARD_EXPORTED(amp_load_cabinet) void ampLoadCabinet() { page().loadCabinet(); }

QUELLARD_EXPORTED(amp_input_peak) float ampInputPeak() { return page().amp().inputPeak(); }
QUELLARD_EXPORTED(amp_output_peak) float ampOutputPeak() {
  return page().isAsleep() ? 0.0F : page().amp().outputPeak();
}
QUELLARD_EXPORTED(amp_gate_is_open) int ampGateIsOpen() {
  return page().amp().gateIsOpen() ? 1 : 0;
}

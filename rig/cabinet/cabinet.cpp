// SPDX-License-Identifier: ISC
#include "rig/cabinet/cabinet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "params/sizes.h"
#include "rig/durations.h"

namespace quellard {
namespace {

constexpr int kFadeBlock = 64;  // frames

// Rounded to floats, -150 dB from each tap: resampling, levels and the C library's functions leave
// the last bits of a double to the processor, which then almost never shows.
std::shared_ptr<const PartitionedResponse> partitioned(std::vector<double> taps, double gain) {
  for (double& tap : taps) tap = static_cast<double>(static_cast<float>(tap * gain));
  return std::make_shared<const PartitionedResponse>(taps);
}

}  // namespace

Cabinet::~Cabinet() {
  const std::unique_ptr<Speaker> unplayed(incoming_.exchange(nullptr));
  freeRetired();
}

void Cabinet::prepare(double rate) {
  fadeFrames_ = framesOf(kFadeSeconds, rate);
  const std::unique_ptr<Speaker> unplayed(incoming_.exchange(nullptr));
  speaker_.reset();
  next_.reset();
  freeRetired();
}

void Cabinet::load(const ImpulseResponse& response, double gain, int sides) {
  std::vector<std::shared_ptr<const PartitionedResponse>> responses;
  responses.reserve(response.sides.size());
  for (const std::vector<double>& side : response.sides) {
    responses.push_back(partitioned(side, gain));
  }
  auto speaker = std::make_unique<Speaker>();
  speaker->tailFrames = static_cast<int>(response.sides.front().size());
  for (std::size_t i = 0; i < asSize(sides); ++i) {
    speaker->convolvers.emplace_back(responses[std::min(i, responses.size() - 1)]);
  }
  publish(std::move(speaker));
}

void Cabinet::unload() { publish(std::make_unique<Speaker>()); }

void Cabinet::publish(std::unique_ptr<Speaker> speaker) {
  freeRetired();
  const std::unique_ptr<Speaker> unplayed(incoming_.exchange(speaker.release()));
}

void Cabinet::freeRetired() {
  std::unique_ptr<Speaker> speaker(retired_.exchange(nullptr));
  while (speaker != nullptr) speaker.reset(std::exchange(speaker->nextRetired, nullptr));
}

// [audio thread] Only the thread that loads changes the list too, by emptying it: a second attempt
// succeeds.
void Cabinet::retire(std::unique_ptr<Speaker> speaker) {
  if (speaker == nullptr) return;
  Speaker* const last = speaker.release();
  last->nextRetired = retired_.load();
  while (!retired_.compare_exchange_strong(last->nextRetired, last)) {
  }
}

void Cabinet::reset() {
  finishCrossfade();
  adopt();
  finishCrossfade();
  if (speaker_ == nullptr) return;
  for (Convolver& convolver : speaker_->convolvers) convolver.reset();
}

void Cabinet::finishCrossfade() {
  if (next_ != nullptr) retire(std::exchange(speaker_, std::move(next_)));
}

// One crossfade at a time: what arrives during one waits for its end.
void Cabinet::adopt() {
  if (next_ != nullptr || incoming_.load(std::memory_order_relaxed) == nullptr) return;
  next_.reset(incoming_.exchange(nullptr));
  fadeFrame_ = 0;
}

void Cabinet::process(std::span<double* const> sides, int frames) {
  adopt();
  for (int at = 0; at < frames;) {
    const int block = next_ != nullptr ? std::min(frames - at, kFadeBlock) : frames - at;
    for (std::size_t i = 0; i < sides.size(); ++i) {
      if (next_ != nullptr) {
        crossfade(i, sides[i] + at, block);
      } else if (speaker_ != nullptr) {
        speaker_->process(i, sides[i] + at, block);
      }
    }
    advanceCrossfade(block);
    at += block;
  }
}

void Cabinet::advanceCrossfade(int frames) {
  if (next_ == nullptr) return;
  fadeFrame_ += frames;
  const int ringing = speaker_ != nullptr ? speaker_->tailFrames : 0;
  if (fadeFrame_ >= fadeFrames_ + ringing) finishCrossfade();
}

void Cabinet::Speaker::process(std::size_t side, double* samples, int frames) {
  if (side < convolvers.size()) convolvers[side].process(samples, frames);
}

// Of what goes in, not of what comes out: so no response, whatever it begins with, can start with a
// step, and the one before rings out. frames: up to kFadeBlock.
void Cabinet::crossfade(std::size_t side, double* samples, int frames) {
  std::array<double, kFadeBlock> before{};
  for (int i = 0; i < frames; ++i) {
    const double share = std::min(1.0, static_cast<double>(fadeFrame_ + i + 1) / fadeFrames_);
    at(before, i) = (1.0 - share) * samples[i];
    samples[i] *= share;
  }
  if (speaker_ != nullptr) speaker_->process(side, before.data(), frames);
  next_->process(side, samples, frames);
  for (int i = 0; i < frames; ++i) samples[i] += at(before, i);
}

}  // namespace quellard

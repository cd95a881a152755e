// SPDX-License-Identifier: ISC
// The loudspeaker behind the amplifier: an impulse response for each side, which can be exchanged
// while it plays.
#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "rig/cabinet/convolver.h"
#include "rig/cabinet/impulse_response.h"

namespace quellard {

class Cabinet {
 public:
  static constexpr double kFadeSeconds = 0.02;

  Cabinet() = default;
  ~Cabinet();
  Cabinet(const Cabinet&) = delete;
  Cabinet& operator=(const Cabinet&) = delete;

  // Removes a response that was loaded, as it was for another rate. rate: Hz, > 0. Not while
  // process() runs. Never allocates.
  void prepare(double rate);

  // Plays a response, made by preparedResponse() for the rate of prepare() and this many sides,
  // from the next block on, with a crossfade of kFadeSeconds in which the one before rings out;
  // what is loaded meanwhile waits for that. gain: a factor. One call after another. [not the audio
  // thread] Allocates, and frees what is no longer played.
  void load(const ImpulseResponse& response, double gain, int sides);
  // Crossfades to no cabinet.
  void unload();

  // Everything below is for the audio thread, allocates nothing and waits for nobody.

  // Back to silence; what was loaded last plays at once.
  void reset();

  // In place. sides: an array of samples each, as many as load() was told; more than that play as
  // they are.
  void process(std::span<double* const> sides, int frames);

 private:
  // What plays at one time: a convolver for each side, or none without a cabinet.
  struct Speaker {
    std::vector<Convolver> convolvers;
    int tailFrames = 0;  // how long it sounds after its input
    Speaker* nextRetired = nullptr;

    void process(std::size_t side, double* samples, int frames);
  };

  void publish(std::unique_ptr<Speaker> speaker);
  void freeRetired();
  void adopt();
  void finishCrossfade();
  void advanceCrossfade(int frames);
  void retire(std::unique_ptr<Speaker> speaker);
  void crossfade(std::size_t side, double* samples, int frames);

  int fadeFrames_ = 1;
  int fadeFrame_ = 0;
  std::unique_ptr<Speaker> speaker_;  // null: none
  std::unique_ptr<Speaker> next_;     // what a crossfade leads to; null: there is no crossfade
  // From load() to the audio thread, and a list of what is to be freed back.
  std::atomic<Speaker*> incoming_ = nullptr;
  std::atomic<Speaker*> retired_ = nullptr;
};

}  // namespace quellard

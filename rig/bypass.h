// SPDX-License-Identifier: ISC
// The way around the amplifier: a crossfade to the dry signal and back.
#pragma once

namespace quellard {

class Bypass {
 public:
  static constexpr double kFadeSeconds = 0.010;

  // rate: Hz, > 0. A fade under way is over.
  void prepare(double rate);

  // [audio thread] From here on; none of these allocates.

  // Without a fade.
  void jumpTo(bool engaged) { position_ = engaged ? fadeFrames_ : 0; }

  // Only the amplifier is heard: nothing here has to be called.
  bool isOff(bool engaged) const { return !engaged && position_ == 0; }
  // Only the dry signal is heard.
  bool isOn(bool engaged) const { return engaged && position_ == fadeFrames_; }

  // Goes on towards the engaged or the other end: 0 is the amplifier alone, 1 the dry signal. wet:
  // the amplifier's samples, which take the mixture.
  void mix(bool engaged, const double* dry, double* wet, int frames) const;
  // The same time passes for all sides at once.
  void advance(bool engaged, int frames);

 private:
  int positionAfter(bool engaged, int frames) const;

  int fadeFrames_ = 1;
  int position_ = 0;  // frames of the fade behind us
};

}  // namespace quellard

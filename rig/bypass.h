// SPDX-License-Identifier: ISC
// Bypass of the amplifier: a crossfade to the dry signal and back.
#pragma once

namespace quellard {

class Bypass {
 public:
  static constexpr double kFadeSeconds = 0.010;

  // rate: Hz, > 0. Ends a fade that is under way.
  void prepare(double rate);

  // The functions below are for the audio thread; none allocates.

  // Engages or releases the bypass without a fade.
  void jumpTo(bool engaged) { position_ = engaged ? fadeFrames_ : 0; }

  // Whether only the amplifier is heard, so that mix() may be left out.
  bool isOff(bool engaged) const { return !engaged && position_ == 0; }
  // Whether only the dry signal is heard.
  bool isOn(bool engaged) const { return engaged && position_ == fadeFrames_; }

  // Crossfades one side, from the present position towards the dry signal (engaged) or towards the
  // amplifier. wet: the amplifier's samples, replaced by the mixture.
  void mix(bool engaged, const double* dry, double* wet, int frames) const;
  // Moves the position on by these frames, once all sides are mixed.
  void advance(bool engaged, int frames);

 private:
  int positionAfter(bool engaged, int frames) const;

  int fadeFrames_ = 1;
  int position_ = 0;  // in the fade: 0 is the amplifier alone, fadeFrames_ the dry signal
};

}  // namespace quellard

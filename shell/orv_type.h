// SPDX-License-Identifier: ISC
// What the host of this amplifier knows beyond VST 2.4: the object that the entry hands out, and
// operations on the effect object about jacks, signals and texts. Orders of declaration are part of
// the interface.
#pragma once

#include "shell/audio_effect_x.h"

namespace quellard {

struct Orv_TypeIF {
  // Releases the interface object alone; the effect is closed through effClose, before or after.
  virtual ~Orv_TypeIF() = default;

  AEffect* effect = nullptr;
};
static_assert(sizeof(Orv_TypeIF) == 2 * sizeof(void*));

class Orv_VstListner;  // the host's; never used

class Orv_TypeBase : public AudioEffectX {
 public:
  using AudioEffectX::AudioEffectX;

  // Jacks are the sockets that a host draws, signals the channels behind them.
  virtual int getNumOfInJacks() { return 1; }
  virtual int getNumOfOutJacks() { return 1; }
  virtual int getNumOfInSig(int) { return 2; }
  virtual int getNumOfOutSig(int) { return 1; }
  virtual int getStartNumInSig(int) { return 0; }
  virtual int getStartNumOutSig(int) { return 0; }
  virtual int getDryInSigNum() { return -1; }  // none
  virtual void setListner(Orv_VstListner*) {}
  // The text of a value of this parameter, whatever its live value.
  virtual void getParameterDisplayOf(int, float, char*) {}
  virtual int getHeaderVersion() { return headerVersion; }
  virtual void setTime(float) {}

  double editMinimum = 0.0;  // what every taper answers at a knob's minimum
  std::int32_t headerVersion = 1;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The effect for any VST 2.4 host. Its record, programs and texts are the effect's own; what it
// adds is a single-precision callback that plays, and block buffers that follow what the host
// announces.
#pragma once

#include <cstdint>
#include <vector>

#include "shell/quellard.h"

namespace quellard {

class Vst2Effect {
 public:
  // A new effect's record, to be released through effClose; null where the host has no callback or
  // no version, or where memory is short. Host's thread.
  static AEffect* create(audioMasterCallback host);

  Vst2Effect(const Vst2Effect&) = delete;
  Vst2Effect& operator=(const Vst2Effect&) = delete;
  ~Vst2Effect() = default;

 private:
  Vst2Effect();

  static Vst2Effect* of(AEffect* record);
  static std::intptr_t dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);
  static void processSingle(AEffect* record, float** inputs, float** outputs, std::int32_t frames);
  static void processDouble(AEffect* record, double** inputs, double** outputs,
                            std::int32_t frames);

  void reserve(std::int32_t frames);
  void playSingle(const float* in, float* out, std::int32_t frames);

  Quellard effect_;
  AEffect record_;               // a copy of the effect's with callbacks of our own
  std::vector<double> samples_;  // the host's floats, converted; played in place
};

}  // namespace quellard

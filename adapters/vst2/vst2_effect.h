// SPDX-License-Identifier: ISC
// The amplifier for any VST 2.4 host, mono or stereo. Parameter i of the amplifier is i-1 here, and
// those of the rig follow, without the bypass, for which VST 2.4 has a call. The programs are the
// default values and the factory bank; the chunk in a project is the state that all formats share.
// Parameters move with the next block, since VST 2.4 gives no time for them.
#pragma once

#include <atomic>
#include <cstdint>

#include "adapters/shared/state.h"
#include "adapters/vst2/editor.h"
#include "adapters/vst2/identity.h"
#include "rig/hosted_amp.h"
#include "shell/vst2.h"

namespace quellard {

class Vst2Effect {
 public:
  // The record of a new effect, released through effClose. Null where the host has no callback or
  // no version, or without memory. [main thread]
  static AEffect* create(audioMasterCallback host, const Vst2Variant& variant);

  Vst2Effect(const Vst2Effect&) = delete;
  Vst2Effect& operator=(const Vst2Effect&) = delete;
  ~Vst2Effect() = default;

 private:
  Vst2Effect(audioMasterCallback host, const Vst2Variant& variant);

  static Vst2Effect* of(AEffect* record);
  static std::intptr_t dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);
  std::intptr_t answer(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                       float opt);

  void announceRate(float rate);
  void announceBlock(std::intptr_t frames);
  void switchMains(bool on);
  void prepareAsAnnounced();
  void chooseProgram(std::intptr_t program);
  bool setFromText(int parameter, const char* text);
  std::intptr_t saveChunk(void** chunk);
  bool loadChunk(const void* chunk, std::intptr_t size);
  std::intptr_t canDo(const char* what) const;
  void play(const AudioChannels& in, const AudioChannels& out, std::int32_t frames);

  const Vst2Variant& variant_;
  HostedAmp amp_;
  AEffect record_{};
  std::atomic<std::int32_t> program_ = 0;
  std::atomic<int> shownPreset_ = -1;  // by the window, also while it is closed
  Vst2Editor editor_;
  // Atomic, since some hosts announce them while they play. The block length is the published
  // interface's default until a host announces one.
  std::atomic<float> rate_ = 0.0F;  // Hz
  std::atomic<std::int32_t> longestBlock_ = 1024;
  std::int32_t preparedBlock_ = 0;
  bool on_ = false;
  StateBytes chunk_;  // the host may read it until it asks for the next chunk
};

}  // namespace quellard

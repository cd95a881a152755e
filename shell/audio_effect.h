// SPDX-License-Identifier: ISC
// The two base classes of a VST 2.4 effect. Hosts of this amplifier call virtual operations on the
// effect object itself, so the order of the declarations below, deprecated ones included, and the
// order of the fields are part of the interface. Operations do nothing and answer 0, false or null
// unless a comment says otherwise.
#pragma once

#include <atomic>
#include <cstdint>

#include "shell/vst2.h"

namespace quellard {

class AEffEditor;  // no effect of ours has one

class AudioEffect {
 public:
  // audioMaster: the host's callback, may be null.
  AudioEffect(audioMasterCallback audioMaster, std::int32_t numPrograms, std::int32_t numParams);
  virtual ~AudioEffect() = default;
  AudioEffect(const AudioEffect&) = delete;
  AudioEffect& operator=(const AudioEffect&) = delete;

  // Serves opcodes 0 to 24.
  virtual std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* ptr, float opt);

  virtual void open() {}
  virtual void close() {}
  virtual void suspend() {}
  virtual void resume() {}
  virtual void setSampleRate(float newRate) { sampleRate = newRate; }
  virtual void setBlockSize(std::int32_t newSize) { blockSize = newSize; }

  virtual void processReplacing(float** inputs, float** outputs, std::int32_t sampleFrames) = 0;
  virtual void processDoubleReplacing(double**, double**, std::int32_t) {}

  virtual void setParameter(std::int32_t, float) {}
  virtual float getParameter(std::int32_t) { return 0.0f; }
  virtual void setParameterAutomated(std::int32_t index, float value);  // and tells the host

  virtual std::int32_t getProgram() { return curProgram; }
  virtual void setProgram(std::int32_t program) { curProgram = program; }
  virtual void setProgramName(char*) {}
  virtual void getProgramName(char* name) { clear(name); }
  virtual void getParameterLabel(std::int32_t, char* label) { clear(label); }
  virtual void getParameterDisplay(std::int32_t, char* text) { clear(text); }
  virtual void getParameterName(std::int32_t, char* text) { clear(text); }
  virtual std::int32_t getChunk(void**, bool /*isPreset*/) { return 0; }
  virtual std::int32_t setChunk(void*, std::int32_t /*byteSize*/, bool /*isPreset*/) { return 0; }

  virtual void setUniqueID(std::int32_t id) { cEffect.uniqueID = id; }
  virtual void setNumInputs(std::int32_t inputs) { cEffect.numInputs = inputs; }
  virtual void setNumOutputs(std::int32_t outputs) { cEffect.numOutputs = outputs; }
  virtual void canProcessReplacing(bool state) { setFlag(effFlagsCanReplacing, state); }
  virtual void canDoubleReplacing(bool state) { setFlag(effFlagsCanDoubleReplacing, state); }
  virtual void programsAreChunks(bool state) { setFlag(effFlagsProgramChunks, state); }
  virtual void setInitialDelay(std::int32_t delay) { cEffect.initialDelay = delay; }

  virtual AEffEditor* getEditor() { return editor; }
  virtual AEffect* getAeffect() { return &cEffect; }
  virtual float getSampleRate() { return sampleRate; }
  virtual std::int32_t getBlockSize() { return blockSize; }

  virtual std::int32_t getMasterVersion();    // at least 1
  virtual std::int32_t getCurrentUniqueId();  // asks the host
  virtual void masterIdle();

  // Texts of maxLen characters and a terminator.
  virtual void dB2string(float value, char* text, std::int32_t maxLen);    // "-oo" at 0 and below
  virtual void Hz2string(float samples, char* text, std::int32_t maxLen);  // of a period
  virtual void ms2string(float samples, char* text, std::int32_t maxLen);
  virtual void float2string(float value, char* text, std::int32_t maxLen);       // see formatValue
  virtual void int2string(std::int32_t value, char* text, std::int32_t maxLen);  // or "Huge!"

  // Published names. NOLINTBEGIN(bugprone-reserved-identifier)
  virtual void __processDeprecated(float**, float**, std::int32_t) {}
  virtual float __getVuDeprecated() { return 0.0f; }
  virtual void __hasVuDeprecated(bool state) { setFlag(effFlagsHasVu, state); }
  virtual void __hasClipDeprecated(bool state) { setFlag(effFlagsHasClip, state); }
  virtual void __canMonoDeprecated(bool state) { setFlag(effFlagsCanMono, state); }
  virtual void __setRealtimeQualitiesDeprecated(std::int32_t qualities) {
    cEffect.realQualities = qualities;
  }
  virtual void __setOfflineQualitiesDeprecated(std::int32_t qualities) {
    cEffect.offQualities = qualities;
  }
  // NOLINTEND(bugprone-reserved-identifier)

 protected:
  // Asks the host; 0 without a callback. askHost for answers that are numbers or yes and no: hosts
  // promise no more than 32 bits of those.
  std::intptr_t callHost(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                         void* ptr = nullptr, float opt = 0.0f);
  std::int32_t askHost(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                       void* ptr = nullptr) {
    return static_cast<std::int32_t>(callHost(opcode, index, value, ptr));
  }
  void setFlag(std::int32_t flag, bool state);
  static void clear(char* text);

 public:
  audioMasterCallback audioMaster;
  AEffEditor* editor;  // always null
  float sampleRate;    // Hz; the amplifier keeps its own
  std::int32_t blockSize;
  std::int32_t numPrograms;
  std::int32_t numParams;
  // Atomic, since an automation thread stores into the current program while another changes it.
  std::atomic<std::int32_t> curProgram;
  AEffect cEffect;
};

static_assert(sizeof(std::atomic<std::int32_t>) == sizeof(std::int32_t));

}  // namespace quellard

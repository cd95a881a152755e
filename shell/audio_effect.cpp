// SPDX-License-Identifier: ISC
#include "shell/audio_effect.h"

#include <algorithm>
#include <cmath>

#include "params/parameter_text.h"

namespace quellard {
namespace {

// The record's callbacks: each reaches the effect through the record and calls its operation.
// Hosts are C programs, so no exception may pass: operations that allocate are reached through the
// dispatcher, which catches; the others do not throw.

AudioEffect* effectOf(AEffect* record) {
  return record != nullptr ? static_cast<AudioEffect*>(record->object) : nullptr;
}

std::intptr_t dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                       std::intptr_t value, void* ptr, float opt) try {
  AudioEffect* effect = effectOf(record);
  if (effect == nullptr) return 0;
  const std::intptr_t answer = effect->dispatcher(opcode, index, value, ptr, opt);
  if (opcode != effClose) return answer;
  delete effect;
  return 1;
} catch (...) {
  return 0;
}

void process(AEffect* record, float** inputs, float** outputs, std::int32_t frames) {
  if (AudioEffect* effect = effectOf(record)) {
    effect->__processDeprecated(inputs, outputs, frames);
  }
}

void processReplacing(AEffect* record, float** inputs, float** outputs, std::int32_t frames) {
  if (AudioEffect* effect = effectOf(record)) effect->processReplacing(inputs, outputs, frames);
}

void processDoubleReplacing(AEffect* record, double** inputs, double** outputs,
                            std::int32_t frames) {
  if (AudioEffect* effect = effectOf(record)) {
    effect->processDoubleReplacing(inputs, outputs, frames);
  }
}

void setParameter(AEffect* record, std::int32_t index, float value) {
  if (AudioEffect* effect = effectOf(record)) effect->setParameter(index, value);
}

float getParameter(AEffect* record, std::int32_t index) {
  AudioEffect* effect = effectOf(record);
  return effect != nullptr ? effect->getParameter(index) : 0.0f;
}

}  // namespace

AudioEffect::AudioEffect(audioMasterCallback master, std::int32_t programs, std::int32_t params)
    : audioMaster(master),
      editor(nullptr),
      sampleRate(44100.0f),
      blockSize(1024),
      numPrograms(programs),
      numParams(params),
      curProgram(0),
      cEffect{} {
  cEffect.magic = kEffectMagic;
  cEffect.dispatcher = dispatch;
  cEffect.process = process;
  cEffect.setParameter = quellard::setParameter;
  cEffect.getParameter = quellard::getParameter;
  cEffect.numPrograms = programs;
  cEffect.numParams = params;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 2;
  cEffect.flags = effFlagsCanReplacing;
  cEffect.ioRatio = 1.0f;
  cEffect.object = this;
  cEffect.uniqueID = fourCharacters("NoEf");
  cEffect.version = 1;
  cEffect.processReplacing = quellard::processReplacing;
  cEffect.processDoubleReplacing = quellard::processDoubleReplacing;
}

std::intptr_t AudioEffect::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                      void* ptr, float opt) {
  auto* text = static_cast<char*>(ptr);
  switch (opcode) {
    case effOpen: open(); break;
    case effClose: close(); break;
    case effSetProgram:
      // The host's value may be wider than a program number.
      if (value >= 0 && value < numPrograms) setProgram(static_cast<std::int32_t>(value));
      break;
    case effGetProgram: return getProgram();
    case effSetProgramName:
      if (text != nullptr) setProgramName(text);
      break;
    case effGetProgramName:
      if (text != nullptr) getProgramName(text);
      break;
    case effGetParamLabel:
      if (text != nullptr) getParameterLabel(index, text);
      break;
    case effGetParamDisplay:
      if (text != nullptr) getParameterDisplay(index, text);
      break;
    case effGetParamName:
      if (text != nullptr) getParameterName(index, text);
      break;
    case effSetSampleRate: setSampleRate(opt); break;
    case effSetBlockSize: setBlockSize(static_cast<std::int32_t>(value)); break;
    case effMainsChanged:
      if (value != 0) {
        resume();
      } else {
        suspend();
      }
      break;
    case effIdentify: return kEffectIdentity;
    case effGetChunk: return getChunk(static_cast<void**>(ptr), index != 0);
    case effSetChunk: return setChunk(ptr, static_cast<std::int32_t>(value), index != 0);
    default: break;
  }
  return 0;
}

void AudioEffect::setParameterAutomated(std::int32_t index, float value) {
  setParameter(index, value);
  callHost(audioMasterAutomate, index, 0, nullptr, value);
}

std::int32_t AudioEffect::getMasterVersion() {
  return std::max(askHost(audioMasterVersion), std::int32_t{1});
}

std::int32_t AudioEffect::getCurrentUniqueId() { return askHost(audioMasterCurrentId); }

void AudioEffect::masterIdle() { callHost(audioMasterIdle); }

void AudioEffect::dB2string(float value, char* text, std::int32_t maxLen) {
  if (value > 0.0f) return float2string(20.0f * std::log10(value), text, maxLen);
  if (text != nullptr && maxLen >= 0) copyText(text, "-oo", maxLen);
}

void AudioEffect::Hz2string(float samples, char* text, std::int32_t maxLen) {
  float2string(samples != 0.0f ? sampleRate / samples : 0.0f, text, maxLen);
}

void AudioEffect::ms2string(float samples, char* text, std::int32_t maxLen) {
  float2string(samples * 1000.0f / sampleRate, text, maxLen);
}

void AudioEffect::float2string(float value, char* text, std::int32_t maxLen) {
  formatValue(value, text, maxLen);
}

void AudioEffect::int2string(std::int32_t value, char* text, std::int32_t maxLen) {
  formatInteger(value, text, maxLen);
}

std::intptr_t AudioEffect::callHost(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                    void* ptr, float opt) {
  return audioMaster != nullptr ? audioMaster(&cEffect, opcode, index, value, ptr, opt) : 0;
}

void AudioEffect::setFlag(std::int32_t flag, bool state) {
  cEffect.flags = state ? cEffect.flags | flag : cEffect.flags & ~flag;
}

void AudioEffect::clear(char* text) {
  if (text != nullptr) *text = '\0';
}

}  // namespace quellard

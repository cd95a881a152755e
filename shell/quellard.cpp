// SPDX-License-Identifier: ISC
#include "shell/quellard.h"

#include <algorithm>
#include <cstring>

#include "params/parameter_text.h"
#include "params/parameter_values.h"
#include "shell/parameter_properties.h"

namespace quellard {
namespace {

constexpr char kEffectName[] = "NEW Quellard";

bool isProgram(std::int32_t program) { return program >= 0 && program < kNumPrograms; }

}  // namespace

Quellard::Quellard(audioMasterCallback host) : Orv_TypeBase(host, kNumPrograms, kNumParameters) {
  setProgram(0);
  setUniqueID(fourCharacters("QULL"));
  setNumInputs(1);
  setNumOutputs(1);
  canDoubleReplacing(true);
}

Quellard::~Quellard() = default;

void Quellard::setSampleRate(float newRate) {
  if (prepare(static_cast<double>(newRate), editMinimum)) resume();
}

void Quellard::processDoubleReplacing(double** inputs, double** outputs,
                                      std::int32_t sampleFrames) {
  double* in = inputs != nullptr ? inputs[0] : nullptr;
  double* out = outputs != nullptr ? outputs[0] : nullptr;
  if (sampleFrames > 0 && out == nullptr) return;
  if (sampleFrames > 0 && in == nullptr) {
    std::fill_n(out, sampleFrames, 0.0);
    return;
  }
  processBlock(in, out, sampleFrames);
}

void Quellard::setParameter(std::int32_t index, float value) {
  const std::lock_guard lock(processLock);
  std::atomic<float>* live = liveValue(index);
  if (live == nullptr) return;
  currentProgram().value(index).store(value, std::memory_order_relaxed);
  live->store(value, std::memory_order_relaxed);
}

float Quellard::getParameter(std::int32_t index) {
  const std::atomic<float>* live = liveValue(index);
  return live != nullptr ? live->load(std::memory_order_relaxed) : 0.0f;
}

void Quellard::setProgram(std::int32_t program) {
  if (!isProgram(program)) return;
  curProgram = program;
  QuellardProgram& chosen = programs.get()[program];
  for (std::int32_t index = 1; index <= kNumStoredValues; ++index) {
    setParameter(index, chosen.value(index).load(std::memory_order_relaxed));
  }
}

void Quellard::setProgramName(char* name) {
  if (name != nullptr) currentProgram().rename(name);
}

void Quellard::getProgramName(char* name) {
  if (name != nullptr) currentProgram().writeNumberedName(curProgram + 1, name);
}

bool Quellard::getProgramNameIndexed(std::int32_t /*category*/, std::int32_t index, char* text) {
  if (!isProgram(index) || text == nullptr) return false;
  programs.get()[index].writeName(text);
  return true;
}

void Quellard::getParameterLabel(std::int32_t index, char* label) {
  if (isStored(index)) clear(label);
}

void Quellard::getParameterDisplay(std::int32_t index, char* text) {
  writeParameterDisplay(index, getParameter(index), text);
}

void Quellard::getParameterDisplayOf(int index, float value, char* text) {
  writeParameterDisplay(index, value, text);
}

void Quellard::getParameterName(std::int32_t index, char* text) { writeParameterName(index, text); }

bool Quellard::getParameterProperties(std::int32_t index, VstParameterProperties* properties) {
  const ParameterInfo* parameter = findParameter(index);
  if (properties == nullptr || parameter == nullptr) return false;
  auto* record = reinterpret_cast<ExtendedParameterProperties*>(properties);
  std::memset(static_cast<void*>(record), 0, kExtendedPropertiesSize);
  if (parameter->kind == ParameterKind::none) return false;

  getParameterLabel(index, properties->label);
  if (parameter->kind == ParameterKind::knob) {
    properties->stepFloat = 0.01f;
    properties->flags = kVstParameterUsesFloatStep;
  } else {
    properties->flags = kVstParameterUsesIntegerMinMax;
    properties->maxInteger = kNumChannels - 1;
    properties->stepInteger = 1;
  }
  record->trailer[0] = 1;
  return true;
}

bool Quellard::getEffectName(char* name) {
  if (name == nullptr) return false;
  copyText(name, kEffectName, kVstMaxEffectNameLen);
  return true;
}

bool Quellard::getProductString(char* text) {
  if (text == nullptr) return false;
  copyText(text, kEffectName, kVstMaxProductStrLen);
  return true;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "shell/audio_effect_x.h"

#include <cstring>

#include "shell/parameter_properties.h"

namespace quellard {

// Opcodes that are not named here answer 0, as the base does for all it does not know.
std::intptr_t AudioEffectX::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                       void* ptr, float opt) {
  auto* text = static_cast<char*>(ptr);
  const auto number = static_cast<std::int32_t>(value);
  switch (opcode) {
    case effProcessEvents: return processEvents(static_cast<VstEvents*>(ptr));
    case effCanBeAutomated: return canParameterBeAutomated(index);
    case effString2Parameter: return string2parameter(index, text);
    case effGetProgramNameIndexed: return getProgramNameIndexed(number, index, text);
    case effGetInputProperties:
      return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effGetOutputProperties:
      return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effGetPlugCategory: return getPlugCategory();
    case effSetSpeakerArrangement:
      return setSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement*>(value),
                                   static_cast<VstSpeakerArrangement*>(ptr));
    case effSetBypass: return setBypass(value != 0);
    case effGetEffectName: return getEffectName(text);
    case effGetVendorString: return getVendorString(text);
    case effGetProductString: return getProductString(text);
    case effGetVendorVersion: return getVendorVersion();
    case effVendorSpecific: return vendorSpecific(index, value, ptr, opt);
    case effCanDo: return canDo(text);
    case effGetTailSize: return getGetTailSize();
    case effGetParameterProperties: return fillPublishedProperties(index, ptr);
    case effGetVstVersion: return getVstVersion();
    case effGetCurrentMidiProgram:
      return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
    case effGetSpeakerArrangement:
      return getSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement**>(value),
                                   static_cast<VstSpeakerArrangement**>(ptr));
    case effSetTotalSampleToProcess: return setTotalSampleToProcess(number);
    case effSetProcessPrecision: return setProcessPrecision(number);
    default: return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}

// The host's 152 bytes pass through a record with room for the trailer; an index without
// properties leaves them as they were.
bool AudioEffectX::fillPublishedProperties(std::int32_t index, void* record) {
  if (record == nullptr) return false;
  ExtendedParameterProperties properties{};
  std::memcpy(&properties.published, record, sizeof properties.published);
  const bool known = getParameterProperties(index, &properties.published);
  std::memcpy(record, &properties.published, sizeof properties.published);
  return known;
}

void AudioEffectX::resume() {
  if ((cEffect.flags & effFlagsIsSynth) != 0) __wantEventsDeprecated(1);
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** input,
                                         VstSpeakerArrangement** output) {
  if (input != nullptr) *input = nullptr;
  if (output != nullptr) *output = nullptr;
  return false;
}

VstPlugCategory AudioEffectX::getPlugCategory() {
  return (cEffect.flags & effFlagsIsSynth) != 0 ? kPlugCategUnknown : kPlugCategEffect;
}

double AudioEffectX::updateSampleRate() {
  const auto rate = static_cast<float>(callHost(audioMasterGetSampleRate));
  if (rate > 0.0f) sampleRate = rate;
  return static_cast<double>(sampleRate);
}

std::int32_t AudioEffectX::updateBlockSize() {
  const auto size = static_cast<std::int32_t>(callHost(audioMasterGetBlockSize));
  if (size > 0) blockSize = size;
  return blockSize;
}

std::int32_t AudioEffectX::getInputLatency() {
  return static_cast<std::int32_t>(callHost(audioMasterGetInputLatency));
}

std::int32_t AudioEffectX::getOutputLatency() {
  return static_cast<std::int32_t>(callHost(audioMasterGetOutputLatency));
}

VstTimeInfo* AudioEffectX::getTimeInfo(std::int32_t filter) {
  return reinterpret_cast<VstTimeInfo*>(callHost(audioMasterGetTime, 0, filter));
}

std::int32_t AudioEffectX::getCurrentProcessLevel() {
  return static_cast<std::int32_t>(callHost(audioMasterGetCurrentProcessLevel));
}

std::int32_t AudioEffectX::getAutomationState() {
  return static_cast<std::int32_t>(callHost(audioMasterGetAutomationState));
}

bool AudioEffectX::getHostVendorString(char* text) {
  return callHost(audioMasterGetVendorString, 0, 0, text) != 0;
}

bool AudioEffectX::getHostProductString(char* text) {
  return callHost(audioMasterGetProductString, 0, 0, text) != 0;
}

std::int32_t AudioEffectX::getHostVendorVersion() {
  return static_cast<std::int32_t>(callHost(audioMasterGetVendorVersion));
}

std::intptr_t AudioEffectX::hostVendorSpecific(std::int32_t index, std::intptr_t value, void* ptr,
                                               float opt) {
  return callHost(audioMasterVendorSpecific, index, value, ptr, opt);
}

std::int32_t AudioEffectX::canHostDo(char* text) {
  return static_cast<std::int32_t>(callHost(audioMasterCanDo, 0, 0, text));
}

std::int32_t AudioEffectX::getHostLanguage() {
  return static_cast<std::int32_t>(callHost(audioMasterGetLanguage));
}

void* AudioEffectX::getDirectory() {
  return reinterpret_cast<void*>(callHost(audioMasterGetDirectory));
}

bool AudioEffectX::sizeWindow(std::int32_t width, std::int32_t height) {
  return callHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::openFileSelector(VstFileSelect* select) {
  return callHost(audioMasterOpenFileSelector, 0, 0, select) != 0;
}

bool AudioEffectX::closeFileSelector(VstFileSelect* select) {
  return callHost(audioMasterCloseFileSelector, 0, 0, select) != 0;
}

bool AudioEffectX::offlineRead(VstOfflineTask* task, VstOfflineOption option, bool readSource) {
  return callHost(audioMasterOfflineRead, readSource, option, task) != 0;
}

bool AudioEffectX::offlineWrite(VstOfflineTask* task, VstOfflineOption option) {
  return callHost(audioMasterOfflineWrite, 0, option, task) != 0;
}

bool AudioEffectX::offlineStart(VstAudioFile* files, std::int32_t count, std::int32_t newCount) {
  return callHost(audioMasterOfflineStart, newCount, count, files) != 0;
}

std::int32_t AudioEffectX::offlineGetCurrentPass() {
  return static_cast<std::int32_t>(callHost(audioMasterOfflineGetCurrentPass));
}

std::int32_t AudioEffectX::offlineGetCurrentMetaPass() {
  return static_cast<std::int32_t>(callHost(audioMasterOfflineGetCurrentMetaPass));
}

void AudioEffectX::__wantEventsDeprecated(std::int32_t filter) {
  callHost(audioMasterWantMidi, 0, filter);
}

std::int32_t AudioEffectX::__tempoAtDeprecated(std::int32_t position) {
  return static_cast<std::int32_t>(callHost(audioMasterTempoAt, 0, position));
}

std::int32_t AudioEffectX::__getNumAutomatableParametersDeprecated() {
  return static_cast<std::int32_t>(callHost(audioMasterGetNumAutomatableParameters));
}

std::int32_t AudioEffectX::__getParameterQuantizationDeprecated() {
  return static_cast<std::int32_t>(callHost(audioMasterGetParameterQuantization));
}

bool AudioEffectX::__needIdleDeprecated() { return callHost(audioMasterNeedIdle) != 0; }

AEffect* AudioEffectX::__getPreviousPlugDeprecated(std::int32_t input) {
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetPreviousPlug, input));
}

AEffect* AudioEffectX::__getNextPlugDeprecated(std::int32_t output) {
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetNextPlug, output));
}

std::int32_t AudioEffectX::__willProcessReplacingDeprecated() {
  return static_cast<std::int32_t>(callHost(audioMasterWillReplaceOrAccumulate));
}

void AudioEffectX::__setOutputSamplerateDeprecated(float rate) {
  callHost(audioMasterSetOutputSampleRate, 0, 0, nullptr, rate);
}

VstSpeakerArrangement* AudioEffectX::__getInputSpeakerArrangementDeprecated() {
  return reinterpret_cast<VstSpeakerArrangement*>(callHost(audioMasterGetInputSpeakerArrangement));
}

VstSpeakerArrangement* AudioEffectX::__getOutputSpeakerArrangementDeprecated() {
  return reinterpret_cast<VstSpeakerArrangement*>(callHost(audioMasterGetOutputSpeakerArrangement));
}

void AudioEffectX::__setBlockSizeAndSampleRateDeprecated(std::int32_t newSize, float newRate) {
  blockSize = newSize;
  sampleRate = newRate;
}

bool AudioEffectX::__getChunkFileDeprecated(void* nativePath) {
  return callHost(audioMasterGetChunkFile, 0, 0, nativePath) != 0;
}

}  // namespace quellard

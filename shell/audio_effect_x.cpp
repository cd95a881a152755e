// SPDX-License-Identifier: ISC
#include "shell/audio_effect_x.h"

#include <cstring>

#include "shell/parameter_properties.h"

namespace quellard {

namespace {

// The dispatcher's untyped pointer as the record or text that an operation takes.
struct Untyped {
  void* pointer;

  template <class Record>
  operator Record*() const {
    return static_cast<Record*>(pointer);
  }
};

}  // namespace

// Opcodes that none of the three switches names go to the base, which answers 0 to unknown ones.
std::intptr_t AudioEffectX::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                       void* ptr, float opt) {
  const Untyped record{ptr};
  switch (opcode) {
    case effCanBeAutomated: return canParameterBeAutomated(index);
    case effString2Parameter: return string2parameter(index, record);
    case effGetProgramNameIndexed:
      return getProgramNameIndexed(static_cast<std::int32_t>(value), index, record);
    case effGetInputProperties: return getInputProperties(index, record);
    case effGetOutputProperties: return getOutputProperties(index, record);
    case effGetPlugCategory: return getPlugCategory();
    case effGetEffectName: return getEffectName(record);
    case effGetVendorString: return getVendorString(record);
    case effGetProductString: return getProductString(record);
    case effGetVendorVersion: return getVendorVersion();
    case effVendorSpecific: return vendorSpecific(index, value, ptr, opt);
    case effCanDo: return canDo(record);
    case effGetTailSize: return getGetTailSize();
    case effGetParameterProperties: return fillPublishedProperties(index, ptr);
    case effGetVstVersion: return getVstVersion();
    case effBeginSetProgram: return beginSetProgram();
    case effEndSetProgram: return endSetProgram();
    case effShellGetNextPlugin: return getNextShellPlugin(record);
    case effBeginLoadBank: return beginLoadBank(record);
    case effBeginLoadProgram: return beginLoadProgram(record);
    default: return dispatchProcessing(opcode, index, value, ptr, opt);
  }
}

// Processing, speaker arrangements, offline processing.
std::intptr_t AudioEffectX::dispatchProcessing(std::int32_t opcode, std::int32_t index,
                                               std::intptr_t value, void* ptr, float opt) {
  const Untyped record{ptr};
  const auto number = static_cast<std::int32_t>(value);
  switch (opcode) {
    case effOfflineNotify: return offlineNotify(record, number, index != 0);
    case effOfflinePrepare: return offlinePrepare(record, number);
    case effOfflineRun: return offlineRun(record, number);
    case effProcessVarIo: return processVariableIo(record);
    case effSetSpeakerArrangement:
      return setSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement*>(value), record);
    case effGetSpeakerArrangement:
      return getSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement**>(value), record);
    case effSetBypass: return setBypass(value != 0);
    case effStartProcess: return startProcess();
    case effStopProcess: return stopProcess();
    case effSetTotalSampleToProcess: return setTotalSampleToProcess(number);
    case effSetPanLaw: return setPanLaw(number, opt);
    case effSetProcessPrecision: return setProcessPrecision(number);
    default: return dispatchMidi(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::dispatchMidi(std::int32_t opcode, std::int32_t index,
                                         std::intptr_t value, void* ptr, float opt) {
  const Untyped record{ptr};
  switch (opcode) {
    case effProcessEvents: return processEvents(record);
    case effGetMidiProgramName: return getMidiProgramName(index, record);
    case effGetCurrentMidiProgram: return getCurrentMidiProgram(index, record);
    case effGetMidiProgramCategory: return getMidiProgramCategory(index, record);
    case effHasMidiProgramsChanged: return hasMidiProgramsChanged(index);
    case effGetMidiKeyName: return getMidiKeyName(index, record);
    case effGetNumMidiInputChannels: return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels: return getNumMidiOutputChannels();
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
  return (cEffect.flags & effFlagsIsSynth) != 0 ? kPlugCategSynth : kPlugCategUnknown;
}

double AudioEffectX::updateSampleRate() {
  const auto rate = static_cast<float>(askHost(audioMasterGetSampleRate));
  if (rate > 0.0f) sampleRate = rate;
  return static_cast<double>(sampleRate);
}

std::int32_t AudioEffectX::updateBlockSize() {
  const auto size = askHost(audioMasterGetBlockSize);
  if (size > 0) blockSize = size;
  return blockSize;
}

std::int32_t AudioEffectX::getInputLatency() { return askHost(audioMasterGetInputLatency); }

std::int32_t AudioEffectX::getOutputLatency() { return askHost(audioMasterGetOutputLatency); }

VstTimeInfo* AudioEffectX::getTimeInfo(std::int32_t filter) {
  return reinterpret_cast<VstTimeInfo*>(callHost(audioMasterGetTime, 0, filter));
}

std::int32_t AudioEffectX::getCurrentProcessLevel() {
  return askHost(audioMasterGetCurrentProcessLevel);
}

std::int32_t AudioEffectX::getAutomationState() { return askHost(audioMasterGetAutomationState); }

bool AudioEffectX::getHostVendorString(char* text) {
  return askHost(audioMasterGetVendorString, 0, 0, text) != 0;
}

bool AudioEffectX::getHostProductString(char* text) {
  return askHost(audioMasterGetProductString, 0, 0, text) != 0;
}

std::int32_t AudioEffectX::getHostVendorVersion() { return askHost(audioMasterGetVendorVersion); }

std::intptr_t AudioEffectX::hostVendorSpecific(std::int32_t index, std::intptr_t value, void* ptr,
                                               float opt) {
  return callHost(audioMasterVendorSpecific, index, value, ptr, opt);
}

std::int32_t AudioEffectX::canHostDo(char* text) { return askHost(audioMasterCanDo, 0, 0, text); }

std::int32_t AudioEffectX::getHostLanguage() { return askHost(audioMasterGetLanguage); }

void* AudioEffectX::getDirectory() {
  return reinterpret_cast<void*>(callHost(audioMasterGetDirectory));
}

bool AudioEffectX::sizeWindow(std::int32_t width, std::int32_t height) {
  return askHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::openFileSelector(VstFileSelect* select) {
  return askHost(audioMasterOpenFileSelector, 0, 0, select) != 0;
}

bool AudioEffectX::closeFileSelector(VstFileSelect* select) {
  return askHost(audioMasterCloseFileSelector, 0, 0, select) != 0;
}

bool AudioEffectX::offlineRead(VstOfflineTask* task, VstOfflineOption option, bool readSource) {
  return askHost(audioMasterOfflineRead, readSource, option, task) != 0;
}

bool AudioEffectX::offlineWrite(VstOfflineTask* task, VstOfflineOption option) {
  return askHost(audioMasterOfflineWrite, 0, option, task) != 0;
}

bool AudioEffectX::offlineStart(VstAudioFile* files, std::int32_t count, std::int32_t newCount) {
  return askHost(audioMasterOfflineStart, newCount, count, files) != 0;
}

std::int32_t AudioEffectX::offlineGetCurrentPass() {
  return askHost(audioMasterOfflineGetCurrentPass);
}

std::int32_t AudioEffectX::offlineGetCurrentMetaPass() {
  return askHost(audioMasterOfflineGetCurrentMetaPass);
}

void AudioEffectX::__wantEventsDeprecated(std::int32_t filter) {
  callHost(audioMasterWantMidi, 0, filter);
}

std::int32_t AudioEffectX::__tempoAtDeprecated(std::int32_t position) {
  return askHost(audioMasterTempoAt, 0, position);
}

std::int32_t AudioEffectX::__getNumAutomatableParametersDeprecated() {
  return askHost(audioMasterGetNumAutomatableParameters);
}

std::int32_t AudioEffectX::__getParameterQuantizationDeprecated() {
  return askHost(audioMasterGetParameterQuantization);
}

bool AudioEffectX::__needIdleDeprecated() { return askHost(audioMasterNeedIdle) != 0; }

AEffect* AudioEffectX::__getPreviousPlugDeprecated(std::int32_t input) {
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetPreviousPlug, input));
}

AEffect* AudioEffectX::__getNextPlugDeprecated(std::int32_t output) {
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetNextPlug, output));
}

std::int32_t AudioEffectX::__willProcessReplacingDeprecated() {
  return askHost(audioMasterWillReplaceOrAccumulate);
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
  return askHost(audioMasterGetChunkFile, 0, 0, nativePath) != 0;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The binary layout of the effect object as an existing host was compiled with it: the slots of the
// virtual functions and the offsets of the fields. It is written independently of the shell's
// classes, of which it uses only the record, so that the tests notice when a declaration moves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>

#include "shell/vst2.h"

namespace quellard::test::host {

// The order of the virtual operations. A destructor takes two slots.
// clang-format off
enum class Slot : std::size_t {
  destroy, destroyAndFree,
  // The base class
  dispatcher, open, close, suspend, resume, setSampleRate, setBlockSize, processReplacing,
  processDoubleReplacing, setParameter, getParameter, setParameterAutomated, getProgram,
  setProgram, setProgramName, getProgramName, getParameterLabel, getParameterDisplay,
  getParameterName, getChunk, setChunk, setUniqueID, setNumInputs, setNumOutputs,
  canProcessReplacing, canDoubleReplacing, programsAreChunks, setInitialDelay, getEditor,
  getAeffect, getSampleRate, getBlockSize, getMasterVersion, getCurrentUniqueId, masterIdle,
  dB2string, Hz2string, ms2string, float2string, int2string, process, getVu, hasVu, hasClip,
  canMono, setRealtimeQualities, setOfflineQualities,
  // Its extension
  canParameterBeAutomated, string2parameter, getParameterProperties, beginEdit, endEdit,
  getProgramNameIndexed, beginSetProgram, endSetProgram, beginLoadBank, beginLoadProgram,
  ioChanged, updateSampleRate, updateBlockSize, getInputLatency, getOutputLatency,
  getInputProperties, getOutputProperties, setSpeakerArrangement, getSpeakerArrangement,
  setBypass, setPanLaw, setProcessPrecision, getNumMidiInputChannels, getNumMidiOutputChannels,
  getTimeInfo, getCurrentProcessLevel, getAutomationState, processEvents, startProcess,
  stopProcess, processVariableIo, setTotalSampleToProcess, getHostVendorString,
  getHostProductString, getHostVendorVersion, hostVendorSpecific, canHostDo, getHostLanguage,
  isSynth, noTail, getGetTailSize, getDirectory, getEffectName, getVendorString, getProductString,
  getVendorVersion, vendorSpecific, canDo, getVstVersion, getPlugCategory, getMidiProgramName,
  getCurrentMidiProgram, getMidiProgramCategory, hasMidiProgramsChanged, getMidiKeyName,
  updateDisplay, sizeWindow, openFileSelector, closeFileSelector, getNextShellPlugin,
  allocateArrangement, deallocateArrangement, copySpeaker, matchArrangement, offlineRead,
  offlineWrite, offlineStart, offlineGetCurrentPass, offlineGetCurrentMetaPass, offlineNotify,
  offlinePrepare, offlineRun, offlineGetNumPasses, offlineGetNumMetaPasses, wantEvents, tempoAt,
  getNumAutomatableParameters, getParameterQuantization, getNumCategories, copyProgram, needIdle,
  getPreviousPlug, getNextPlug, inputConnected, outputConnected, willProcessReplacing,
  wantAsyncOperation, hasExternalBuffer, reportCurrentPosition, reportDestinationBuffer,
  setOutputSamplerate, getInputSpeakerArrangement, getOutputSpeakerArrangement,
  setBlockSizeAndSampleRate, getErrorText, getIcon, setViewPosition, fxIdle, keysRequired,
  getChunkFile,
  // What this amplifier's own host knows beyond
  getNumOfInJacks, getNumOfOutJacks, getNumOfInSig, getNumOfOutSig, getStartNumInSig,
  getStartNumOutSig, getDryInSigNum, setListner, getParameterDisplayOf, getHeaderVersion, setTime,
  getNumOfOut1Jacks, getNumOfOut1Sig,
};
// clang-format on

// Calls a virtual function of the record's object. In the C calling convention additional arguments
// are ignored, but the type of the result must be correct.
template <class Answer, class... Args>
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
Answer
call(const AEffect& record, Slot slot, Args... args) {
  void* const* operations = *static_cast<void***>(record.object);
  void* const code = operations[static_cast<std::size_t>(slot)];
  return reinterpret_cast<Answer (*)(void*, Args...)>(code)(record.object, args...);
}

struct Program {
  void* operations;
  float values[19];
  char name[24];
};

struct Taper {
  float* poly;
  std::int32_t curve;
  double valueAtOne, valueAtZero;
  float scale, offset, base, exponent;
  std::int32_t polyCount;
};

struct Switcher {
  std::int32_t fadeLength;
  double *fadeInGain, *fadeOutGain;
  std::int32_t fadePos;
  float lastSelect;
  std::int32_t fadeState;
};

// The fields of the effect object.
struct Effect {
  void* operations;
  audioMasterCallback audioMaster;
  void* editor;
  float sampleRate;
  std::int32_t blockSize, numPrograms, numParams, curProgram;
  AEffect cEffect;
  double editMinimum;
  std::int32_t headerVersion;
  pthread_mutex_t processLock;
  Program* programs;
  float controlValues[18], appliedValues[18], typeValue;
  std::int32_t activeChannel;
  Switcher* channelSwitch;
  double* fadeBuffer;
  bool typePending;
  std::int32_t bufferFrames;
  Taper* tapers[18];
  double appliedSampleRate;
  void* channels[3];
  double* channelBuffer;
};

inline Effect& view(const AEffect& record) { return *static_cast<Effect*>(record.object); }

}  // namespace quellard::test::host

// SPDX-License-Identifier: ISC
// The VST 2.4 binary interface as this plug-in and its hosts speak it: the effect record, the
// opcodes, the flags and the parameter-properties record. Layouts and numbers are what compiled
// hosts already rely on, so nothing here may ever change.
#pragma once

#include <cstddef>
#include <cstdint>

#include "params/text_lengths.h"

namespace quellard {

struct AEffect;

// Plug-in to host. Thread: whichever calls; the effect itself calls it once, from the entry.
using audioMasterCallback = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                              std::int32_t index, std::intptr_t value, void* ptr,
                                              float opt);

// Host to plug-in.
using AEffectDispatcherProc = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                                std::int32_t index, std::intptr_t value, void* ptr,
                                                float opt);
using AEffectProcessProc = void (*)(AEffect* effect, float** inputs, float** outputs,
                                    std::int32_t sampleFrames);
using AEffectProcessDoubleProc = void (*)(AEffect* effect, double** inputs, double** outputs,
                                          std::int32_t sampleFrames);
using AEffectSetParameterProc = void (*)(AEffect* effect, std::int32_t index, float parameter);
using AEffectGetParameterProc = float (*)(AEffect* effect, std::int32_t index);

constexpr std::int32_t fourCharacters(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return static_cast<std::int32_t>(code);
}

inline constexpr std::int32_t kEffectMagic = fourCharacters("VstP");
inline constexpr std::int32_t kEffectIdentity = fourCharacters("NvEf");
inline constexpr std::int32_t kVstVersion = 2400;

// Without the terminator.
inline constexpr std::int32_t kVstMaxProductStrLen = 64;
inline constexpr std::int32_t kVstMaxEffectNameLen = 32;

enum VstAEffectFlags : std::int32_t {
  effFlagsHasEditor = 1 << 0,
  effFlagsHasClip = 1 << 1,  // deprecated
  effFlagsHasVu = 1 << 2,    // deprecated
  effFlagsCanMono = 1 << 3,  // deprecated
  effFlagsCanReplacing = 1 << 4,
  effFlagsProgramChunks = 1 << 5,
  effFlagsIsSynth = 1 << 8,
  effFlagsNoSoundInStop = 1 << 9,
  effFlagsExtIsAsync = 1 << 10,    // deprecated
  effFlagsExtHasBuffer = 1 << 11,  // deprecated
  effFlagsCanDoubleReplacing = 1 << 12,
};

enum VstPlugCategory : std::int32_t {
  kPlugCategUnknown = 0,
  kPlugCategEffect = 1,
  kPlugCategSynth = 2,
};

// The record that stands for one effect instance at the host.
struct AEffect {
  std::int32_t magic;
  AEffectDispatcherProc dispatcher;
  AEffectProcessProc process;  // deprecated: accumulates
  AEffectSetParameterProc setParameter;
  AEffectGetParameterProc getParameter;
  std::int32_t numPrograms;
  std::int32_t numParams;
  std::int32_t numInputs;
  std::int32_t numOutputs;
  std::int32_t flags;
  std::intptr_t resvd1;
  std::intptr_t resvd2;
  std::int32_t initialDelay;   // samples
  std::int32_t realQualities;  // deprecated
  std::int32_t offQualities;   // deprecated
  float ioRatio;               // deprecated
  void* object;
  void* user;
  std::int32_t uniqueID;
  std::int32_t version;
  AEffectProcessProc processReplacing;
  AEffectProcessDoubleProc processDoubleReplacing;
  char future[56];
};

// Hosts were compiled against these offsets; 64-bit first, then 32-bit.
inline constexpr bool kWide = sizeof(void*) == 8;
static_assert(sizeof(AEffect) == (kWide ? 192 : 144));
static_assert(offsetof(AEffect, magic) == 0);
static_assert(offsetof(AEffect, dispatcher) == (kWide ? 8 : 4));
static_assert(offsetof(AEffect, process) == (kWide ? 16 : 8));
static_assert(offsetof(AEffect, setParameter) == (kWide ? 24 : 12));
static_assert(offsetof(AEffect, getParameter) == (kWide ? 32 : 16));
static_assert(offsetof(AEffect, numPrograms) == (kWide ? 40 : 20));
static_assert(offsetof(AEffect, numParams) == (kWide ? 44 : 24));
static_assert(offsetof(AEffect, numInputs) == (kWide ? 48 : 28));
static_assert(offsetof(AEffect, numOutputs) == (kWide ? 52 : 32));
static_assert(offsetof(AEffect, flags) == (kWide ? 56 : 36));
static_assert(offsetof(AEffect, resvd1) == (kWide ? 64 : 40));
static_assert(offsetof(AEffect, resvd2) == (kWide ? 72 : 44));
static_assert(offsetof(AEffect, initialDelay) == (kWide ? 80 : 48));
static_assert(offsetof(AEffect, realQualities) == (kWide ? 84 : 52));
static_assert(offsetof(AEffect, offQualities) == (kWide ? 88 : 56));
static_assert(offsetof(AEffect, ioRatio) == (kWide ? 92 : 60));
static_assert(offsetof(AEffect, object) == (kWide ? 96 : 64));
static_assert(offsetof(AEffect, user) == (kWide ? 104 : 68));
static_assert(offsetof(AEffect, uniqueID) == (kWide ? 112 : 72));
static_assert(offsetof(AEffect, version) == (kWide ? 116 : 76));
static_assert(offsetof(AEffect, processReplacing) == (kWide ? 120 : 80));
static_assert(offsetof(AEffect, processDoubleReplacing) == (kWide ? 128 : 84));
static_assert(offsetof(AEffect, future) == (kWide ? 136 : 88));

enum AEffectOpcodes : std::int32_t {
  effOpen = 0,
  effClose = 1,
  effSetProgram = 2,
  effGetProgram = 3,
  effSetProgramName = 4,
  effGetProgramName = 5,
  effGetParamLabel = 6,
  effGetParamDisplay = 7,
  effGetParamName = 8,
  effSetSampleRate = 10,
  effSetBlockSize = 11,
  effMainsChanged = 12,
  effEditGetRect = 13,
  effEditOpen = 14,
  effEditClose = 15,
  effEditIdle = 19,
  effIdentify = 22,
  effGetChunk = 23,
  effSetChunk = 24,
  effProcessEvents = 25,
  effCanBeAutomated = 26,
  effString2Parameter = 27,
  effGetProgramNameIndexed = 29,
  effGetInputProperties = 33,
  effGetOutputProperties = 34,
  effGetPlugCategory = 35,
  effOfflineNotify = 38,
  effOfflinePrepare = 39,
  effOfflineRun = 40,
  effProcessVarIo = 41,
  effSetSpeakerArrangement = 42,
  effSetBypass = 44,
  effGetEffectName = 45,
  effGetVendorString = 47,
  effGetProductString = 48,
  effGetVendorVersion = 49,
  effVendorSpecific = 50,
  effCanDo = 51,
  effGetTailSize = 52,
  effGetParameterProperties = 56,
  effGetVstVersion = 58,
  effGetMidiProgramName = 62,
  effGetCurrentMidiProgram = 63,
  effGetMidiProgramCategory = 64,
  effHasMidiProgramsChanged = 65,
  effGetMidiKeyName = 66,
  effBeginSetProgram = 67,
  effEndSetProgram = 68,
  effGetSpeakerArrangement = 69,
  effShellGetNextPlugin = 70,
  effStartProcess = 71,
  effStopProcess = 72,
  effSetTotalSampleToProcess = 73,
  effSetPanLaw = 74,
  effBeginLoadBank = 75,
  effBeginLoadProgram = 76,
  effSetProcessPrecision = 77,
  effGetNumMidiInputChannels = 78,
  effGetNumMidiOutputChannels = 79,
};

enum AudioMasterOpcodes : std::int32_t {
  audioMasterAutomate = 0,
  audioMasterVersion = 1,
  audioMasterCurrentId = 2,
  audioMasterIdle = 3,
  audioMasterWantMidi = 6,  // deprecated
  audioMasterGetTime = 7,
  audioMasterProcessEvents = 8,
  audioMasterTempoAt = 10,                      // deprecated
  audioMasterGetNumAutomatableParameters = 11,  // deprecated
  audioMasterGetParameterQuantization = 12,     // deprecated
  audioMasterIOChanged = 13,
  audioMasterNeedIdle = 14,  // deprecated
  audioMasterSizeWindow = 15,
  audioMasterGetSampleRate = 16,
  audioMasterGetBlockSize = 17,
  audioMasterGetInputLatency = 18,
  audioMasterGetOutputLatency = 19,
  audioMasterGetPreviousPlug = 20,          // deprecated
  audioMasterGetNextPlug = 21,              // deprecated
  audioMasterWillReplaceOrAccumulate = 22,  // deprecated
  audioMasterGetCurrentProcessLevel = 23,
  audioMasterGetAutomationState = 24,
  audioMasterOfflineStart = 25,
  audioMasterOfflineRead = 26,
  audioMasterOfflineWrite = 27,
  audioMasterOfflineGetCurrentPass = 28,
  audioMasterOfflineGetCurrentMetaPass = 29,
  audioMasterSetOutputSampleRate = 30,          // deprecated
  audioMasterGetOutputSpeakerArrangement = 31,  // deprecated
  audioMasterGetVendorString = 32,
  audioMasterGetProductString = 33,
  audioMasterGetVendorVersion = 34,
  audioMasterVendorSpecific = 35,
  audioMasterCanDo = 37,
  audioMasterGetLanguage = 38,
  audioMasterGetDirectory = 41,
  audioMasterUpdateDisplay = 42,
  audioMasterBeginEdit = 43,
  audioMasterEndEdit = 44,
  audioMasterOpenFileSelector = 45,
  audioMasterCloseFileSelector = 46,
  audioMasterGetChunkFile = 48,                // deprecated
  audioMasterGetInputSpeakerArrangement = 49,  // deprecated
};

enum VstParameterFlags : std::int32_t {
  kVstParameterIsSwitch = 1 << 0,
  kVstParameterUsesIntegerMinMax = 1 << 1,
  kVstParameterUsesFloatStep = 1 << 2,
};

// What a host may know about one parameter beyond its name and value.
struct VstParameterProperties {
  float stepFloat;
  float smallStepFloat;
  float largeStepFloat;
  char label[64];
  std::int32_t flags;
  std::int32_t minInteger;
  std::int32_t maxInteger;
  std::int32_t stepInteger;
  std::int32_t largeStepInteger;
  char shortLabel[8];
  std::int16_t displayIndex;
  std::int16_t category;
  std::int16_t numParametersInCategory;
  std::int16_t reserved;
  char categoryLabel[24];
  char future[16];
};
static_assert(sizeof(VstParameterProperties) == 152);
static_assert(offsetof(VstParameterProperties, flags) == 76);
static_assert(offsetof(VstParameterProperties, categoryLabel) == 112);

// Types that only pass through the interface as pointers.
struct VstEvents;
struct VstTimeInfo;
struct VstPinProperties;
struct VstSpeakerArrangement;
struct VstSpeakerProperties;
struct VstPatchChunkInfo;
struct VstVariableIo;
struct VstOfflineTask;
struct VstAudioFile;
struct VstFileSelect;
struct MidiProgramName;
struct MidiProgramCategory;
struct MidiKeyName;
using VstOfflineOption = std::int32_t;

}  // namespace quellard

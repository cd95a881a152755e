// SPDX-License-Identifier: ISC
// The VST 2.x part of the effect's base. See audio_effect.h on the order of declarations.
#pragma once

#include "shell/audio_effect.h"

namespace quellard {

class AudioEffectX : public AudioEffect {
 public:
  using AudioEffect::AudioEffect;

  virtual bool canParameterBeAutomated(std::int32_t) { return true; }
  virtual bool string2parameter(std::int32_t, char*) { return false; }
  virtual bool getParameterProperties(std::int32_t, VstParameterProperties*) { return false; }
  virtual bool beginEdit(std::int32_t index) { return askHost(audioMasterBeginEdit, index) != 0; }
  virtual bool endEdit(std::int32_t index) { return askHost(audioMasterEndEdit, index) != 0; }

  virtual bool getProgramNameIndexed(std::int32_t /*category*/, std::int32_t, char*) {
    return false;
  }
  virtual bool beginSetProgram() { return false; }
  virtual bool endSetProgram() { return false; }
  virtual std::int32_t beginLoadBank(VstPatchChunkInfo*) { return 0; }
  virtual std::int32_t beginLoadProgram(VstPatchChunkInfo*) { return 0; }

  virtual bool ioChanged() { return askHost(audioMasterIOChanged) != 0; }
  virtual double updateSampleRate();        // takes over the host's rate, Hz
  virtual std::int32_t updateBlockSize();   // takes over the host's block size
  virtual std::int32_t getInputLatency();   // samples
  virtual std::int32_t getOutputLatency();  // samples
  virtual bool getInputProperties(std::int32_t, VstPinProperties*) { return false; }
  virtual bool getOutputProperties(std::int32_t, VstPinProperties*) { return false; }
  virtual bool setSpeakerArrangement(VstSpeakerArrangement*, VstSpeakerArrangement*) {
    return false;
  }
  virtual bool getSpeakerArrangement(VstSpeakerArrangement** input,  // stores null into both
                                     VstSpeakerArrangement** output);
  virtual bool setBypass(bool) { return false; }
  virtual bool setPanLaw(std::int32_t, float) { return false; }
  virtual bool setProcessPrecision(std::int32_t) { return false; }
  virtual std::int32_t getNumMidiInputChannels() { return 0; }
  virtual std::int32_t getNumMidiOutputChannels() { return 0; }

  virtual VstTimeInfo* getTimeInfo(std::int32_t filter);
  virtual std::int32_t getCurrentProcessLevel();
  virtual std::int32_t getAutomationState();
  virtual std::int32_t processEvents(VstEvents*) { return 0; }
  virtual std::int32_t startProcess() { return 0; }
  virtual std::int32_t stopProcess() { return 0; }
  virtual bool processVariableIo(VstVariableIo*) { return false; }
  virtual std::int32_t setTotalSampleToProcess(std::int32_t value) { return value; }

  virtual bool getHostVendorString(char* text);
  virtual bool getHostProductString(char* text);
  virtual std::int32_t getHostVendorVersion();
  virtual std::intptr_t hostVendorSpecific(std::int32_t index, std::intptr_t value, void* ptr,
                                           float opt);
  virtual std::int32_t canHostDo(char* text);
  virtual std::int32_t getHostLanguage();

  virtual void isSynth(bool state) { setFlag(effFlagsIsSynth, state); }
  virtual void noTail(bool state) { setFlag(effFlagsNoSoundInStop, state); }
  virtual std::int32_t getGetTailSize() { return 0; }
  virtual void* getDirectory();
  virtual bool getEffectName(char*) { return false; }
  virtual bool getVendorString(char*) { return false; }
  virtual bool getProductString(char*) { return false; }
  virtual std::int32_t getVendorVersion() { return 0; }
  virtual std::intptr_t vendorSpecific(std::int32_t, std::intptr_t, void*, float) { return 0; }
  virtual std::int32_t canDo(char*) { return 0; }
  virtual std::int32_t getVstVersion() { return kVstVersion; }
  virtual VstPlugCategory getPlugCategory();  // unknown, or a synthesizer

  virtual std::int32_t getMidiProgramName(std::int32_t, MidiProgramName*) { return 0; }
  virtual std::int32_t getCurrentMidiProgram(std::int32_t, MidiProgramName*) { return -1; }
  virtual std::int32_t getMidiProgramCategory(std::int32_t, MidiProgramCategory*) { return 0; }
  virtual bool hasMidiProgramsChanged(std::int32_t) { return false; }
  virtual bool getMidiKeyName(std::int32_t, MidiKeyName*) { return false; }

  virtual bool updateDisplay() { return askHost(audioMasterUpdateDisplay) != 0; }
  virtual bool sizeWindow(std::int32_t width, std::int32_t height);
  virtual bool openFileSelector(VstFileSelect* select);
  virtual bool closeFileSelector(VstFileSelect* select);
  virtual std::int32_t getNextShellPlugin(char*) { return 0; }
  virtual bool allocateArrangement(VstSpeakerArrangement**, std::int32_t) { return false; }
  virtual bool deallocateArrangement(VstSpeakerArrangement**) { return false; }
  virtual bool copySpeaker(VstSpeakerProperties*, VstSpeakerProperties*) { return false; }
  virtual bool matchArrangement(VstSpeakerArrangement**, VstSpeakerArrangement*) { return false; }

  virtual bool offlineRead(VstOfflineTask* task, VstOfflineOption option, bool readSource);
  virtual bool offlineWrite(VstOfflineTask* task, VstOfflineOption option);
  virtual bool offlineStart(VstAudioFile* files, std::int32_t count, std::int32_t newCount);
  virtual std::int32_t offlineGetCurrentPass();
  virtual std::int32_t offlineGetCurrentMetaPass();
  virtual bool offlineNotify(VstAudioFile*, std::int32_t, bool) { return false; }
  virtual bool offlinePrepare(VstOfflineTask*, std::int32_t) { return false; }
  virtual bool offlineRun(VstOfflineTask*, std::int32_t) { return false; }
  virtual std::int32_t offlineGetNumPasses() { return 0; }
  virtual std::int32_t offlineGetNumMetaPasses() { return 0; }

  // Serves opcodes 25 to 79 and hands the others to the base.
  std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                           float opt) override;
  void resume() override;  // asks a synthesizer's host for MIDI events

  // Published names. NOLINTBEGIN(bugprone-reserved-identifier)
  virtual void __wantEventsDeprecated(std::int32_t filter);
  virtual std::int32_t __tempoAtDeprecated(std::int32_t position);
  virtual std::int32_t __getNumAutomatableParametersDeprecated();
  virtual std::int32_t __getParameterQuantizationDeprecated();
  virtual std::int32_t __getNumCategoriesDeprecated() { return 1; }
  virtual bool __copyProgramDeprecated(std::int32_t) { return false; }
  virtual bool __needIdleDeprecated();
  virtual AEffect* __getPreviousPlugDeprecated(std::int32_t input);
  virtual AEffect* __getNextPlugDeprecated(std::int32_t output);
  virtual void __inputConnectedDeprecated(std::int32_t, bool) {}
  virtual void __outputConnectedDeprecated(std::int32_t, bool) {}
  virtual std::int32_t __willProcessReplacingDeprecated();
  virtual void __wantAsyncOperationDeprecated(bool state) { setFlag(effFlagsExtIsAsync, state); }
  virtual void __hasExternalBufferDeprecated(bool state) { setFlag(effFlagsExtHasBuffer, state); }
  virtual std::int32_t __reportCurrentPositionDeprecated() { return 0; }
  virtual float* __reportDestinationBufferDeprecated() { return nullptr; }
  virtual void __setOutputSamplerateDeprecated(float rate);
  virtual VstSpeakerArrangement* __getInputSpeakerArrangementDeprecated();
  virtual VstSpeakerArrangement* __getOutputSpeakerArrangementDeprecated();
  virtual void __setBlockSizeAndSampleRateDeprecated(std::int32_t newSize, float newRate);
  virtual bool __getErrorTextDeprecated(char*) { return false; }
  virtual void* __getIconDeprecated() { return nullptr; }
  virtual bool __setViewPositionDeprecated(std::int32_t, std::int32_t) { return false; }
  virtual std::int32_t __fxIdleDeprecated() { return 0; }
  virtual bool __keysRequiredDeprecated() { return false; }
  virtual bool __getChunkFileDeprecated(void* nativePath);
  // NOLINTEND(bugprone-reserved-identifier)

 private:
  std::intptr_t dispatchProcessing(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* ptr, float opt);
  std::intptr_t dispatchMidi(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                             void* ptr, float opt);
  bool fillPublishedProperties(std::int32_t index, void* record);
};

}  // namespace quellard

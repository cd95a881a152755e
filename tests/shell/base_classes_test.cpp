// SPDX-License-Identifier: ISC
// The base classes without the amplifier: the default answers, of which the amplifier overrides
// some, and the calls to the host.
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "shell/orv_type.h"
#include "tests/shell/recording_host.h"

namespace quellard::test {
namespace {

class BareEffect : public Orv_TypeBase {
 public:
  BareEffect() : Orv_TypeBase(recordingHost, 2, 3) { hostCalls.clear(); }
  void processReplacing(float**, float**, std::int32_t) override {}

  std::intptr_t ask(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                    void* ptr = nullptr, float opt = 0.0f) {
    return cEffect.dispatcher(&cEffect, opcode, index, value, ptr, opt);
  }
};

TEST(BareEffect, AnswersNothingByDefault) {
  BareEffect effect;
  char text[64] = "untouched";
  for (const std::int32_t opcode :
       {effGetEffectName, effGetVendorString, effGetProductString, effGetVendorVersion, effCanDo,
        effGetTailSize, effString2Parameter, effGetProgramNameIndexed, effGetInputProperties,
        effGetOutputProperties, effSetProgramName, effSetBypass, effSetProcessPrecision,
        effGetChunk, effSetChunk, effVendorSpecific, effOpen, effProcessEvents,
        effGetPlugCategory}) {
    EXPECT_EQ(effect.ask(opcode, 1, 1, text), 0) << opcode;
    EXPECT_STREQ(text, "untouched") << opcode;
  }
  VstParameterProperties properties = {};
  properties.flags = 77;
  EXPECT_EQ(effect.ask(effGetParameterProperties, 1, 0, &properties), 0);
  EXPECT_EQ(properties.flags, 77);
  for (const std::int32_t opcode :
       {effGetProgramName, effGetParamLabel, effGetParamDisplay, effGetParamName}) {
    char full[64] = "full";
    EXPECT_EQ(effect.ask(opcode, 1, 0, full), 0) << opcode;
    EXPECT_STREQ(full, "") << opcode;
  }
  EXPECT_EQ(effect.getParameter(1), 0.0f);
  const AEffect& record = *effect.getAeffect();
  EXPECT_EQ(record.numInputs, 1);
  EXPECT_EQ(record.numOutputs, 2);
  EXPECT_EQ(record.uniqueID, fourCharacters("NoEf"));
}

TEST(BareEffect, KeepsWhatTheHostSets) {
  BareEffect effect;
  effect.ask(effSetProgram, 0, 1);
  EXPECT_EQ(effect.ask(effGetProgram), 1);
  effect.ask(effSetProgram, 0, 2);
  EXPECT_EQ(effect.ask(effGetProgram), 1) << "there are two programs";
  effect.ask(effSetSampleRate, 0, 0, nullptr, 96000.0f);
  EXPECT_EQ(effect.getSampleRate(), 96000.0f);
  effect.setParameterAutomated(1, 0.75f);
  EXPECT_EQ(effect.getParameter(1), 0.0f);

  float single = 3.0f;
  float* singles = &single;
  double sample = 3.0;
  double* samples = &sample;
  effect.processDoubleReplacing(&samples, &samples, 1);
  effect.__processDeprecated(&singles, &singles, 1);
  EXPECT_EQ(sample, 3.0);
  EXPECT_EQ(single, 3.0f);
}

// A synthesizer asks for the host's MIDI events when it is switched on.
TEST(BareEffect, AsksForMidiOnlyAsASynthesizer) {
  BareEffect effect;
  effect.ask(effMainsChanged, 0, 1);
  effect.ask(effMainsChanged, 0, 0);
  EXPECT_TRUE(hostCalls.empty());
  effect.isSynth(true);
  EXPECT_EQ(effect.ask(effGetPlugCategory), 2);
  effect.ask(effMainsChanged, 0, 1);
  EXPECT_EQ(
      hostCalls,
      (std::vector<HostCall>{{effect.getAeffect(), audioMasterWantMidi, 0, 1, nullptr, 0.0f}}));
}

TEST(BareEffect, AnswersTheHostExtension) {
  BareEffect e;
  EXPECT_EQ((std::array{e.getNumOfInJacks(), e.getNumOfOutJacks(), e.getNumOfInSig(5),
                        e.getNumOfOutSig(5), e.getStartNumInSig(5), e.getStartNumOutSig(5),
                        e.getDryInSigNum(), e.getHeaderVersion()}),
            (std::array{1, 1, 2, 1, 0, 0, -1, 1}));
  e.headerVersion = 7;
  e.setListner(nullptr);
  e.setTime(0.5f);
  EXPECT_EQ(e.getHeaderVersion(), 7);
  EXPECT_EQ(e.editMinimum, 0.0);
  char text[9] = "same";
  e.getParameterDisplayOf(1, 0.5f, text);
  EXPECT_STREQ(text, "same");
}

TEST(BareEffect, ReturnsTheHostsAnswers) {
  BareEffect e;
  hostVersion = 0;
  EXPECT_EQ(e.getMasterVersion(), 1);
  hostVersion = hostAnswer = 48000;
  EXPECT_EQ((std::array{e.updateSampleRate(), static_cast<double>(e.getSampleRate())}),
            (std::array{48000.0, 48000.0}));
  EXPECT_EQ((std::array{e.updateBlockSize(), e.getBlockSize(), e.getInputLatency(),
                        e.getMasterVersion(), e.getHostLanguage()}),
            (std::array{48000, 48000, 48000, 48000, 48000}));
  EXPECT_TRUE(e.ioChanged());
  hostVersion = kVstVersion;
  hostAnswer = 0;
}

// Records each operation with its arguments, and answers 1.
class AnsweringEffect : public BareEffect {
 public:
  ~AnsweringEffect() override { called += "destroyed "; }

  static inline std::string called;

  template <class... Arguments>
  static int note(const char* name, Arguments... arguments) {
    std::ostringstream line;
    line << name;
    ((line << ' ' << shown(arguments)), ...);
    called += line.str() + ';';
    return 1;
  }
  template <class Type>
  static Type shown(Type argument) {
    return argument;
  }
  template <class Type>
  static std::string shown(Type* argument) {
    return "p" + std::to_string(reinterpret_cast<std::intptr_t>(argument));
  }

  // clang-format off
  using I = std::int32_t;
  using Speakers = VstSpeakerArrangement;
  void close() override { note("close"); }
  bool canParameterBeAutomated(I i) override { return note("automated", i) == 2; }
  bool string2parameter(I i, char* t) override { return note("string2parameter", i, t); }
  bool getProgramNameIndexed(I c, I i, char* t) override { return note("indexed", c, i, t); }
  bool beginSetProgram() override { return note("begin"); }
  bool endSetProgram() override { return note("end"); }
  I beginLoadBank(VstPatchChunkInfo* p) override { return note("bank", p); }
  I beginLoadProgram(VstPatchChunkInfo* p) override { return note("program", p); }
  bool getInputProperties(I i, VstPinProperties* p) override { return note("in", i, p); }
  bool getOutputProperties(I i, VstPinProperties* p) override { return note("out", i, p); }
  bool setSpeakerArrangement(Speakers* a, Speakers* b) override { return note("speakers", a, b); }
  bool getSpeakerArrangement(Speakers** a, Speakers** b) override { return note("which", a, b); }
  bool setBypass(bool on) override { return note("bypass", on); }
  bool setPanLaw(I type, float value) override { return note("pan", type, value); }
  bool setProcessPrecision(I bits) override { return note("precision", bits); }
  I getNumMidiInputChannels() override { return note("midi-in"); }
  I getNumMidiOutputChannels() override { return note("midi-out"); }
  I processEvents(VstEvents* p) override { return note("events", p); }
  I startProcess() override { return note("start"); }
  I stopProcess() override { return note("stop"); }
  bool processVariableIo(VstVariableIo* p) override { return note("variable", p); }
  I setTotalSampleToProcess(I total) override { return note("total", total); }
  I getGetTailSize() override { return note("tail"); }
  bool getVendorString(char* t) override { return note("vendor", t); }
  std::intptr_t vendorSpecific(I i, std::intptr_t v, void* p, float o) override { return note("specific", i, v, p, o); }
  I canDo(char* t) override { return note("can", t); }
  I getVstVersion() override { return note("version"); }
  I getMidiProgramName(I i, MidiProgramName* p) override { return note("midi-program", i, p); }
  I getCurrentMidiProgram(I i, MidiProgramName* p) override { return note("midi-current", i, p); }
  I getMidiProgramCategory(I i, MidiProgramCategory* p) override { return note("midi-category", i, p); }
  bool hasMidiProgramsChanged(I i) override { return note("midi-changed", i); }
  bool getMidiKeyName(I i, MidiKeyName* p) override { return note("midi-key", i, p); }
  I getNextShellPlugin(char* t) override { return note("next", t); }
  bool offlineNotify(VstAudioFile* p, I n, bool start) override { return note("notify", p, n, start); }
  bool offlinePrepare(VstOfflineTask* p, I n) override { return note("prepare", p, n); }
  bool offlineRun(VstOfflineTask* p, I n) override { return note("run", p, n); }
  // clang-format on
};

// Every opcode calls its virtual operation and returns the answer. All are sent with index 3, value
// 32, pointer 64 and 0.5.
TEST(BareEffect, OpcodesReachTheEffectsOwnOperations) {
  AnsweringEffect effect;
  const std::pair<std::int32_t, std::string> rows[] = {
      // clang-format off
      {effString2Parameter, "string2parameter 3 p64"},
      {effGetProgramNameIndexed, "indexed 32 3 p64"},
      {effGetInputProperties, "in 3 p64"},            {effGetOutputProperties, "out 3 p64"},
      {effOfflineNotify, "notify p64 32 1"},          {effOfflinePrepare, "prepare p64 32"},
      {effOfflineRun, "run p64 32"},                  {effProcessVarIo, "variable p64"},
      {effSetSpeakerArrangement, "speakers p32 p64"},
      {effSetBypass, "bypass 1"},                     {effGetVendorString, "vendor p64"},
      {effCanDo, "can p64"},                          {effGetTailSize, "tail"},
      {effGetVstVersion, "version"},                  {effGetMidiProgramName, "midi-program 3 p64"},
      {effGetCurrentMidiProgram, "midi-current 3 p64"},
      {effGetMidiProgramCategory, "midi-category 3 p64"},
      {effHasMidiProgramsChanged, "midi-changed 3"},  {effGetMidiKeyName, "midi-key 3 p64"},
      {effBeginSetProgram, "begin"},                  {effEndSetProgram, "end"},
      {effGetSpeakerArrangement, "which p32 p64"},    {effShellGetNextPlugin, "next p64"},
      {effStartProcess, "start"},                     {effStopProcess, "stop"},
      {effSetTotalSampleToProcess, "total 32"},       {effSetPanLaw, "pan 32 0.5"},
      {effBeginLoadBank, "bank p64"},                 {effBeginLoadProgram, "program p64"},
      {effSetProcessPrecision, "precision 32"},       {effGetNumMidiInputChannels, "midi-in"},
      {effGetNumMidiOutputChannels, "midi-out"},      {effProcessEvents, "events p64"},
      // clang-format on
  };
  for (const auto& [opcode, called] : rows) {
    AnsweringEffect::called.clear();
    EXPECT_EQ(effect.ask(opcode, 3, 32, reinterpret_cast<void*>(64), 0.5f), 1) << opcode;
    EXPECT_EQ(AnsweringEffect::called, called + ";") << opcode;
  }
  AnsweringEffect::called.clear();
  EXPECT_EQ(effect.ask(effCanBeAutomated, 3), 0);
  effect.ask(effVendorSpecific, 3, 77, nullptr, 0.5f);
  EXPECT_EQ(AnsweringEffect::called, "automated 3;specific 3 77 p0 0.5;");
}

TEST(BareEffect, IsAskedToCloseBeforeItIsDestroyed) {
  AnsweringEffect::called.clear();
  auto* effect = new AnsweringEffect;
  EXPECT_EQ(effect->ask(effClose), 1);
  EXPECT_EQ(AnsweringEffect::called, "close;destroyed ");
}

}  // namespace
}  // namespace quellard::test

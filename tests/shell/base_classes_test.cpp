// SPDX-License-Identifier: ISC
// The base classes on their own: what an effect answers that says nothing about itself. The
// amplifier overrides a good part of it; the rest is what hosts get.
#include <gtest/gtest.h>

#include "shell/orv_type.h"

namespace quellard::test {
namespace {

std::int32_t lastQuestion = -1;

std::intptr_t listeningHost(AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*,
                            float) {
  lastQuestion = opcode;
  return 0;
}

class BareEffect final : public Orv_TypeBase {
 public:
  BareEffect() : Orv_TypeBase(listeningHost, 2, 3) {}
  void processReplacing(float**, float**, std::int32_t) override {}

  std::intptr_t ask(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                    void* ptr = nullptr, float opt = 0.0f) {
    return dispatcher(opcode, index, value, ptr, opt);
  }
};

TEST(BareEffect, KnowsNothingOfItself) {
  BareEffect effect;
  char text[64] = "untouched";
  for (const std::int32_t opcode :
       {effGetEffectName, effGetVendorString, effGetProductString, effGetVendorVersion, effCanDo,
        effGetTailSize, effString2Parameter, effGetProgramNameIndexed, effGetInputProperties,
        effGetOutputProperties, effSetProgramName, effSetBypass, effSetProcessPrecision,
        effGetChunk, effSetChunk, effVendorSpecific, effOpen, effClose, effProcessEvents}) {
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

// A synthesizer wants the host's MIDI events when it is switched on.
TEST(BareEffect, IsAnEffectUntilItCallsItselfASynthesizer) {
  BareEffect effect;
  lastQuestion = -1;
  effect.ask(effMainsChanged, 0, 1);
  effect.ask(effMainsChanged, 0, 0);
  EXPECT_EQ(lastQuestion, -1);
  EXPECT_EQ(effect.ask(effGetPlugCategory), kPlugCategEffect);
  effect.isSynth(true);
  EXPECT_EQ(effect.ask(effGetPlugCategory), kPlugCategUnknown);
  effect.ask(effMainsChanged, 0, 1);
  EXPECT_EQ(lastQuestion, audioMasterWantMidi);
}

TEST(BareEffect, AnswersTheHostExtension) {
  BareEffect effect;
  EXPECT_EQ(effect.getNumOfInSig(0), 2) << "the jacks and signals of an effect without an opinion";
  EXPECT_EQ(effect.getNumOfOutSig(0), 1);
  char text[9] = "same";
  effect.getParameterDisplayOf(1, 0.5f, text);
  EXPECT_STREQ(text, "same");
}

}  // namespace
}  // namespace quellard::test

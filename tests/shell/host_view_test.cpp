// SPDX-License-Identifier: ISC
// The host's side of the class layout: operations by their slot, fields by their offset, on an
// object of the built module.
#include "tests/shell/host_view.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "tests/shell/module.h"

namespace quellard::test {
namespace {

using host::call;
using host::Slot;

std::vector<std::int32_t> asked;

// Answers every question but the version with 0, which leaves the effect as it is.
std::intptr_t listeningHost(AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*,
                            float) {
  asked.push_back(opcode);
  return opcode == audioMasterVersion ? kVstVersion : 0;
}

class HostView : public testing::Test {
 protected:
  OpenedEffect effect{moduleEntry("getinterface"), listeningHost};
  AEffect& record = effect.record();
};

// The operations that ask the host stand all over the table and each asks something else.
TEST_F(HostView, QuestionsToTheHostStandInTheirSlots) {
  // clang-format off
  const struct {
    Slot slot;
    std::int32_t opcode;
  } rows[] = {
      {Slot::getMasterVersion, 1}, {Slot::getCurrentUniqueId, 2}, {Slot::masterIdle, 3},
      {Slot::beginEdit, 43}, {Slot::endEdit, 44}, {Slot::ioChanged, 13},
      {Slot::updateBlockSize, 17}, {Slot::getInputLatency, 18}, {Slot::getOutputLatency, 19},
      {Slot::getTimeInfo, 7}, {Slot::getCurrentProcessLevel, 23}, {Slot::getAutomationState, 24},
      {Slot::getHostVendorString, 32}, {Slot::getHostProductString, 33},
      {Slot::getHostVendorVersion, 34}, {Slot::hostVendorSpecific, 35}, {Slot::canHostDo, 37},
      {Slot::getHostLanguage, 38}, {Slot::getDirectory, 41}, {Slot::updateDisplay, 42},
      {Slot::sizeWindow, 15}, {Slot::openFileSelector, 45}, {Slot::closeFileSelector, 46},
      {Slot::offlineRead, 26}, {Slot::offlineWrite, 27}, {Slot::offlineStart, 25},
      {Slot::offlineGetCurrentPass, 28}, {Slot::offlineGetCurrentMetaPass, 29},
      {Slot::wantEvents, 6}, {Slot::tempoAt, 10}, {Slot::getNumAutomatableParameters, 11},
      {Slot::getParameterQuantization, 12}, {Slot::needIdle, 14}, {Slot::getPreviousPlug, 20},
      {Slot::getNextPlug, 21}, {Slot::willProcessReplacing, 22},
      {Slot::getInputSpeakerArrangement, 49}, {Slot::getOutputSpeakerArrangement, 31},
      {Slot::getChunkFile, 48}
  };
  // clang-format on
  for (const auto& row : rows) {
    asked.clear();
    call<std::intptr_t>(record, row.slot, 0, std::intptr_t{0}, nullptr, nullptr);
    EXPECT_EQ(asked, std::vector{row.opcode}) << "slot " << static_cast<std::size_t>(row.slot);
  }
  asked.clear();
  EXPECT_EQ(call<double>(record, Slot::updateSampleRate), 44100.0);
  call<void>(record, Slot::setOutputSamplerate, 48000.0f);
  call<void>(record, Slot::setParameterAutomated, 4, 0.75f);
  EXPECT_EQ(asked, (std::vector<std::int32_t>{16, 30, 0}));
  EXPECT_EQ(effect.getParameter(4), 0.75f);
}

TEST_F(HostView, SettersReachTheirFields) {
  // clang-format off
  const struct {
    Slot slot;
    std::int32_t AEffect::*field;
  } rows[] = {
      {Slot::setUniqueID, &AEffect::uniqueID}, {Slot::setNumInputs, &AEffect::numInputs},
      {Slot::setNumOutputs, &AEffect::numOutputs},
      {Slot::setInitialDelay, &AEffect::initialDelay},
      {Slot::setRealtimeQualities, &AEffect::realQualities},
      {Slot::setOfflineQualities, &AEffect::offQualities}
  };
  // clang-format on
  int value = 1000;
  for (const auto& row : rows) {
    call<void>(record, row.slot, ++value);
    EXPECT_EQ(record.*row.field, value);
  }
  // clang-format off
  const struct {
    Slot slot;
    int flag;
  } flags[] = {
      {Slot::canProcessReplacing, 16}, {Slot::canDoubleReplacing, 4096},
      {Slot::programsAreChunks, 32}, {Slot::hasVu, 4}, {Slot::hasClip, 2}, {Slot::canMono, 8},
      {Slot::isSynth, 256}, {Slot::noTail, 512}, {Slot::wantAsyncOperation, 1024},
      {Slot::hasExternalBuffer, 2048}
  };
  // clang-format on
  for (const auto& row : flags) {
    const int before = record.flags & ~row.flag;
    call<void>(record, row.slot, true);
    EXPECT_EQ(record.flags, before | row.flag);
    call<void>(record, row.slot, false);
    EXPECT_EQ(record.flags, before);
  }
  call<void>(record, Slot::setBlockSizeAndSampleRate, 77, 22050.0f);
  EXPECT_EQ(call<int>(record, Slot::getBlockSize), 77);
  EXPECT_EQ(call<float>(record, Slot::getSampleRate), 22050.0f);
}

// The base's integer answers, and this amplifier's own operations behind them.
TEST_F(HostView, AnswersComeFromTheirSlots) {
  // clang-format off
  const struct {
    Slot slot;
    int answer;
  } rows[] = {
      {Slot::getBlockSize, 1024}, {Slot::getNumCategories, 1}, {Slot::getVstVersion, 2400},
      {Slot::getCurrentMidiProgram, -1}, {Slot::getMidiProgramName, 0},
      {Slot::setTotalSampleToProcess, 5}, {Slot::getVendorVersion, 1000},
      {Slot::getPlugCategory, 1}, {Slot::getGetTailSize, 0}, {Slot::canDo, 0},
      {Slot::getNumMidiInputChannels, 0}, {Slot::startProcess, 0}, {Slot::getNextShellPlugin, 0},
      {Slot::offlineGetNumPasses, 0}, {Slot::reportCurrentPosition, 0}, {Slot::fxIdle, 0},
      {Slot::getNumOfInJacks, 1}, {Slot::getNumOfOutJacks, 1}, {Slot::getNumOfInSig, 1},
      {Slot::getNumOfOutSig, 1}, {Slot::getStartNumInSig, 0}, {Slot::getStartNumOutSig, 0},
      {Slot::getDryInSigNum, -1}, {Slot::getHeaderVersion, 1}, {Slot::getNumOfOut1Jacks, 1},
      {Slot::getNumOfOut1Sig, 1}
  };
  // clang-format on
  for (const auto& row : rows)
    EXPECT_EQ(call<int>(record, row.slot, 5, nullptr), row.answer)
        << "slot " << static_cast<std::size_t>(row.slot);
  EXPECT_EQ(call<AEffect*>(record, Slot::getAeffect), &record);
  EXPECT_EQ(call<void*>(record, Slot::getEditor), nullptr);
  EXPECT_EQ(call<float>(record, Slot::getVu), 0.0f);
  EXPECT_TRUE(call<bool>(record, Slot::canParameterBeAutomated, 99));
  EXPECT_FALSE(call<bool>(record, Slot::setBypass, true));
  call<void>(record, Slot::setListner, nullptr);
  call<void>(record, Slot::setTime, 0.5f);
}

TEST_F(HostView, TextsComeFromTheirSlots) {
  const auto text = [this](Slot slot, auto... args) {
    char buffer[80] = "untouched";
    call<void>(record, slot, args..., buffer, 8);
    return std::string(buffer);
  };
  EXPECT_EQ(text(Slot::dB2string, 10.0f), " 20.00");
  EXPECT_EQ(text(Slot::dB2string, 0.0f), "-oo");
  EXPECT_EQ(text(Slot::Hz2string, 100.0f), " 441.00");
  EXPECT_EQ(text(Slot::Hz2string, 0.0f), " 0.00");
  EXPECT_EQ(text(Slot::ms2string, 441.0f), " 10.00");
  EXPECT_EQ(text(Slot::float2string, 1.5f), " 1.50");
  EXPECT_EQ(text(Slot::int2string, -1234), "-1234");
  EXPECT_EQ(text(Slot::int2string, 1234567890), "12345678");
  EXPECT_EQ(text(Slot::getProgramName), "Init 1");
  EXPECT_EQ(text(Slot::getEffectName), "NEW Quellard");
  EXPECT_EQ(text(Slot::getProductString), "NEW Quellard");
  EXPECT_EQ(text(Slot::getParameterName, 6), "GAIN");
  EXPECT_EQ(text(Slot::getParameterLabel, 6), "");
  EXPECT_EQ(text(Slot::getParameterDisplay, 6), " 5.00");
  EXPECT_EQ(text(Slot::getParameterDisplayOf, 5, 0.25f), " 2.50");
  EXPECT_EQ(text(Slot::getParameterDisplayOf, 19, 0.2f), "CLEAN");
  EXPECT_EQ(text(Slot::getParameterDisplayOf, 0, 0.2f), "untouched");
}

// The host extension's record is two bytes longer than the published one.
TEST_F(HostView, PropertiesFillTheExtendedRecord) {
  std::array<unsigned char, 160> bytes;
  for (const int index : {1, 18, 19, 0, 20, -1}) {
    bytes.fill(0xA5);
    const bool known = call<bool>(record, Slot::getParameterProperties, index, bytes.data());
    EXPECT_EQ(known, index >= 1 && index <= 19);
    EXPECT_EQ(bytes[152], known ? 1 : index == 0 ? 0 : 0xA5);
    EXPECT_EQ(bytes[153], index < 0 || index == 20 ? 0xA5 : 0);
    EXPECT_EQ(bytes[154], 0xA5);
  }
  EXPECT_FALSE(call<bool>(record, Slot::getParameterProperties, 1, nullptr));
}

TEST_F(HostView, FieldsOfANewObjectStandAtTheirOffsets) {
  const host::Effect& e = host::view(record);
  EXPECT_EQ(e.audioMaster, &listeningHost);
  EXPECT_EQ(e.editor, nullptr);
  EXPECT_EQ(e.sampleRate, 44100.0f);
  EXPECT_EQ((std::array{e.blockSize, e.numPrograms, e.numParams, e.curProgram, e.headerVersion}),
            (std::array{1024, 16, 20, 0, 1}));
  EXPECT_EQ(&e.cEffect, &record);
  EXPECT_EQ(e.editMinimum, 0.0);
  EXPECT_TRUE(e.typePending);
  EXPECT_EQ(e.appliedSampleRate, -1.0);
  for (const void* p : {static_cast<void*>(e.channelSwitch), static_cast<void*>(e.fadeBuffer),
                        static_cast<void*>(e.channelBuffer), e.channels[0], e.channels[2],
                        static_cast<void*>(e.tapers[0]), static_cast<void*>(e.tapers[17])})
    EXPECT_EQ(p, nullptr);
  for (int program = 0; program < 16; ++program) {
    EXPECT_STREQ(e.programs[program].name, "Init");
    EXPECT_EQ(e.programs[program].values[0], 0.5f);
    EXPECT_EQ(e.programs[program].values[18], 1.0f);
  }
}

TEST_F(HostView, FieldsOfAPlayingObjectStandAtTheirOffsets) {
  host::Effect& e = host::view(record);
  e.editMinimum = 0.0625;
  effect.dispatch(effSetProgram, 0, 3);
  effect.dispatch(effSetBlockSize, 0, 333);
  for (int i = 1; i <= 18; ++i) effect.setParameter(i, static_cast<float>(i) / 32.0f);
  effect.setParameter(19, 0.5f);
  effect.setSampleRate(48000.0f);
  EXPECT_EQ(e.appliedValues[17], -1.0f);
  double in[64], out[64];
  for (double& x : in) x = 0.25;
  effect.process(in, out, 64);

  EXPECT_EQ((std::array{e.blockSize, e.curProgram, e.activeChannel, e.bufferFrames}),
            (std::array{333, 3, 1, 64}));
  EXPECT_EQ((std::array{e.appliedSampleRate, static_cast<double>(e.sampleRate)}),
            (std::array{48000.0, 44100.0}));
  EXPECT_FALSE(e.typePending);
  EXPECT_EQ(e.typeValue, 0.5f);
  EXPECT_EQ(e.programs[3].values[18], 0.5f);
  // Live values in the parameters' order, applied ones BASS, MID, TREBLE, PRESENCE, MASTER, GAIN.
  const int applied[6] = {1, 2, 3, 0, 4, 5};
  // MASTER, GAIN, BASS, MID, TREBLE, PRESENCE.
  const float exponents[6] = {2.0f, 3.0f, 0.5f, 1.0f, 1.0f, 1.0f};
  for (int i = 0; i < 18; ++i) {
    EXPECT_EQ(e.controlValues[i], static_cast<float>(i + 1) / 32.0f);
    EXPECT_EQ(e.programs[3].values[i], e.controlValues[i]);
    EXPECT_EQ(e.appliedValues[i], e.controlValues[i / 6 * 6 + applied[i % 6]]);
    const host::Taper& t = *e.tapers[i];
    EXPECT_EQ(t.exponent, exponents[i % 6]);
    EXPECT_EQ((std::array{t.curve, t.polyCount}), (std::array{0, 0}));
    EXPECT_EQ((std::array{t.valueAtOne, t.valueAtZero}), (std::array{1.0, 0.0625}));
    EXPECT_EQ((std::array{t.scale, t.offset, t.base}), (std::array{1.0f, 0.0f, 0.0f}));
    EXPECT_EQ(t.poly, nullptr);
  }
  const host::Switcher& s = *e.channelSwitch;
  EXPECT_EQ((std::array{s.fadeLength, s.fadePos, s.fadeState}), (std::array{768, 0, 0}));
  EXPECT_EQ((std::array{s.fadeInGain[0], s.fadeOutGain[767]}), (std::array{0.0, 1.0 / 768}));
  EXPECT_EQ(s.lastSelect, 0.5f);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(out[i], e.fadeBuffer[i] * e.channelBuffer[i]);
  EXPECT_NE(out[63], 0.0);
}

// The lock is a recursive mutex of the platform at its offset, and it is the one that stores take.
TEST_F(HostView, TheLockIsAPlatformMutex) {
  pthread_mutex_t& lock = host::view(record).processLock;
  ASSERT_EQ(pthread_mutex_lock(&lock), 0);
  effect.setParameter(1, 0.25f);
  EXPECT_EQ(effect.getParameter(1), 0.25f);
  int fromElsewhere = 0;
  std::thread([&] { fromElsewhere = pthread_mutex_trylock(&lock); }).join();
  EXPECT_EQ(fromElsewhere, EBUSY);
  EXPECT_EQ(pthread_mutex_unlock(&lock), 0);
}

}  // namespace
}  // namespace quellard::test

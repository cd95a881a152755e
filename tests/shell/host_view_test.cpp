// SPDX-License-Identifier: ISC
// The binary layout that the host depends on: virtual functions by their slot and fields by their
// offset, in an object of the built module.
#include "tests/shell/host_view.h"

#include <array>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/shell/module.h"
#include "tests/shell/recording_host.h"

namespace quellard::test {
namespace {

using host::call;
using host::Slot;

class HostView : public testing::Test {
 protected:
  OpenedEffect effect{moduleEntry("getinterface"), recordingHost};
  AEffect& record = effect.record();
};

// Every operation that calls the host is called with 4, 5, 1 and 0.5, which must arrive in the
// fields of the callback that the interface has for them.
TEST_F(HostView, CallsToTheHostAreInTheirSlots) {
  const struct {
    Slot slot;
    std::int32_t opcode, index;
    std::intptr_t value, pointer;
    float option = 0.0f;
  } rows[] = {
      // clang-format off
      {Slot::getMasterVersion, 1, 0, 0, 0},        {Slot::getCurrentUniqueId, 2, 0, 0, 0},
      {Slot::masterIdle, 3, 0, 0, 0},              {Slot::wantEvents, 6, 0, 4, 0},
      {Slot::getTimeInfo, 7, 0, 4, 0},             {Slot::tempoAt, 10, 0, 4, 0},
      {Slot::getNumAutomatableParameters, 11, 0, 0, 0},
      {Slot::getParameterQuantization, 12, 0, 0, 0},
      {Slot::ioChanged, 13, 0, 0, 0},              {Slot::needIdle, 14, 0, 0, 0},
      {Slot::sizeWindow, 15, 4, 5, 0},             {Slot::updateBlockSize, 17, 0, 0, 0},
      {Slot::getInputLatency, 18, 0, 0, 0},        {Slot::getOutputLatency, 19, 0, 0, 0},
      {Slot::getPreviousPlug, 20, 4, 0, 0},        {Slot::getNextPlug, 21, 4, 0, 0},
      {Slot::willProcessReplacing, 22, 0, 0, 0},   {Slot::getCurrentProcessLevel, 23, 0, 0, 0},
      {Slot::getAutomationState, 24, 0, 0, 0},     {Slot::offlineStart, 25, 1, 5, 4},
      {Slot::offlineRead, 26, 1, 5, 4},            {Slot::offlineWrite, 27, 0, 5, 4},
      {Slot::offlineGetCurrentPass, 28, 0, 0, 0},  {Slot::offlineGetCurrentMetaPass, 29, 0, 0, 0},
      {Slot::getOutputSpeakerArrangement, 31, 0, 0, 0},
      {Slot::getHostVendorString, 32, 0, 0, 4},    {Slot::getHostProductString, 33, 0, 0, 4},
      {Slot::getHostVendorVersion, 34, 0, 0, 0},   {Slot::hostVendorSpecific, 35, 4, 5, 1, 0.5f},
      {Slot::canHostDo, 37, 0, 0, 4},              {Slot::getHostLanguage, 38, 0, 0, 0},
      {Slot::getDirectory, 41, 0, 0, 0},           {Slot::updateDisplay, 42, 0, 0, 0},
      {Slot::beginEdit, 43, 4, 0, 0},              {Slot::endEdit, 44, 4, 0, 0},
      {Slot::openFileSelector, 45, 0, 0, 4},       {Slot::closeFileSelector, 46, 0, 0, 4},
      {Slot::getChunkFile, 48, 0, 0, 4},           {Slot::getInputSpeakerArrangement, 49, 0, 0, 0}
      // clang-format on
  };
  const auto expectCall = [this](HostCall wanted) {
    std::get<0>(wanted) = &record;
    EXPECT_EQ(hostCalls, std::vector{wanted}) << "opcode " << std::get<1>(wanted);
    hostCalls.clear();
  };
  const auto pointer = [](std::intptr_t address) { return reinterpret_cast<void*>(address); };
  hostCalls.clear();
  for (const auto& row : rows) {
    call<std::intptr_t>(record, row.slot, std::intptr_t{4}, std::intptr_t{5}, pointer(1), 0.5f);
    expectCall({nullptr, row.opcode, row.index, row.value, pointer(row.pointer), row.option});
  }
  EXPECT_EQ(call<double>(record, Slot::updateSampleRate), 44100.0);
  expectCall({nullptr, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f});
  call<void>(record, Slot::setOutputSamplerate, 48000.0f);
  expectCall({nullptr, audioMasterSetOutputSampleRate, 0, 0, nullptr, 48000.0f});
  call<void>(record, Slot::setParameterAutomated, 4, 0.75f);
  expectCall({nullptr, audioMasterAutomate, 4, 0, nullptr, 0.75f});
  EXPECT_EQ(effect.getParameter(4), 0.75f);
}

// The functions that set the record's numbers and flags.
TEST_F(HostView, SettersReachTheirFields) {
  AEffect& r = record;
  // clang-format off
  const std::pair<Slot, std::int32_t*> fields[] = {
      {Slot::setUniqueID, &r.uniqueID}, {Slot::setNumInputs, &r.numInputs},
      {Slot::setNumOutputs, &r.numOutputs}, {Slot::setInitialDelay, &r.initialDelay},
      {Slot::setRealtimeQualities, &r.realQualities}, {Slot::setOfflineQualities, &r.offQualities}
  };
  const std::pair<Slot, int> flags[] = {
      {Slot::canProcessReplacing, 16}, {Slot::canDoubleReplacing, 4096},
      {Slot::programsAreChunks, 32}, {Slot::hasVu, 4}, {Slot::hasClip, 2}, {Slot::canMono, 8},
      {Slot::isSynth, 256}, {Slot::noTail, 512}, {Slot::wantAsyncOperation, 1024},
      {Slot::hasExternalBuffer, 2048}
  };
  // clang-format on
  int value = 1000;
  for (const auto& [slot, field] : fields) {
    call<void>(record, slot, ++value);
    EXPECT_EQ(*field, value);
  }
  for (const auto& [slot, flag] : flags) {
    const int before = record.flags & ~flag;
    call<void>(record, slot, true);
    EXPECT_EQ(record.flags, before | flag);
    call<void>(record, slot, false);
    EXPECT_EQ(record.flags, before);
  }
  call<void>(record, Slot::setBlockSizeAndSampleRate, 77, 22050.0f);
  EXPECT_EQ(call<int>(record, Slot::getBlockSize), 77);
  EXPECT_EQ(call<float>(record, Slot::getSampleRate), 22050.0f);
}

TEST_F(HostView, AnswersComeFromTheirSlots) {
  // clang-format off
  const std::pair<Slot, int> rows[] = {
      {Slot::getBlockSize, 1024}, {Slot::getNumCategories, 1}, {Slot::getVstVersion, 2400},
      {Slot::getCurrentMidiProgram, -1}, {Slot::setTotalSampleToProcess, 5},
      {Slot::getVendorVersion, 1000}, {Slot::getPlugCategory, 1}, {Slot::getNumOfInJacks, 1},
      {Slot::getNumOfOutJacks, 1}, {Slot::getNumOfInSig, 1}, {Slot::getNumOfOutSig, 1},
      {Slot::getDryInSigNum, -1}, {Slot::getHeaderVersion, 1}, {Slot::getNumOfOut1Jacks, 1},
      {Slot::getNumOfOut1Sig, 1}, {Slot::getStartNumInSig, 0}, {Slot::getStartNumOutSig, 0},
      {Slot::fxIdle, 0}, {Slot::beginLoadBank, 0}, {Slot::beginLoadProgram, 0},
      {Slot::getNextShellPlugin, 0}, {Slot::getMidiProgramName, 0},
      {Slot::getMidiProgramCategory, 0}, {Slot::getNumMidiInputChannels, 0},
      {Slot::getNumMidiOutputChannels, 0}, {Slot::offlineGetNumPasses, 0},
      {Slot::offlineGetNumMetaPasses, 0}, {Slot::startProcess, 0}, {Slot::stopProcess, 0}
  };
  const Slot declined[] = {
      Slot::setSpeakerArrangement, Slot::allocateArrangement, Slot::deallocateArrangement,
      Slot::copySpeaker, Slot::matchArrangement, Slot::beginSetProgram, Slot::endSetProgram,
      Slot::hasMidiProgramsChanged, Slot::getMidiKeyName, Slot::offlineNotify,
      Slot::offlinePrepare, Slot::offlineRun, Slot::processVariableIo, Slot::setPanLaw
  };
  // clang-format on
  for (const Slot slot : declined)
    EXPECT_FALSE(call<bool>(record, slot, nullptr, nullptr)) << static_cast<std::size_t>(slot);
  for (const auto& [slot, answer] : rows)
    EXPECT_EQ(call<int>(record, slot, 5, nullptr), answer)
        << "slot " << static_cast<std::size_t>(slot);
  EXPECT_EQ(call<AEffect*>(record, Slot::getAeffect), &record);
  EXPECT_EQ(call<void*>(record, Slot::getEditor), nullptr);
  EXPECT_EQ(call<float>(record, Slot::getVu), 0.0f);
  EXPECT_TRUE(call<bool>(record, Slot::canParameterBeAutomated, 99));
}

TEST_F(HostView, TextsComeFromTheirSlots) {
  const auto text = [this](Slot slot, auto... args) {
    char buffer[80] = "untouched";
    call<void>(record, slot, args..., buffer, 8);
    return std::string(buffer);
  };
  const std::tuple<Slot, float, const char*> numbers[] = {
      {Slot::dB2string, 10.0f, " 20.00"},   {Slot::dB2string, 0.0f, "-oo"},
      {Slot::Hz2string, 100.0f, " 441.00"}, {Slot::Hz2string, 0.0f, " 0.00"},
      {Slot::ms2string, 441.0f, " 10.00"},  {Slot::float2string, 1.5f, " 1.50"}};
  for (const auto& [slot, number, shown] : numbers) EXPECT_EQ(text(slot, number), shown);
  EXPECT_EQ(text(Slot::int2string, -1234), "-1234");
  EXPECT_EQ(text(Slot::int2string, 12345678), "12345678");
  EXPECT_EQ(text(Slot::int2string, 123456789), "Huge!");
  EXPECT_EQ(text(Slot::int2string, -12345678), "Huge!");
  EXPECT_EQ(text(Slot::getProgramName), "Init 1");
  EXPECT_EQ(text(Slot::getEffectName), "NEW Quellard");
  EXPECT_EQ(text(Slot::getParameterName, 6), "GAIN");
  EXPECT_EQ(text(Slot::getParameterLabel, 6), "");
  EXPECT_EQ(text(Slot::getParameterDisplay, 6), " 5.00");
  EXPECT_EQ(text(Slot::getParameterDisplayOf, 5, 0.25f), " 2.50");
  EXPECT_EQ(text(Slot::getParameterDisplayOf, 19, 0.2f), "CLEAN");
}

TEST_F(HostView, FieldsStandAtTheirOffsets) {
  host::Effect& e = host::view(record);
  EXPECT_EQ((std::array{e.numPrograms, e.numParams, e.headerVersion}), (std::array{16, 20, 1}));
  EXPECT_EQ(e.audioMaster, &recordingHost);
  EXPECT_EQ(e.editor, nullptr);
  EXPECT_EQ(&e.cEffect, &record);
  EXPECT_TRUE(e.typePending);
  EXPECT_EQ(e.appliedSampleRate, -1.0);
  EXPECT_STREQ(e.programs[15].name, "Init");
  e.editMinimum = 0.0625;
  effect.dispatch(effSetProgram, 0, 3);
  effect.dispatch(effSetBlockSize, 0, 333);
  for (int i = 1; i <= 18; ++i) effect.setParameter(i, static_cast<float>(i) / 32.0f);
  effect.setParameter(19, 0.5f);
  effect.setSampleRate(48000.0f);
  EXPECT_EQ(e.appliedValues[17], -1.0f);
  std::vector<double> in(64, 0.25), out(64);
  effect.process(in.data(), out.data(), 64);

  EXPECT_EQ((std::array{e.blockSize, e.curProgram, e.activeChannel, e.bufferFrames}),
            (std::array{333, 3, 1, 64}));
  EXPECT_EQ((std::array{e.appliedSampleRate, static_cast<double>(e.sampleRate)}),
            (std::array{48000.0, 44100.0}));
  EXPECT_FALSE(e.typePending);
  EXPECT_EQ(e.typeValue, 0.5f);
  EXPECT_EQ(e.programs[3].values[18], 0.5f);
  // controlValues are in the order of the parameters, appliedValues in the order BASS, MID, TREBLE,
  // PRESENCE, MASTER, GAIN.
  const int applied[6] = {1, 2, 3, 0, 4, 5};
  // In the order MASTER, GAIN, BASS, MID, TREBLE, PRESENCE.
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
  for (std::size_t i = 0; i < 64; ++i) EXPECT_EQ(out[i], e.fadeBuffer[i] * e.channelBuffer[i]);
  EXPECT_NE(out[63], 0.0);
}

// processLock is the platform's recursive mutex; while it is held, other threads' stores wait.
TEST_F(HostView, TheLockStandsAtItsOffset) {
  effect.setSampleRate(44100.0f);
  pthread_mutex_t& lock = host::view(record).processLock;
  ASSERT_EQ(pthread_mutex_lock(&lock), 0);
  double x[4] = {};
  effect.process(x, x, 4);
  effect.setParameter(3, 0.25f);
  auto store = std::async(std::launch::async, [&] { effect.setParameter(3, 0.75f); });
  EXPECT_EQ(store.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
  EXPECT_EQ(effect.getParameter(3), 0.25f) << "reading takes no lock";
  EXPECT_EQ(pthread_mutex_unlock(&lock), 0);
  store.get();
  EXPECT_EQ(effect.getParameter(3), 0.75f);
}

}  // namespace
}  // namespace quellard::test

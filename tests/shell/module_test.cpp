// SPDX-License-Identifier: ISC
// The module's exported entries and the records that they return.
#include "tests/shell/module.h"

#include <array>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/shell/recording_host.h"
#include "tests/support/exported_names.h"

namespace quellard::test {
namespace {

std::intptr_t throwingHost(AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*, float) {
  throw std::runtime_error("a host that is shutting down");
}

TEST(Module, ExportsItsTwoEntriesAndNothingElse) {
  EXPECT_EQ(exportedNames(QUELLARD_PLUGIN_FILE),
            (std::set<std::string>{"OrvTypeIF", "getinterface"}));
}

class ModuleEntry : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    hostCalls.clear();
    entry = moduleEntry(GetParam());
  }
  Entry entry = nullptr;
};
INSTANTIATE_TEST_SUITE_P(Both, ModuleEntry, testing::Values("getinterface", "OrvTypeIF"));

TEST_P(ModuleEntry, AsksTheHostOnceForItsVersion) {
  hostVersion = -5;  // any version but 0 is accepted
  {
    OpenedEffect effect(entry, recordingHost);
    effect.setSampleRate(44100.0f);
    double x[2] = {};
    effect.process(x, x, 2);
    effect.dispatch(effMainsChanged, 0, 1);
    effect.setParameter(3, 0.1f);
  }
  EXPECT_EQ(hostCalls, (std::vector<HostCall>{{nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f}}));
  EXPECT_EQ(entry(nullptr), nullptr);
  hostVersion = 0;
  EXPECT_EQ(entry(recordingHost), nullptr);
  hostVersion = kVstVersion;
  EXPECT_EQ(entry(throwingHost), nullptr);
}

TEST_P(ModuleEntry, FillsTheRecord) {
  OpenedEffect effect(entry);
  const AEffect& r = effect.record();
  EXPECT_EQ(r.magic, 0x56737450);     // VstP
  EXPECT_EQ(r.uniqueID, 0x51554C4C);  // QULL
  EXPECT_EQ((std::array{r.numPrograms, r.numParams, r.numInputs, r.numOutputs, r.flags, r.version}),
            (std::array{16, 20, 1, 1, 4112, 1}));
  EXPECT_EQ((std::array{r.initialDelay, r.realQualities, r.offQualities}), (std::array{0, 0, 0}));
  EXPECT_EQ((std::array{r.resvd1, r.resvd2}), (std::array<std::intptr_t, 2>{}));
  EXPECT_EQ(r.ioRatio, 1.0f);
  EXPECT_EQ(r.user, nullptr);
  EXPECT_EQ(std::string(r.future, sizeof r.future), std::string(56, '\0'));
  EXPECT_EQ(static_cast<AudioEffect*>(r.object)->getAeffect(), &r);
}

TEST_P(ModuleEntry, InterfaceAndEffectAreReleasedInEitherOrder) {
  for (const bool interfaceFirst : {true, false}) {
    std::unique_ptr<Orv_TypeIF> interface(entry(answeringHost));
    AEffect* record = interface->effect;
    if (interfaceFirst) interface.reset();
    record->dispatcher(record, effSetSampleRate, 0, 0, nullptr, 48000.0f);
    EXPECT_EQ(record->dispatcher(record, effClose, 0, 0, nullptr, 0.0f), 1);
  }
}

}  // namespace
}  // namespace quellard::test

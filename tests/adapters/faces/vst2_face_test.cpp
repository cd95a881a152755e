// SPDX-License-Identifier: ISC
// The VST 2.4 effect's window, in a host that keeps what it is told.
#include "adapters/vst2/vst2_effect.h"
#include "params/factory_bank.h"
#include "tests/adapters/faces/fake_window.h"
#include "tests/adapters/faces/vst2_host.h"

namespace quellard::test {
namespace {

class Vst2Host : public Vst2FaceHost {
 public:
  Vst2Host()
      : Vst2FaceHost([](audioMasterCallback host) { return Vst2Effect::create(host, kVst2Mono); }) {
  }
  float played() const {
    std::vector<float> samples(64, 0.5F);
    play(samples);
    return samples.back();
  }
};

class Vst2Face : public FaceFormats {};

TEST_F(Vst2Face, OpensInTheHostsWindow) {
  Vst2Host host;
  EXPECT_NE(host.record->flags & effFlagsHasEditor, 0);
  EXPECT_EQ(host.size(), (PixelSize{960, 600}));
  host.call(effEditIdle);
  host.call(effEditClose);
  EXPECT_EQ(host.call(effEditGetRect), 0);
  EXPECT_FALSE(host.open(0)) << "it does not float";
  fakeScreen().scale = 1.75;
  EXPECT_EQ(host.size(), (PixelSize{1680, 1050})) << "the desktop's";
  for (const std::uintptr_t parent : {77U, 78U}) {
    ASSERT_TRUE(host.open(parent));
    EXPECT_EQ(fakeScreen().windows.size(), 1U);
    EXPECT_EQ(window().parent, parent);
    EXPECT_TRUE(window().isShown);
    EXPECT_EQ(window().size(), host.size());
  }
  window().isGone = true;
  host.call(effEditIdle);
  host.call(effEditClose);
  EXPECT_TRUE(fakeScreen().windows.empty());
  fakeScreen().isThere = false;
  EXPECT_FALSE(host.open());
  EXPECT_EQ(host.size(), (PixelSize{1680, 1050}));
  fakeScreen().isThere = true;
  ASSERT_TRUE(host.open());  // and the host closes the effect
}

TEST_F(Vst2Face, AsksTheHostForOtherSizes) {
  Vst2Host host;
  ASSERT_TRUE(host.open());
  for (const bool agrees : {false, true}) {
    host.agrees = agrees;
    window().dragged = {480, 300};
    host.call(effEditIdle);
    EXPECT_EQ(host.asked, (PixelSize{480, 300}));
    EXPECT_EQ(host.shownWhileAsked, host.asked) << "some hosts read it before they answer";
    EXPECT_EQ(host.size(), agrees ? (PixelSize{480, 300}) : (PixelSize{960, 600}));
    EXPECT_EQ(window().size(), host.size());
  }
}

TEST_F(Vst2Face, MayBeClosedWhileItCallsTheHost) {
  Vst2Host host;
  const auto close = [&] {
    host.whileCalled = [] {};
    host.call(effEditClose);
    EXPECT_TRUE(fakeScreen().windows.empty()) << "it is gone at once";
  };
  ASSERT_TRUE(host.open());
  host.whileCalled = close;
  window().dragged = {480, 300};
  host.call(effEditIdle);
  ASSERT_TRUE(host.open());
  host.told.clear();
  host.whileCalled = close;
  window().hands = [](FakeWindow& each) { each.grasp(5); };
  host.call(effEditIdle);
  EXPECT_EQ(host.told, "begin 4 value 4 end 4 ");
  ASSERT_TRUE(host.open());
  EXPECT_EQ(window().size(), (PixelSize{960, 600}));
}

TEST_F(Vst2Face, RemembersThePresetWhileItIsClosed) {
  Vst2Host host;
  const auto reopened = [&] {
    host.call(effEditClose);
    EXPECT_TRUE(host.open());
    return window().face.state().preset;
  };
  ASSERT_TRUE(host.open());
  window().pressArrow(true);
  window().turn(3);
  EXPECT_EQ(reopened(), kFactoryBank[0].name);
  host.call(effEditClose);
  host.record->dispatcher(host.record, effSetProgram, 0, 7, nullptr, 0.0F);
  host.record->setParameter(host.record, 2, 0.123F);
  EXPECT_EQ(reopened(), kFactoryBank[6].name);
  void* chunk = nullptr;
  const std::intptr_t size = host.call(effGetChunk, &chunk);
  host.record->dispatcher(host.record, effSetChunk, 0, size, chunk, 0.0F);
  EXPECT_EQ(reopened(), "Custom");
}

// The host's program follows the face, and the user's own presets are none.
TEST_F(Vst2Face, APresetIsTheHostsProgram) {
  writeOwnPreset();
  Vst2Host host;
  ASSERT_TRUE(host.open());
  window().pressArrow(true);
  EXPECT_TRUE(host.told.ends_with("update ")) << host.told;
  EXPECT_EQ(host.programWhenUpdated, 1);
  char name[kVstMaxProgNameLen] = "";
  host.call(effGetProgramName, name);
  EXPECT_STREQ(name, kFactoryBank[0].name);
  for (int i = 0; i < 2; ++i) window().pressArrow(false);  // over "Init" to the last
  EXPECT_NEAR(host.record->getParameter(host.record, 17), 0.9F, 1e-6F);
  EXPECT_EQ(host.call(effGetProgram), 0);
  EXPECT_TRUE(host.told.ends_with("update begin 17 value 17 end 17 ")) << host.told;
}

// Parameters by this format's numbers. The bypass has none: the host is told to look again.
TEST_F(Vst2Face, MovesReachEffectAndHost) {
  Vst2Host host;
  ASSERT_TRUE(host.open());
  window().turn(1);
  window().turn(kOutputParameter);
  EXPECT_EQ(host.told, "begin 0 value 0 end 0 begin 21 value 21 end 21 ");
  host.record->dispatcher(host.record, effSetSampleRate, 0, 0, nullptr, 48000.0F);
  host.call(effMainsChanged);
  host.told.clear();
  window().pressButton(kBypassParameter);
  EXPECT_EQ(std::exchange(host.told, ""), "update ");
  float last = 0.0F;
  for (int i = 0; i < 20; ++i) last = host.played();
  EXPECT_EQ(last, 0.5F) << "bypassed";
  host.record->setParameter(host.record, 4, 0.125F);
  window().grasp(5);
  EXPECT_NEAR(host.record->getParameter(host.record, 4), 0.225F, 1e-3F);
  host.call(effEditClose);
  EXPECT_EQ(host.told, "begin 4 value 4 end 4 ") << "a closed window lets go";
}

}  // namespace
}  // namespace quellard::test

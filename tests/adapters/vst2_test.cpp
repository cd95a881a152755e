// SPDX-License-Identifier: ISC
// The built VST 2.4 module, driven through its record, beside the effect driven directly.
#include "tests/adapters/format_suite.h"

namespace quellard::test {
namespace {

AEffect* open(const char* name, audioMasterCallback host) {
  const auto entry = symbolOf(QUELLARD_VST2_FILE, name);
  return reinterpret_cast<AEffect* (*)(audioMasterCallback)>(entry)(host);
}

// The module as OpenedEffect holds the effect.
Orv_TypeIF* openModule(audioMasterCallback host) {
  auto interface = std::make_unique<Orv_TypeIF>();
  interface->effect = open("VSTPluginMain", host);
  return interface.release();
}

class Vst2Plugin : public HostedPlugin {
 public:
  bool activate(double rate, int maxFrames) override {
    plugin_.setSampleRate(static_cast<float>(rate));
    plugin_.dispatch(effSetBlockSize, 0, maxFrames);
    plugin_.dispatch(effMainsChanged, 0, 1);
    settled_ = false;
    return true;
  }
  void deactivate() override { plugin_.dispatch(effMainsChanged, 0, 0); }
  void set(int index, double value, int = 0) override {
    plugin_.setParameter(index, static_cast<float>(value));
  }
  double get(int index) override { return static_cast<double>(plugin_.getParameter(index)); }
  void play(Channels<float>& in, Channels<float>& out) override {
    playThrough(plugin_.record().processReplacing, in, out);
  }
  void play(Channels<double>& in, Channels<double>& out) override {
    playThrough(plugin_.record().processDoubleReplacing, in, out);
  }

 private:
  template <typename Process, typename Sample>
  void playThrough(Process process, Channels<Sample>& in, Channels<Sample>& out) {
    auto from = pointersTo(in), to = pointersTo(out);
    const auto frames = static_cast<std::int32_t>(in[0].size());
    if (!std::exchange(settled_, true)) plugin_.process(nullptr, nullptr, 0);
    counted([&] { process(&plugin_.record(), from.data(), to.data(), frames); });
  }

  OpenedEffect plugin_{openModule};
  bool settled_ = false;  // the knobs, in their places
};

constexpr Format kMono{"mono", createPlugin<Vst2Plugin>, 1, true, false};
INSTANTIATE_TEST_SUITE_P(Vst2, Formats, testing::Values(kMono));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StatefulFormats);

// A block that is longer than the host has announced makes room, which then stays.
TEST(Vst2, LongBlocksArePlayedWhole) {
  Vst2Plugin plugin;
  DirectAmp direct(1);
  Random random(5);
  for (const int announced : {4096, 16}) {
    plugin.activate(44100.0, announced);
    direct.activate(44100.0, plugin, false);
    for (const int frames : {4096, 5000, 1, 5000}) {
      Channels<float> io = drawChannels<float>(random, 1, frames);
      Channels<double> wanted = widened(io);
      direct.play(wanted, 0, frames);
      const long before = plugin.allocated;
      plugin.play(io, io);
      EXPECT_TRUE(plugin.allocated == before || (frames > announced && announced > 16));
      expectPlayed(io[0], wanted[0]);
    }
  }
}

// The record, and every opcode that only asks, texts included. Only here a host learns of the tail
// and may choose a precision.
TEST(Vst2, AnswersAsTheEffectDoes) {
  OpenedEffect built(openModule), direct;
  EXPECT_EQ(built.record().flags, direct.record().flags);
  for (const int parameter : {3, 19}) {
    built.setParameter(parameter, 0.4F);
    direct.setParameter(parameter, 0.4F);
  }
  for (std::int32_t opcode = 0; opcode < 80; ++opcode) {
    if (opcode == effClose || opcode == effGetSpeakerArrangement) continue;  // value: a pointer
    for (const std::int32_t index : {0, 3, 19, 20}) {
      std::array<char, 256> told{}, wanted{};
      std::intptr_t answer = direct.dispatch(opcode, index, 1, wanted.data(), 44100.0F);
      if (opcode == effSetProcessPrecision) answer = 1;
      if (opcode == effGetTailSize) answer = 88200;
      EXPECT_EQ(built.dispatch(opcode, index, 1, told.data(), 44100.0F), answer)
          << "opcode " << opcode;
      EXPECT_EQ(told, wanted) << "opcode " << opcode << " of " << index;
    }
  }
}

TEST(Vst2, NonsenseIsSurvived) {
  const audioMasterCallback mute = [](auto...) { return std::intptr_t{0}; };
  for (const audioMasterCallback host : {mute, audioMasterCallback{nullptr}})
    EXPECT_EQ(open("main", host), nullptr);
  OpenedEffect built(openModule);
  AEffect& record = built.record();
  EXPECT_EQ(record.dispatcher(nullptr, effGetProgram, 0, 0, nullptr, 0.0F), 0);
  record.setParameter(nullptr, 1, 0.5F);
  EXPECT_EQ(record.getParameter(nullptr, 1), 0.0F);
  record.process(&record, nullptr, nullptr, 8);
  record.processReplacing(nullptr, nullptr, nullptr, 8);
  record.processReplacing(&record, nullptr, nullptr, 8);
  record.processDoubleReplacing(&record, nullptr, nullptr, 8);
  for (const std::intptr_t size : {INTPTR_MIN, std::intptr_t{-1}, std::intptr_t{0}, INTPTR_MAX})
    built.dispatch(effSetBlockSize, 0, size);
  std::vector<float> out(8, 9.0F);
  float* channel = out.data();
  record.processReplacing(&record, nullptr, &channel, -3);
  EXPECT_EQ(out[0], 9.0F);
  record.processReplacing(&record, nullptr, &channel, 8);
  EXPECT_EQ(out, std::vector<float>(8, 0.0F)) << "no rate yet";
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The built VST 2.4 module, driven through its record, beside the effect driven directly.
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

#include "tests/adapters/buffers.h"
#include "tests/support/effort.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

using Entry = AEffect* (*)(audioMasterCallback);

Entry entryNamed(const char* name) {
  static void* const module = dlopen(QUELLARD_VST2_FILE, RTLD_NOW | RTLD_LOCAL);
  return module != nullptr ? reinterpret_cast<Entry>(dlsym(module, name)) : nullptr;
}

class Vst2Instance {
 public:
  explicit Vst2Instance(const char* entry = "VSTPluginMain")
      : record_(entryNamed(entry)(answeringHost)) {}
  ~Vst2Instance() { dispatch(effClose); }
  Vst2Instance(const Vst2Instance&) = delete;
  Vst2Instance& operator=(const Vst2Instance&) = delete;

  std::intptr_t dispatch(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                         void* ptr = nullptr, float opt = 0.0F) {
    return record_->dispatcher(record_, opcode, index, value, ptr, opt);
  }
  void setSampleRate(float rate) { dispatch(effSetSampleRate, 0, 0, nullptr, rate); }
  void setProgram(int program) { dispatch(effSetProgram, 0, program); }
  void setParameter(int index, float value) { record_->setParameter(record_, index, value); }
  void process(double* in, double* out, int frames) {
    record_->processDoubleReplacing(record_, &in, &out, frames);
  }
  void process(float* in, float* out, int frames) {
    record_->processReplacing(record_, &in, &out, frames);
  }
  AEffect& record() { return *record_; }

 private:
  AEffect* record_;
};

// A session player that goes through the single-precision callback.
struct SinglePlayer {
  Vst2Instance effect;
  void setSampleRate(float rate) { effect.setSampleRate(rate); }
  void setProgram(int program) { effect.setProgram(program); }
  void setParameter(int index, float value) { effect.setParameter(index, value); }
  void process(double* in, double* out, int frames) {
    std::vector<float> io(in, in + frames);
    effect.process(io.data(), io.data(), frames);
    std::copy(io.begin(), io.end(), out);
  }
};

// The effect, fed with what a float can hold.
struct RoundedPlayer {
  OpenedEffect effect;
  void setSampleRate(float rate) { effect.setSampleRate(rate); }
  void setProgram(int program) { effect.setProgram(program); }
  void setParameter(int index, float value) { effect.setParameter(index, value); }
  void process(double* in, double* out, int frames) {
    for (int i = 0; i < frames; ++i) in[i] = static_cast<double>(static_cast<float>(in[i]));
    effect.process(in, out, frames);
    for (int i = 0; i < frames; ++i) out[i] = static_cast<double>(asPlayed(out[i], 0.0F));
  }
};

// Random sessions: rates, programs, knobs, block lengths, in place or not, longer blocks than the
// host has announced.
TEST(Vst2, PlaysWhatTheEffectPlays) {
  Random random(sessionSeed() ^ 0x2400);
  for (int i = 0; i < effort(16); ++i) {
    SCOPED_TRACE("session " + std::to_string(i));
    const std::uint64_t seed = random.bits();
    const SessionPlan plan{.blocks = 40};
    Random draw(seed);
    const auto steps = drawSession(draw, plan);
    Vst2Instance twice;
    OpenedEffect direct;
    expectPlayed(playSession(twice, steps, seed, plan.level),
                 playSession(direct, steps, seed, plan.level));
    SinglePlayer single;
    RoundedPlayer rounded;
    expectPlayed(playSession(single, steps, seed, plan.level),
                 playSession(rounded, steps, seed, plan.level));
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(Vst2, TheRecordIsTheEffects) {
  for (const char* entry : {"VSTPluginMain", "main"}) {
    Vst2Instance built(entry);
    OpenedEffect direct;
    const AEffect& a = built.record();
    const AEffect& b = direct.record();
    EXPECT_EQ(a.magic, kEffectMagic);
    EXPECT_EQ(a.numPrograms, 16);
    EXPECT_EQ(a.numParams, 20);
    EXPECT_EQ(a.numInputs, 1);
    EXPECT_EQ(a.numOutputs, 1);
    EXPECT_EQ(a.flags, effFlagsCanReplacing | effFlagsCanDoubleReplacing);
    EXPECT_EQ(a.uniqueID, b.uniqueID);
    EXPECT_EQ(a.version, b.version);
    EXPECT_EQ(a.initialDelay, 0);
    EXPECT_NE(a.process, nullptr);
    a.process(&built.record(), nullptr, nullptr, 64);
  }
  EXPECT_EQ(entryNamed("VSTPluginMain")(nullptr), nullptr);
  const auto mute = [](AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*, float) {
    return std::intptr_t{0};
  };
  EXPECT_EQ(entryNamed("VSTPluginMain")(mute), nullptr);
}

// Every opcode that only asks is answered as the effect answers it, texts included.
TEST(Vst2, AnswersAsTheEffectDoes) {
  Vst2Instance built;
  OpenedEffect direct;
  for (const int parameter : {3, 19}) {
    built.setParameter(parameter, 0.4F);
    direct.setParameter(parameter, 0.4F);
  }
  for (std::int32_t opcode = 0; opcode < 80; ++opcode) {
    if (opcode == effClose || opcode == effGetSpeakerArrangement) continue;  // value: a pointer
    for (const std::int32_t index : {0, 3, 19, 20}) {
      std::array<char, 256> a{};
      std::array<char, 256> b{};
      EXPECT_EQ(built.dispatch(opcode, index, 1, a.data(), 44100.0F),
                direct.dispatch(opcode, index, 1, b.data(), 44100.0F))
          << "opcode " << opcode;
      EXPECT_EQ(a, b) << "opcode " << opcode << " of " << index;
    }
  }
}

TEST(Vst2, NonsenseIsSurvived) {
  Vst2Instance built;
  AEffect& record = built.record();
  EXPECT_EQ(record.dispatcher(nullptr, effGetProgram, 0, 0, nullptr, 0.0F), 0);
  record.setParameter(nullptr, 1, 0.5F);
  EXPECT_EQ(record.getParameter(nullptr, 1), 0.0F);
  record.processReplacing(nullptr, nullptr, nullptr, 8);
  record.processReplacing(&record, nullptr, nullptr, 8);
  record.processDoubleReplacing(&record, nullptr, nullptr, 8);
  for (const std::intptr_t size :
       {INTPTR_MIN, std::intptr_t{-1}, std::intptr_t{0}, INTPTR_MAX, std::intptr_t{INT32_MAX}}) {
    built.dispatch(effSetBlockSize, 0, size);
  }
  std::array<float, 8> out;
  out.fill(9.0F);
  float* channel = out.data();
  record.processReplacing(&record, nullptr, &channel, -3);
  EXPECT_EQ(out[0], 9.0F);
  record.processReplacing(&record, nullptr, &channel, 8);  // no rate yet: silence
  for (const float x : out) EXPECT_EQ(x, 0.0F);
}

// An automation thread that never pauses, and a host that changes programs under it.
TEST(Vst2, FloodOfParametersWhilePlaying) {
  Vst2Instance effect;
  effect.setSampleRate(44100.0F);
  std::atomic<bool> done{false};
  std::thread automation([&] {
    Random random(2);
    while (!done) {
      effect.setParameter(random.integer(0, 20), static_cast<float>(random.unit()));
      if (random.chance(0.01)) effect.setProgram(random.integer(0, 15));
    }
  });
  Random random(3);
  bool finite = true;
  for (int block = 0; block < effort(2000); ++block) {
    Channels<float> io = drawChannels<float>(random, 1, random.integer(1, 128));
    effect.process(io[0].data(), io[0].data(), static_cast<int>(io[0].size()));
    for (const float x : io[0]) finite = finite && std::isfinite(x);
  }
  done = true;
  automation.join();
  EXPECT_TRUE(finite);
}

TEST(Vst2, ManyInstancesDoNotKnowOfEachOther) {
  constexpr int kInstances = 200;
  std::vector<std::unique_ptr<Vst2Instance>> effects;
  for (int i = 0; i < kInstances; ++i) {
    effects.push_back(std::make_unique<Vst2Instance>());
    effects.back()->setParameter(12, static_cast<float>(i) / 200.0F);
    effects.back()->setParameter(19, static_cast<float>(i % 3) / 2.0F);
    effects.back()->setSampleRate(i % 2 == 0 ? 44100.0F : 48000.0F);
  }
  Random random(sessionSeed());
  const std::vector<double> in = drawBlock(random, 0.5, 64);
  for (int i = 0; i < kInstances; ++i) {
    OpenedEffect direct;
    direct.setParameter(12, static_cast<float>(i) / 200.0F);
    direct.setParameter(19, static_cast<float>(i % 3) / 2.0F);
    direct.setSampleRate(i % 2 == 0 ? 44100.0F : 48000.0F);
    std::vector<double> played = in;
    std::vector<double> wanted = in;
    effects[static_cast<std::size_t>(i)]->process(played.data(), played.data(), 64);
    direct.process(wanted.data(), wanted.data(), 64);
    expectPlayed(played, wanted);
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The built VST 2.4 module, driven through its record, beside the effect driven directly.
#include <array>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>

#include "tests/adapters/buffers.h"
#include "tests/support/effort.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {
namespace {

using Vst2Entry = AEffect* (*)(audioMasterCallback);

Vst2Entry entryNamed(const char* name) {
  static void* const module = dlopen(QUELLARD_VST2_FILE, RTLD_NOW | RTLD_LOCAL);
  return module != nullptr ? reinterpret_cast<Vst2Entry>(dlsym(module, name)) : nullptr;
}

// The module as OpenedEffect holds the effect, through either of its entries.
template <bool kOldName = false>
Orv_TypeIF* openModule(audioMasterCallback host) {
  auto interface = std::make_unique<Orv_TypeIF>();
  interface->effect = entryNamed(kOldName ? "main" : "VSTPluginMain")(host);
  return interface.release();
}

// A session player that goes through the single-precision callback.
struct SinglePlayer : OpenedEffect {
  SinglePlayer() : OpenedEffect(openModule<true>) {}
  void process(double* in, double* out, int frames) {
    std::vector<float> io(in, in + frames);
    float* channel = io.data();
    record().processReplacing(&record(), &channel, &channel, frames);
    std::copy(io.begin(), io.end(), out);
  }
};

// The effect, fed with what a float can hold.
struct RoundedPlayer : OpenedEffect {
  void process(double* in, double* out, int frames) {
    for (int i = 0; i < frames; ++i) in[i] = static_cast<double>(static_cast<float>(in[i]));
    OpenedEffect::process(in, out, frames);
    for (int i = 0; i < frames; ++i) out[i] = static_cast<double>(asPlayed(out[i], 0.0F));
  }
};

// Longer blocks than the host has announced among them.
TEST(Vst2, PlaysSessionsAsTheEffectDoes) {
  Random random(sessionSeed() ^ 0x2400);
  for (int i = 0; i < effort(16); ++i) {
    const std::uint64_t seed = random.bits();
    const SessionPlan plan{.blocks = 40};
    OpenedEffect twice(openModule<>), direct;
    ASSERT_TRUE(sameBits(playSession(twice, seed, plan), playSession(direct, seed, plan))) << i;
    SinglePlayer single;
    RoundedPlayer rounded;
    ASSERT_TRUE(sameBits(playSession(single, seed, plan), playSession(rounded, seed, plan))) << i;
  }
}

// The record, and every opcode that only asks, texts included.
TEST(Vst2, AnswersAsTheEffectDoes) {
  OpenedEffect built(openModule<>), direct;
  const AEffect &a = built.record(), &b = direct.record();
  const auto numbers = [](const AEffect& r) {
    return std::array{r.magic,    r.numPrograms,  r.numParams, r.numInputs, r.numOutputs,
                      r.uniqueID, r.initialDelay, r.version,   r.flags};
  };
  EXPECT_EQ(numbers(a), numbers(b));
  EXPECT_NE(a.flags & effFlagsCanReplacing, 0);
  for (const int parameter : {3, 19}) {
    built.setParameter(parameter, 0.4F);
    direct.setParameter(parameter, 0.4F);
  }
  for (std::int32_t opcode = 0; opcode < 80; ++opcode) {
    if (opcode == effClose || opcode == effGetSpeakerArrangement) continue;  // value: a pointer
    for (const std::int32_t index : {0, 3, 19, 20}) {
      std::array<char, 256> told{}, wanted{};
      EXPECT_EQ(built.dispatch(opcode, index, 1, told.data(), 44100.0F),
                direct.dispatch(opcode, index, 1, wanted.data(), 44100.0F))
          << "opcode " << opcode;
      EXPECT_EQ(told, wanted) << "opcode " << opcode << " of " << index;
    }
  }
}

TEST(Vst2, NonsenseIsSurvived) {
  EXPECT_EQ(entryNamed("main")(nullptr), nullptr);
  const auto mute = [](AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*, float) {
    return std::intptr_t{0};
  };
  EXPECT_EQ(entryNamed("VSTPluginMain")(mute), nullptr);
  OpenedEffect built(openModule<>);
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
  EXPECT_EQ(out, std::vector<float>(8, 9.0F));
  record.processReplacing(&record, nullptr, &channel, 8);
  EXPECT_EQ(out, std::vector<float>(8, 0.0F)) << "no rate yet";
}

}  // namespace
}  // namespace quellard::test

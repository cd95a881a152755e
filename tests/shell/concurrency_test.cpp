// SPDX-License-Identifier: ISC
// Calls from several threads. The thread sanitizer finds races that do not show in the results.
#include <array>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "tests/support/beside_reference.h"
#include "tests/support/effort.h"

namespace quellard::test {
namespace {

TEST(Concurrency, ControlsMoveAndTextsAreReadDuringBlocks) {
  BesideReference pair;
  OpenedEffect& effect = pair.effect;
  pair.setSampleRate(44100.0f);
  std::atomic<bool> playing{true};
  std::thread audio([&] {
    std::vector<double> block(64, 0.1);
    for (int i = 0; i < effort(2000); ++i) effect.process(block.data(), block.data(), 64);
    playing = false;
  });
  std::thread automation([&] {
    Random random(2);
    while (playing) {
      effect.setParameter(random.integer(0, 20), static_cast<float>(random.unit()));
      effect.getParameter(random.integer(0, 20));
    }
  });
  int badTexts = 0;
  for (int i = 0; playing; ++i) {
    char text[80];
    effect.setProgram(i % 16);
    effect.dispatch(effSetProgramName, 0, 0, std::array<char, 3>{'a', 'b', 0}.data());
    effect.dispatch(effGetProgramName, 0, 0, text);
    badTexts += text != std::string("ab");
    effect.dispatch(effGetParamDisplay, i % 20, 0, text);
    effect.dispatch(effGetParameterProperties, i % 20, 0, std::array<char, 152>{}.data());
    effect.object().getParameterDisplayOf(19, 0.5f, text);
    badTexts += text != std::string("VINTAGE");
  }
  audio.join();
  automation.join();
  EXPECT_EQ(badTexts, 0);

  // With known values and a new rate, the output is that of the reference again.
  pair.setProgram(4);
  for (int i = 1; i <= 19; ++i) pair.setParameter(i, 0.75f);
  pair.setSampleRate(96000.0f);
  pair.effect.object().typePending = true;  // as the model, which has played no block
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(pair.playNoise(64));
}

// These are also the first set-ups of the process, which build the shared tables.
TEST(Concurrency, InstancesPrepareAndPlayAtTheSameTime) {
  std::atomic<int> waiting{2};
  const auto instance = [&](std::array<float, 3> rates) {
    BesideReference pair;
    --waiting;
    while (waiting > 0) std::this_thread::yield();
    for (const float rate : rates) {
      pair.setSampleRate(rate);
      for (int i = 0; i < 6; ++i) {
        pair.setParameter(19, static_cast<float>(i % 3) / 2.0f);
        if (!pair.playNoise(200)) return false;
      }
    }
    return true;
  };
  auto other = std::async(std::launch::async, instance, std::array{44100.0f, 48000.0f, 44100.0f});
  EXPECT_TRUE(instance({44100.0f, 96000.0f, 48000.0f}));
  EXPECT_TRUE(other.get());
}

}  // namespace
}  // namespace quellard::test

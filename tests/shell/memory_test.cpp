// SPDX-License-Identifier: ISC
// Memory: none is allocated while playing, an instance needs little, and failed allocations leave
// the effect usable.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "rig/hosted_amp.h"
#include "tests/support/beside_reference.h"
#include "tests/support/counted_memory.h"
#include "tests/support/effort.h"
#include "tests/support/floating_point_mode.h"
#include "tests/support/same_bits.h"
#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace quellard::test {
namespace {

constexpr long kStep = kAtFullSpeed ? 1 : 9;  // slow builds fail only every ninth allocation
constexpr long kMany = 10000;                 // more allocations than anything here makes

long hostAsked = 0;
std::intptr_t countingHost(AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*, float) {
  return ++hostAsked;
}

// All that may happen around blocks of a steady length, queries for texts included.
void playEverything(OpenedEffect& effect, double* in, double* out, int frames, int round) {
  char text[80];
  in[0] = round % 7 == 0 ? std::nan("") : 0.1;
  in[1] = 1e-310;
  if (round % 50 == 1) effect.setProgram(round % 16);
  effect.setParameter(1 + round % 18, static_cast<float>(round % 11) / 10.0f);
  if (round % 20 == 3) effect.setParameter(19, static_cast<float>(round % 3) / 2.0f);
  effect.dispatch(effGetParamDisplay, 1 + round % 19, 0, text);
  effect.dispatch(effGetProgramName, 0, 0, text);
  effect.setSampleRate(44100.0f);  // in force
  effect.process(in, out, frames);
}

TEST(Memory, SteadyBlocksAllocateNothing) {
  OpenedEffect effect;
  effect.setSampleRate(44100.0f);
  std::vector<double> in(512, 0.1), out(512);
  for (const int frames : {64, 512, 1, 64}) {
    const long before = allocations;
    for (int round = 0; round < effort(400); ++round) {
      playEverything(effect, in.data(), out.data(), frames, round);
      ASSERT_EQ(allocations - before, 2) << "the two buffers for a new block length";
    }
  }
}

// Crossfades, what waits for one, and a reset between: all memory comes from and goes to the thread
// that loads.
TEST(Memory, ACabinetThatPlaysAllocatesNothing) {
  const ImpulseResponse taps = preparedResponse({44100.0, {std::vector<double>(3000, 0.01)}}, 2);
  HostedAmp amp(HostedAmp::kStereo);
  amp.setValue(kGateParameter, 0.5F);
  ASSERT_TRUE(amp.prepare(44100.0, 512));
  std::vector<double> io(512, 0.1);
  double* sides[2] = {io.data(), io.data()};
  const AudioChannels block{.doubles = sides, .count = 2};
  long released = 0;
  for (int round = 0; round < 200; ++round) {
    if (round % 10 == 0) amp.cabinet().load(taps, 1.0, 2);
    if (round % 30 == 5) amp.cabinet().unload();
    const long before = allocations, bytes = liveBytes;
    if (round % 50 == 49) amp.reset();
    amp.play(block, block, 0, round % 3 == 0 ? 512 : 100);
    ASSERT_EQ(allocations, before);
    released += bytes - liveBytes;
  }
  EXPECT_EQ(released, 0);
}

#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))
constexpr int kNoStrictMode = 77;

// The kernel's strict mode kills a process at any system call but exit.
[[noreturn]] void playStrictly(OpenedEffect& effect, std::vector<double>& in, double* out) {
  const bool strict = prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) == 0;
  for (int round = 0; round < 300; ++round) playEverything(effect, in.data(), out, 64, round);
  syscall(SYS_exit, strict ? 0 : kNoStrictMode);
  std::abort();
}

// An emulator refuses strict mode but lists the calls of what it starts: here this test once more,
// on which the refused mode and the exit must be neighbours.
void expectNoneListed() {
  const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "QEMU_STRACE=1 " QUELLARD_EMULATOR " '" + self +
                              "' --gtest_filter=Memory.SteadyBlocksMakeNoSystemCall 2>&1";
  std::FILE* list = popen(command.c_str(), "r");
  ASSERT_NE(list, nullptr);
  std::string last, before;
  for (char line[4096]; std::fgets(line, sizeof line, list) != nullptr; last = line)
    before = std::move(last);
  EXPECT_EQ(WEXITSTATUS(pclose(list)), kNoStrictMode);
  EXPECT_NE(before.find(" prctl("), std::string::npos) << before;
  EXPECT_NE(last.find(" exit("), std::string::npos) << last;
}
#endif

TEST(Memory, SteadyBlocksMakeNoSystemCall) {
#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))
  if (kSanitized) GTEST_SKIP() << "sanitizers make system calls of their own";
  OpenedEffect effect;
  effect.setSampleRate(44100.0f);
  std::vector<double> in(64, 0.1), out(64);
  effect.process(in.data(), out.data(), 64);
  if (std::getenv("QEMU_STRACE") != nullptr) playStrictly(effect, in, out.data());
  const pid_t child = fork();
  if (child == 0) playStrictly(effect, in, out.data());
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  if (WEXITSTATUS(status) == 0) return;
  ASSERT_EQ(WEXITSTATUS(status), kNoStrictMode);
  if (!kEmulated) GTEST_SKIP() << "the kernel has no strict mode";
  expectNoneListed();
#else
  GTEST_SKIP() << "no strict mode here";
#endif
}

// About 60 KiB at 192 kHz, 48 of them for the two fades. The block buffers, two samples per frame,
// depend on the host's block length.
TEST(Memory, AnInstanceIsSmallBesideTheSharedTables) {
  for (const float rate : {44100.0f, 48000.0f, 192000.0f}) {
    std::vector<double> block(512);
    const long before = liveBytes;
    OpenedEffect effect;
    effect.setSampleRate(rate);
    const long prepared = liveBytes - before;
    EXPECT_GT(prepared, 10 * 1024) << "are the allocations counted at all?";
    EXPECT_LT(prepared, 64 * 1024) << rate;
    effect.process(block.data(), block.data(), 512);
    EXPECT_LT(liveBytes - before - prepared, 2 * 512 * 8 + 512) << "two samples per frame";
  }
}

TEST(Memory, AFailingEntryLeaksNothing) {
  const long before = liveBytes;
  hostAsked = 0;
  long nth = -1;
  std::unique_ptr<Orv_TypeIF> interface;
  while (interface == nullptr && ++nth < kMany) {
    EXPECT_EQ(liveBytes, before) << nth;
    const Shortage shortage(nth);
    interface.reset(openInterface(countingHost));
    EXPECT_NE(failed, interface != nullptr);
  }
  EXPECT_GE(nth, 3) << "interface, effect and programs";
  EXPECT_EQ(hostAsked, nth) << "without an interface the host is not even asked";
  interface->effect->dispatcher(interface->effect, effClose, 0, 0, nullptr, 0.0f);
  interface.reset();
  EXPECT_EQ(liveBytes, before);
}

// The addresses whose release is waited for, and those that have been released, in order.
std::vector<const void*> sought, released;

TEST(Memory, AClosedEffectReleasesWhatItHoldsInOrder) {
  {
    OpenedEffect effect;
    effect.setSampleRate(44100.0f);
    double sample = 0.0;
    effect.process(&sample, &sample, 1);
    Quellard& e = effect.object();
    sought = {e.programs.get()};
    for (const auto& channel : e.channels) sought.push_back(channel.get());
    sought.insert(sought.end(), {e.channelSwitch.get(), e.fadeBuffer.get()});
    for (const auto& taper : e.tapers) sought.push_back(taper.get());
    sought.insert(sought.end(), {e.channelBuffer.get(), &e});
    released.reserve(sought.size());
    onRelease = [](const char* from, const char* end) {
      const auto lies = [&](const void* address) { return from <= address && address < end; };
      const auto found = std::find_if(sought.begin(), sought.end(), lies);
      if (found != sought.end()) released.push_back(*found);
    };
  }
  onRelease = nullptr;
  EXPECT_EQ(released, sought);
}

// A block of silence, since memory is short.
void expectSilence(OpenedEffect& effect, int frames) {
  std::vector<double> block(static_cast<std::size_t>(frames), 0.5), silence(block.size(), 0.0);
  const unsigned mode = floatingPointMode();
  effect.process(block.data(), block.data(), frames);
  EXPECT_EQ(floatingPointMode(), mode);
  EXPECT_EQ(block, silence);
  bool free = false;
  std::thread([&] {
    if (std::unique_lock lock(effect.object().processLock, std::try_to_lock); lock) free = true;
  }).join();
  EXPECT_TRUE(free) << "the lock is held for ever";
}

TEST(Memory, AfterASetupThatFailsTheNextOneBuildsEverything) {
  long nth = 0;
  for (bool again = true; again; nth += kStep) {
    ASSERT_LT(nth, kMany);
    BesideReference pair;
    pair.setParameter(19, 0.5f);
    pair.setSampleRate(48000.0f);
    ASSERT_TRUE(pair.playNoise(64));
    {
      const Shortage shortage(nth);
      pair.effect.setSampleRate(44100.0f);
      again = failed;
    }
    pair.model.setSampleRate(44100.0f);
    if (again) {
      expectSilence(pair.effect, 64);
      for (const auto& channel : pair.effect.object().channels) EXPECT_EQ(channel, nullptr);
      // Going back to the earlier rate builds as well.
      pair.setSampleRate(nth % 2 == 0 ? 44100.0f : 48000.0f);
    }
    ASSERT_TRUE(pair.playNoise(64)) << nth;
    pair.setParameter(19, 0.0f);
    ASSERT_TRUE(pair.playNoise(kAtFullSpeed ? 900 : 64)) << nth;
  }
  EXPECT_GT(nth, 60) << "three channels of some fifteen sections each";
}

TEST(Memory, AfterABlockWithoutBuffersTheNextOnePlaysOn) {
  for (const long nth : {0L, 1L}) {
    BesideReference pair;
    pair.setSampleRate(44100.0f);
    ASSERT_TRUE(pair.playNoise(64));
    pair.setParameter(19, 0.5f);
    ASSERT_TRUE(pair.playNoise(300)) << "now in the middle of a switch";
    for (const int frames : {128, 500, 20}) {
      // The test's own two arrays come first.
      const Shortage shortage(2 + nth);
      expectSilence(pair.effect, frames);
      ASSERT_TRUE(failed) << frames;
      ASSERT_TRUE(pair.playNoise(frames)) << frames;
    }
    for (int i = 0; i < 8; ++i) ASSERT_TRUE(pair.playNoise(200)) << i;
  }
}

// Whichever allocation fails, it plays on as if it had not been asked, with its gate at work.
TEST(Memory, AHostedAmpThatCannotPrepareStaysAsItWas) {
  bool again = true;
  for (long nth = 0; again; nth += kStep) {
    ASSERT_LT(nth, kMany);
    HostedAmp amp(HostedAmp::kStereo), twin(HostedAmp::kStereo);
    std::vector<double> samples(1000);
    for (std::size_t i = 0; i < samples.size(); ++i)
      samples[i] = 0.1 * std::sin(0.03 * static_cast<double>(i));
    const auto play = [](HostedAmp& one, std::vector<double> io) {
      double* sides[2] = {io.data(), io.data()};
      const AudioChannels block{.doubles = sides, .count = 2};
      one.play(block, block, 0, static_cast<int>(io.size()));
      return io;
    };
    for (HostedAmp* one : {&amp, &twin}) {
      one->setValue(kGateParameter, 0.9F);
      ASSERT_TRUE(one->prepare(48000.0, 64));
      play(*one, samples);
    }
    try {
      const Shortage shortage(nth);
      amp.prepare(44100.0, 8192);
    } catch (const std::bad_alloc&) {
    }
    again = failed;
    if (!again) continue;
    EXPECT_EQ(amp.rate(), 48000.0) << nth;
    ASSERT_TRUE(sameBits(play(amp, samples), play(twin, samples))) << nth;
  }
}

}  // namespace
}  // namespace quellard::test

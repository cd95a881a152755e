// SPDX-License-Identifier: ISC
// The cabinet, beside a sum over all taps.
#include "rig/cabinet/cabinet.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <thread>

#include "rig/hosted_amp.h"
#include "tests/support/same_bits.h"
#include "tests/support/signals.h"

namespace quellard::test {
namespace {

constexpr double kRate = 48000.0;

// Noise that dies away, as a room does.
std::vector<double> response(Random& random, std::size_t taps) {
  std::vector<double> all = noise(random, 1.0, taps);
  for (std::size_t i = 0; i < taps; ++i) {
    const double left = 1.0 - static_cast<double>(i) / static_cast<double>(taps);
    all[i] *= left * left * left;
  }
  return all;
}

std::vector<double> direct(const std::vector<double>& taps, const std::vector<double>& in) {
  std::vector<double> out;
  for (std::size_t n = 0; n < in.size(); ++n) {
    double sum = 0.0;
    for (std::size_t k = 0; k < taps.size() && k <= n; ++k) sum += taps[k] * in[n - k];
    out.push_back(sum);
  }
  return out;
}

using BlockLength = std::function<int(int at)>;

std::vector<double> convolved(Convolver& convolver, std::vector<double> io,
                              const BlockLength& blockLength) {
  const int frames = static_cast<int>(io.size());
  for (int at = 0; at < frames;) {
    const int block = std::min(blockLength(at), frames - at);
    convolver.process(&io[static_cast<std::size_t>(at)], block);
    at += block;
  }
  return io;
}

double largestGap(const std::vector<double>& a, const std::vector<double>& b) {
  double gap = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) gap = std::max(gap, std::fabs(a[i] - b[i]));
  return gap;
}

double peak(const std::vector<double>& samples) {
  return largestGap(samples, std::vector<double>(samples.size()));
}

// At the first sample and at every length around those of the partitions; in equal blocks, in
// changing ones, and in ones that come back to the boundary from which whole blocks of 512 play.
TEST(Convolver, IsADirectConvolutionWithoutDelay) {
  Random random(5);
  const std::vector<BlockLength> cuts = {
      [](int) { return 1; },
      [](int) { return 64; },
      [](int) { return 512; },
      [](int) { return 4096; },
      [&](int) { return random.integer(1, 4096); },
      [&](int at) { return random.chance(0.3) ? 512 - at % 512 : random.integer(1, 700); },
  };
  for (const std::size_t taps : {1U, 2U, 63U, 64U, 65U, 511U, 1024U, 1025U, 1537U, 9600U}) {
    const std::vector<double> in = noise(random, 0.5, 11000);
    const std::vector<double> h = response(random, taps);
    const std::vector<double> expected = direct(h, in);
    Convolver convolver(std::make_shared<PartitionedResponse>(h));
    for (std::size_t cut = 0; cut < cuts.size(); ++cut) {
      convolver.reset();
      const std::vector<double> out = convolved(convolver, in, cuts[cut]);
      ASSERT_LT(largestGap(out, expected), 1e-12 * peak(expected)) << taps << " taps, cut " << cut;
    }
  }
}

// In blocks of 64 and of 512, so with all partitions. Holds for every compiler and processor.
TEST(Convolver, HasTheSameBitsEverywhere) {
  Random random(17);
  const std::vector<double> h = response(random, 5000);
  const std::vector<double> in = noise(random, 0.5, 20000);
  Convolver convolver(std::make_shared<PartitionedResponse>(h));
  std::uint64_t digest = 0xCBF29CE484222325;
  for (const int block : {64, 512}) {
    for (const double x : convolved(convolver, in, [block](int) { return block; })) {
      digest = (digest ^ std::bit_cast<std::uint64_t>(x)) * 0x100000001B3;
    }
  }
  EXPECT_EQ(digest, 0x87CDC6C952A5EB3U) << std::hex << digest;
}

ImpulseResponse mono(std::vector<double> taps) { return {kRate, {std::move(taps)}}; }

std::vector<double> played(Cabinet& cabinet, std::vector<double> io, int block = 64) {
  for (std::size_t at = 0; at < io.size(); at += static_cast<std::size_t>(block)) {
    double* const samples = &io[at];
    const int frames = static_cast<int>(std::min(io.size() - at, static_cast<std::size_t>(block)));
    cabinet.process(std::array{samples}, frames);
  }
  return io;
}

// A click through the left and the right side.
std::array<std::vector<double>, 2> clicks(const ImpulseResponse& response) {
  Cabinet cabinet;
  cabinet.prepare(kRate);
  cabinet.load(response, 1.0, 2);
  cabinet.reset();
  std::array<std::vector<double>, 2> sides = {std::vector<double>(64), std::vector<double>(64)};
  for (std::vector<double>& side : sides) side[0] = 1.0;
  cabinet.process(std::array{sides[0].data(), sides[1].data()}, 64);
  return sides;
}

TEST(ImpulseResponse, ServesOneSideAndTwo) {
  const ImpulseResponse stereo = {kRate, {{1.0, 0.0, 0.25}, {0.0, 0.5, 0.25}}};
  const ImpulseResponse both = preparedResponse(stereo, 2);
  const ImpulseResponse mean = preparedResponse(stereo, 1);
  ASSERT_EQ(mean.sides.size(), 1U);
  EXPECT_NEAR(mean.sides[0][1] / mean.sides[0][0], 0.5, 1e-12);
  EXPECT_NEAR(mean.sides[0][2] / mean.sides[0][0], 0.5, 1e-12);
  const auto [left, right] = clicks(both);
  EXPECT_NEAR(left[2] / left[0], 0.25, 1e-6);
  EXPECT_NEAR(right[1] / right[2], 2.0, 1e-6);
  EXPECT_NEAR(right[1] / left[0], 0.5, 1e-6) << "the balance of the sides stays";
  const auto [same, too] = clicks(mean);
  EXPECT_TRUE(sameBits(same, too));
}

// A lead of silence stays; what is longer than a second is faded out and cut.
TEST(ImpulseResponse, IsCutAtASecond) {
  std::vector<double> minute(static_cast<std::size_t>(60.0 * kRate), 0.01);
  std::fill_n(minute.begin(), 480, 0.0);
  minute[480] = 1.0;
  const ImpulseResponse cut = preparedResponse(mono(minute), 1);
  const std::vector<double>& taps = cut.sides[0];
  ASSERT_EQ(taps.size(), static_cast<std::size_t>(kRate));
  EXPECT_EQ(peak({taps.begin(), taps.begin() + 480}), 0.0);
  EXPECT_EQ(std::ranges::max_element(taps) - taps.begin(), 480);
  EXPECT_NEAR(taps[45600], 0.5 * taps[40000], 1e-3 * taps[40000]);
  EXPECT_LT(taps.back(), 1e-6 * taps[480]);
}

TEST(ImpulseResponse, RefusesWhatIsNone) {
  const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
  const std::vector<std::vector<std::vector<double>>> bad = {
      {}, {{}}, {{0.0, 0.0}}, {{1.0, nan}}, {{infinity}}, {{0.5}, {-0.5}}, {{1.0}, {nan}}};
  for (const auto& sides : bad) {
    EXPECT_THROW(preparedResponse({kRate, sides}, 1), std::invalid_argument);
  }
  for (const double size : {1e-300, 1e300}) {
    EXPECT_TRUE(std::isnormal(preparedResponse(mono({size, -size / 3.0}), 1).sides[0][0])) << size;
  }
}

// A sine goes on without a step larger than its own while cabinets come and go, quickly even.
TEST(Cabinet, IsExchangedWithoutAClick) {
  Random random(23);
  const std::vector<double> in = sine(kRate, 110.0, 0.5, 48000);
  const ImpulseResponse dark = preparedResponse(mono(std::vector<double>(40, 0.1)), 1);
  std::vector<double> delayed(1440);  // 30 ms, beyond the end of a crossfade
  delayed.push_back(1.0);
  const ImpulseResponse bright = preparedResponse(mono(delayed), 1);
  Cabinet cabinet;
  cabinet.prepare(kRate);
  double before = 0.0, step = 0.0, highest = 0.0;
  for (std::size_t at = 0; at < in.size(); at += 64) {
    const int action = at % 640 == 0 ? random.integer(0, 9) : 3;
    if (action == 0) cabinet.load(dark, 1.0, 1);
    if (action == 1) cabinet.load(bright, 0.5, 1);
    if (action == 2) cabinet.unload();
    for (const double x : played(cabinet, {in.begin() + static_cast<long>(at),
                                           in.begin() + static_cast<long>(at) + 64})) {
      step = std::max(step, std::fabs(x - before));
      highest = std::max(highest, std::fabs(x));
      before = x;
    }
  }
  const double steady = 2.0 * std::numbers::pi * 110.0 / kRate * highest;
  EXPECT_LT(step, 1.15 * steady);
}

// While one thread plays, another one loads; what is removed is freed by the one that loads.
TEST(Cabinet, IsLoadedWhileItPlays) {
  Random random(29);
  const ImpulseResponse one = preparedResponse(mono(response(random, 3000)), 1);
  Cabinet cabinet;
  cabinet.prepare(kRate);
  std::atomic<bool> done = false;
  std::thread loader([&] {
    for (int i = 0; i < 60; ++i) {
      if (i % 3 == 2) {
        cabinet.unload();
      } else {
        cabinet.load(one, 1.0, 1);
      }
      std::this_thread::yield();
    }
    done = true;
  });
  const std::vector<double> in = sine(kRate, 110.0, 0.5, 4096);
  double highest = 0.0;
  while (!done) highest = std::max(highest, peak(played(cabinet, in)));
  loader.join();
  cabinet.unload();
  for (int i = 0; i < 5; ++i) highest = std::max(highest, peak(played(cabinet, in)));
  EXPECT_TRUE(std::isfinite(highest));
  EXPECT_TRUE(sameBits(played(cabinet, in), in)) << "without a cabinet every bit stays";
}

// Behind the amplifier and the gate, in front of the output level; neutral until one is loaded.
TEST(Cabinet, StandsBehindTheAmplifier) {
  Random random(31);
  const std::vector<double> note = pluckedNote(random, kRate, 196.0, 0.5, 8192);
  const ImpulseResponse taps = preparedResponse(mono(response(random, 700)), 1);
  const auto amplified = [&](bool withCabinet) {
    HostedAmp amp(HostedAmp::kMono);
    EXPECT_TRUE(amp.prepare(kRate, 256));
    if (withCabinet) amp.cabinet().load(taps, 0.5, 1);
    std::vector<double> io = note;
    double* channel = io.data();
    const AudioChannels all{.doubles = &channel, .count = 1};
    for (int at = 0; at < 8192; at += 256) amp.play(all, all, at, at + 256);
    return io;
  };
  std::vector<double> rounded;
  for (const double tap : taps.sides[0]) {
    rounded.push_back(static_cast<double>(static_cast<float>(0.5 * tap)));
  }
  const std::vector<double> expected = direct(rounded, amplified(false));
  EXPECT_LT(largestGap(amplified(true), expected), 1e-12 * peak(expected));
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The renderer must play what every plug-in format plays.
#include "tools/host/render.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>

#include "rig/hosted_amp.h"
#include "tests/tools/scratch.h"
#include "tools/common/errors.h"

namespace quellard {
namespace {

using test::Audio;
using test::plugin;
using test::Scratch;

// Renders through files of doubles, so that no rounding hides a difference.
Audio render(const Scratch& folder, const Audio& input, RenderSettings settings,
             RenderResult* result = nullptr) {
  test::writeAudio(folder / "in.wav", input);
  settings.sampleFormat = "double";
  Progress quiet(false);
  const RenderResult got =
      renderFile(plugin(), folder / "in.wav", folder / "out.wav", settings, quiet);
  if (result != nullptr) *result = got;
  return test::readAudio(folder / "out.wav");
}

void expectSameBits(const std::vector<double>& a, const std::vector<double>& b) {
  ASSERT_EQ(a.size(), b.size());
  EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(double)), 0);
}

// The moves at one frame.
struct Step {
  int frame;
  std::vector<ParameterChange> moves;
};

// The signal as the plug-in formats play it.
std::vector<double> playHosted(std::vector<double> signal, const std::vector<Step>& steps,
                               int blockLength) {
  HostedAmp amp(HostedAmp::kMono);
  double* channel = signal.data();
  const AudioChannels block{.doubles = &channel, .count = 1};
  for (std::size_t i = 0; i < steps.size(); ++i) {
    for (const auto& [parameter, value] : steps[i].moves) amp.setValue(parameter, value);
    EXPECT_TRUE(i > 0 || amp.prepare(48000.0, blockLength));
    const int end = i + 1 < steps.size() ? steps[i + 1].frame : static_cast<int>(signal.size());
    for (int at = steps[i].frame; at < end; at += blockLength)
      amp.play(block, block, at, std::min(at + blockLength, end));
  }
  return signal;
}

TEST(Render, PlaysMovesAtTheirTimeAndTheTail) {
  const Scratch folder;
  Audio input = {48000, 1, test::pluck(0.5)};
  RenderSettings settings;
  settings.rig.start.changes = {{19, 0.5f}, {12, 0.8f}};
  settings.moves = {
      {0.0, {11, 0.7f}},        // part of the starting point
      {0.1, {12, 0.2f}},        // frame 4800, inside a block
      {0.1000001, {10, 0.9f}},  // the same frame after rounding
      {0.10004, {8, 0.1f}},     // two frames later
      {0.2, {19, 0.0f}},        // another channel
      {0.26, {6, 0.9f}},        // after the switch
      {0.549999, {5, 1.0f}},    // rounds to the end of the tail, where nothing plays it
      {7.0, {5, 0.0f}},
  };
  const std::vector<Step> steps = {
      {0, {{19, 0.5f}, {12, 0.8f}, {11, 0.7f}}},
      {4800, {{12, 0.2f}, {10, 0.9f}}},
      {4802, {{8, 0.1f}}},
      {9600, {{19, 0.0f}}},
      {12480, {{6, 0.9f}}},
  };
  settings.tailSeconds = 0.05;
  std::vector<double> played = input.samples;
  played.resize(played.size() + 2400, 0.0);
  played[100] = played[2000] = 0.0;  // NaN and infinity sound like silence
  played[3000] = 1000.0;             // the limit of the input
  input.samples[100] = std::numeric_limits<double>::quiet_NaN();
  input.samples[2000] = std::numeric_limits<double>::infinity();
  input.samples[3000] = 1e300;
  for (int blockLength : {512, 64, 1, 30000}) {
    SCOPED_TRACE(testing::Message() << "block " << blockLength);
    settings.rig.blockLength = blockLength;
    RenderResult result;
    const Audio output = render(folder, input, settings, &result);
    expectSameBits(output.samples, playHosted(played, steps, blockLength));
    EXPECT_EQ(result.lateMoves, 2u);
  }
}

// The plug-in alone starts with a glide over the first block: knobs from where they were, level and
// drive from 0.
TEST(Render, WithoutPrerollTheKnobsGlideIn) {
  const Scratch folder;
  std::vector<double> signal = test::pluck(0.1);
  RenderSettings settings;
  settings.preroll = false;
  const Audio output = render(folder, {48000, 1, signal}, settings);
  PluginInstance instance(plugin());
  instance.start(48000, 512);
  for (std::size_t at = 0; at < signal.size(); at += 512) {
    const auto frames = static_cast<int>(std::min<std::size_t>(512, signal.size() - at));
    instance.process(&signal[at], &signal[at], frames);
  }
  expectSameBits(output.samples, signal);
}

TEST(Render, StereoIsOneAmplifierPerSideAndMonoTheirMean) {
  const Scratch folder;
  const std::vector<double> left = test::pluck(0.2), right = test::pluck(0.2, 48000, 147.0);
  Audio stereo = {48000, 2, {}};
  std::vector<double> mean, sides[2];
  for (std::size_t i = 0; i < left.size(); ++i) {
    stereo.samples.insert(stereo.samples.end(), {left[i], right[i]});
    mean.push_back((left[i] + right[i]) / 2.0);
  }
  const Audio both = render(folder, stereo, {});
  for (std::size_t i = 0; i < both.samples.size(); ++i) sides[i % 2].push_back(both.samples[i]);
  expectSameBits(sides[0], render(folder, {48000, 1, left}, {}).samples);
  expectSameBits(sides[1], render(folder, {48000, 1, right}, {}).samples);
  RenderSettings mono;
  mono.mono = true;
  expectSameBits(render(folder, stereo, mono).samples,
                 render(folder, {48000, 1, mean}, {}).samples);
}

TEST(Render, MeasuresWhatItWrote) {
  const Scratch folder;
  const Audio input = {48000, 1, test::pluck(1.0)};
  RenderSettings settings;
  RenderResult result;
  const Audio output = render(folder, input, settings, &result);
  double peak = 0.0;
  for (double sample : output.samples) peak = std::max(peak, std::abs(sample));
  ASSERT_TRUE(result.peak_dbfs && result.loudness_lufs);
  EXPECT_NEAR(*result.peak_dbfs, 20.0 * std::log10(peak), 1e-9);
  EXPECT_LT(*result.loudness_lufs, *result.peak_dbfs);
  EXPECT_EQ(result.seconds, 1.0);

  // Twice the power is 3 dB. MASTER acts by its square, so that takes 5 times 2^(1/4).
  const double before = *result.loudness_lufs;
  settings.rig.start.changes = {{17, 0.5f * std::pow(2.0f, 0.25f)}};
  render(folder, input, settings, &result);
  EXPECT_NEAR(*result.loudness_lufs - before, 3.01, 0.01);

  render(folder, {48000, 1, std::vector<double>(4800, 0.0)}, {}, &result);
  EXPECT_FALSE(result.peak_dbfs || result.loudness_lufs);
}

TEST(Render, RatesOutOfRangeAreRefused) {
  const Scratch folder;
  for (int rate : {1, 999, 1000001}) {
    EXPECT_THROW(render(folder, {rate, 1, {0.0, 0.1}}, {}), FileError) << rate;
  }
  for (int rate : {1000, 768000}) {
    EXPECT_EQ(render(folder, {rate, 1, test::pluck(0.05, rate, 60.0)}, {}).rate, rate);
  }
}

}  // namespace
}  // namespace quellard

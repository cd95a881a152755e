// SPDX-License-Identifier: ISC
#include "tools/files/audio_file.h"

#include <gtest/gtest.h>

#include "tests/tools/scratch.h"
#include "tools/common/errors.h"
#include "tools/files/audio_format.h"

namespace quellard {
namespace {

namespace fs = std::filesystem;
using test::Audio;

// Writes one channel in pieces of different lengths, as a render with moves does. Returns the
// number of clipped samples.
std::int64_t writeWith(const fs::path& path, const std::string& sampleFormat, const Audio& audio) {
  const auto writer = AudioWriter::open(path, formatFor(path, sampleFormat), audio.rate, 1, 0);
  for (std::size_t at = 0; at < audio.samples.size();) {
    const std::size_t count = std::min<std::size_t>(1 + at % 611, audio.samples.size() - at);
    writer->write(&audio.samples[at], static_cast<std::int64_t>(count));
    at += count;
  }
  writer->finish();
  return writer->clipped();
}

double worstDifference(const Audio& a, const Audio& b) {
  double worst = 0.0;
  for (std::size_t i = 0; i < std::min(a.samples.size(), b.samples.size()); ++i) {
    worst = std::max(worst, std::abs(a.samples[i] - b.samples[i]));
  }
  return worst;
}

TEST(AudioFile, EveryTypeKeepsTheAudioAndCountsClippedSamples) {
  const test::Scratch folder;
  const Audio music = {44100, 1, test::pluck(0.5, 44100)};
  Audio loud = music;
  for (double& sample : loud.samples) sample *= 20.0;
  loud.samples[1000] = 1.0;
  loud.samples[2000] = -1.0;
  Audio cut = loud;
  for (double& sample : cut.samples) sample = std::clamp(sample, -1.0, 1.0);
  std::int64_t above = 0;
  for (double sample : loud.samples) above += std::abs(sample) > 1.0;
  const struct {
    const char *ending, *sampleFormat;
    double step;  // the largest error, including noise shaping
    bool hasFullScale;
  } cases[] = {
      {"wav", "", 1e-7, false},      {"wav", "double", 0.0, false}, {"flac", "pcm16", 5e-5, true},
      {"caf", "alac16", 5e-5, true}, {"flac", "", 2e-7, true},      {"rf64", "double", 0.0, false},
      {"aif", "pcm24", 2e-7, true},  {"pvf", "", 1e-8, true},       {"nist", "", 1e-8, true},
      {"wav", "ulaw", 2e-2, true},   {"voc", "", 5e-5, true},       {"iff", "", 5e-5, true},
      {"avr", "", 5e-5, true},       {"xi", "", 1e-4, true},        {"sds", "", 3e-4, true},
      {"ogg", "", 0.1, true},
  };
  for (const auto& test : cases) {
    const fs::path path = folder / (std::string("a.") + test.ending);
    SCOPED_TRACE(path.string() + " " + test.sampleFormat);
    EXPECT_EQ(writeWith(path, test.sampleFormat, music), 0);
    const Audio back = test::readAudio(path);
    EXPECT_EQ(back.channels, 1);
    EXPECT_NEAR(back.rate, 44100, 1);
    EXPECT_GE(back.samples.size(), music.samples.size());
    EXPECT_LE(worstDifference(music, back), test.step);
    EXPECT_EQ(writeWith(path, test.sampleFormat, loud), test.hasFullScale ? above : 0);
    const Audio& expected = test.hasFullScale ? cut : loud;
    EXPECT_LE(worstDifference(expected, test::readAudio(path)), 20.0 * test.step);
  }
}

TEST(AudioFile, WhatATypeCannotHoldIsRefusedAndLeavesNothing) {
  const test::Scratch folder;
  for (const char* name : {"a.wve", "a.htk", "a.opus"}) {  // these types support few rates
    EXPECT_THROW(writeWith(folder / name, "", {44100, 1, {0.0}}), FileError) << name;
  }
  const std::int64_t twoDays = 48000LL * 3600 * 48;
  const auto open = [&](const std::string& name) {
    AudioWriter::open(folder / name, formatFor(name, ""), 48000, 1, twoDays);
  };
  EXPECT_THROW(open("a.wav"), FileError);
  EXPECT_NO_THROW(open("a.w64"));
  EXPECT_TRUE(folder.names().empty()) << "an unfinished file left something";
}

TEST(AudioFile, NamesDecideTheType) {
  EXPECT_EQ(formatFor("x.WAV", ""), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  EXPECT_EQ(formatFor("x.flac", ""), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
  EXPECT_EQ(formatFor("x.opus", ""), SF_FORMAT_OGG | SF_FORMAT_OPUS);
  EXPECT_EQ(formatFor("x.aif", "PCM16"), SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
  for (const char* name : {"x", "x.txt", "x.", ".wav"})
    EXPECT_THROW(formatFor(name, ""), UsageError);
  EXPECT_THROW(formatFor("x.flac", "float"), UsageError);
  EXPECT_THROW(formatFor("x.wav", "pcm17"), UsageError);
}

}  // namespace
}  // namespace quellard

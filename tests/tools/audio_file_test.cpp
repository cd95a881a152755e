// SPDX-License-Identifier: ISC
#include "tools/audio_file.h"

#include <gtest/gtest.h>

#include "tests/tools/scratch.h"
#include "tools/audio_format.h"
#include "tools/errors.h"

namespace quellard {
namespace {

namespace fs = std::filesystem;
using test::Audio;

// Writes in odd pieces, as a render with moves does.
std::int64_t writeWith(const fs::path& path, const std::string& sampleFormat, const Audio& audio) {
  AudioWriter writer(path, formatFor(path, sampleFormat), audio.rate, audio.channels, 0);
  const std::size_t frames = audio.samples.size() / static_cast<std::size_t>(audio.channels);
  for (std::size_t at = 0; at < frames;) {
    const std::size_t count = std::min<std::size_t>(1 + at % 611, frames - at);
    writer.write(&audio.samples[at * static_cast<std::size_t>(audio.channels)],
                 static_cast<std::int64_t>(count));
    at += count;
  }
  writer.finish();
  return writer.clipped();
}

double worstDifference(const Audio& a, const Audio& b) {
  double worst = 0.0;
  for (std::size_t i = 0; i < std::min(a.samples.size(), b.samples.size()); ++i) {
    worst = std::max(worst, std::abs(a.samples[i] - b.samples[i]));
  }
  return worst;
}

TEST(AudioFile, EveryTypeKeepsTheMusicAsWellAsItCan) {
  const test::Scratch folder;
  const Audio music = {44100, 1, test::pluck(0.5, 44100)};
  const struct {
    const char* ending;
    const char* sampleFormat;
    double step;  // the largest rounding error, with some room for noise shaping
  } cases[] = {
      {"wav", "", 1e-7},       {"wav", "double", 0.0},  {"wav", "pcm16", 5e-5},
      {"flac", "", 2e-7},      {"flac", "pcm16", 5e-5}, {"aiff", "", 1e-7},
      {"aif", "pcm24", 2e-7},  {"au", "", 1e-7},        {"caf", "", 1e-7},
      {"caf", "alac16", 5e-5}, {"w64", "", 1e-7},       {"rf64", "double", 0.0},
      {"sf", "", 1e-7},        {"mat", "", 1e-7},       {"pvf", "", 1e-8},
      {"nist", "", 1e-8},      {"voc", "", 5e-5},       {"iff", "", 5e-5},
      {"avr", "", 5e-5},       {"xi", "", 1e-4},        {"sds", "", 3e-4},
      {"ogg", "", 0.1},        {"wav", "ulaw", 2e-2},   {"aiff", "dwvw16", 5e-5},
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
  }
}

TEST(AudioFile, IntegerFormatsCutAtFullScaleAndCount) {
  const test::Scratch folder;
  Audio loud = {48000, 1, test::pluck(0.2)};
  Audio cut = loud;
  std::int64_t above = 0;
  for (std::size_t i = 0; i < loud.samples.size(); ++i) {
    double& sample = loud.samples[i];
    sample = i == 1000 ? 1.0 : i == 2000 ? -1.0 : i == 3000 ? 1e9 : sample * 20.0;
    cut.samples[i] = std::clamp(sample, -1.0, 1.0);
    above += sample != cut.samples[i] ? 1 : 0;
  }
  ASSERT_GT(above, 1000);
  for (const char* name : {"a.flac", "a.sds", "a.voc", "a.iff", "a.avr", "a.nist", "a.pvf"}) {
    EXPECT_EQ(writeWith(folder / name, "", loud), above) << name;
    EXPECT_LT(worstDifference(test::readAudio(folder / name), cut), 5e-4) << name;
  }
  EXPECT_EQ(writeWith(folder / "a.wav", "double", loud), 0);
  EXPECT_EQ(test::readAudio(folder / "a.wav").samples, loud.samples);
}

TEST(AudioFile, RatesThatATypeCannotSayAreRefusedAndLeaveNothing) {
  const test::Scratch folder;
  const Audio music = {44100, 1, test::pluck(0.1, 44100)};
  for (const char* name : {"a.wve", "a.htk", "a.opus"}) {
    EXPECT_THROW(writeWith(folder / name, "", music), FileError) << name;
  }
  EXPECT_TRUE(folder.names().empty());
}

TEST(AudioFile, TooLongForTheTypeIsToldBeforehand) {
  const test::Scratch folder;
  const std::int64_t twoDays = 48000LL * 3600 * 48;
  const fs::path wav = folder / "a.wav";
  EXPECT_THROW(AudioWriter(wav, formatFor(wav, ""), 48000, 1, twoDays), FileError);
  const fs::path w64 = folder / "a.w64";
  EXPECT_NO_THROW(AudioWriter(w64, formatFor(w64, ""), 48000, 1, twoDays));
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

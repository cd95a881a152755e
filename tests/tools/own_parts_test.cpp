// SPDX-License-Identifier: ISC
// What stands in for libraries where they are missing, against these libraries.
#include <cmath>
#include <ebur128.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <numbers>
#include <soxr.h>

#include "tests/support/same_bits.h"
#include "tests/tools/scratch.h"
#include "tools/common/errors.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#include "tools/host/loudness.h"
#include "tools/settings/resampling.h"

namespace quellard::test {
namespace {

std::string bytesOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

Audio readOwn(const fs::path& file) {
  const auto reader = AudioReader::open(file);
  Audio audio = {reader->rate(), reader->channels(), {}};
  std::vector<double> piece(static_cast<std::size_t>(700 * reader->channels()));
  for (std::int64_t got = 700; got == 700;) {
    got = reader->read(piece.data(), 700);
    audio.samples.insert(audio.samples.end(), piece.begin(), piece.begin() + got * audio.channels);
  }
  return audio;
}

void writeByLibrary(const fs::path& file, int format, const Audio& audio) {
  SF_INFO info = {0, audio.rate, audio.channels, format, 0, 0};
  SNDFILE* const to = sf_open(file.c_str(), SFM_WRITE, &info);
  ASSERT_NE(to, nullptr) << sf_strerror(nullptr);
  sf_command(to, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  sf_write_double(to, audio.samples.data(), std::ssize(audio.samples));
  sf_close(to);
}

struct Kind {
  const char* name;
  int code;
};
constexpr Kind kKinds[] = {{"float", SF_FORMAT_FLOAT},  {"double", SF_FORMAT_DOUBLE},
                           {"pcm32", SF_FORMAT_PCM_32}, {"pcm24", SF_FORMAT_PCM_24},
                           {"pcm16", SF_FORMAT_PCM_16}, {"pcmu8", SF_FORMAT_PCM_U8}};

// Noise up to full scale and a few samples more.
Audio noisy(int channels, int frames) {
  Random random(11);
  return {44100, channels, noise(random, 1.0, static_cast<std::size_t>(channels * frames))};
}

TEST(OwnWav, HasTheLibrarysBytesAndSamples) {
  const Scratch folder;
  for (const auto& [name, code] : kKinds) {
    for (const int channels : {1, 2, 3}) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(channels));
      const Audio audio = noisy(channels, 1001);
      const fs::path own = folder / "own.wav", other = folder / "other.wav";
      writeByLibrary(other, SF_FORMAT_WAV | code, audio);
      const auto writer = AudioWriter::open(own, formatFor(own, name), audio.rate, channels, 1001);
      writer->write(audio.samples.data(), 500);
      writer->write(audio.samples.data() + 500 * channels, 501);
      writer->finish();
      EXPECT_EQ(writer->clipped(), 0);
      EXPECT_TRUE(bytesOf(own) == bytesOf(other));
      for (const int type : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64}) {
        writeByLibrary(other, type | code, audio);
        const Audio mine = readOwn(other), theirs = readAudio(other);
        EXPECT_EQ(mine.rate, theirs.rate);
        EXPECT_EQ(mine.channels, theirs.channels);
        EXPECT_TRUE(sameBits(mine.samples, theirs.samples)) << type;
      }
    }
  }
}

TEST(OwnWav, CutsAtFullScaleAndCounts) {
  const Scratch folder;
  const fs::path file = folder / "a.wav";
  const std::vector<double> loud = {1.5, -1.5, 1.0, -1.0, 0.25};
  for (const auto& [name, clipped] : {std::pair{"pcm16", 2}, {"float", 0}}) {
    const auto writer = AudioWriter::open(file, formatFor(file, name), 48000, 1, 0);
    writer->write(loud.data(), 5);
    writer->finish();
    EXPECT_EQ(writer->clipped(), clipped);
    EXPECT_NEAR(readOwn(file).samples[0], clipped != 0 ? 1.0 : 1.5, 1e-4);
  }
}

TEST(OwnWav, DamagedFilesAreTold) {
  const Scratch folder;
  const fs::path whole = folder / "whole.wav", file = folder / "file.wav";
  const Audio audio = noisy(2, 500);
  writeByLibrary(whole, SF_FORMAT_WAV | SF_FORMAT_PCM_16, audio);
  const std::string bytes = bytesOf(whole);

  writeBytes(file, bytes.substr(0, 44 + 4 * 300 + 2));
  const auto cut = AudioReader::open(file);
  std::vector<double> all(1000);
  EXPECT_EQ(cut->read(all.data(), 500), 300);
  EXPECT_TRUE(cut->truncated());

  // A program that writes to a pipe leaves a placeholder for the length.
  std::string endless = bytes;
  endless.replace(40, 4, "\xFF\xFF\xFF\xFF");
  writeBytes(file, endless);
  const auto streamed = AudioReader::open(file);
  EXPECT_EQ(streamed->frames(), 0);
  EXPECT_EQ(streamed->read(all.data(), 600), 500);
  EXPECT_FALSE(streamed->truncated());

  // A chunk that is unknown, of odd length, is passed over.
  std::string more = bytes;
  more.insert(12, std::string("LIST\x03\0\0\0abc\0", 12));
  writeBytes(file, more);
  EXPECT_TRUE(sameBits(readOwn(file).samples, readAudio(whole).samples));

  std::string alaw = bytes;
  alaw[20] = 6;
  for (const std::string& wrong : {std::string(), std::string("RIFF"), bytes.substr(0, 30), alaw,
                                   std::string("fLaC") + bytes}) {
    writeBytes(file, wrong);
    EXPECT_THROW(AudioReader::open(file), FileError) << wrong.size();
  }
  EXPECT_THROW(formatFor("a.flac", ""), UsageError);
  EXPECT_THROW(formatFor("a.wav", "vorbis"), UsageError);
}

// A tone and one at nine tenths of the lower rate's half, against what they are at the other rate,
// and against the library, which is further from it.
TEST(OwnResampling, GivesTheToneAndAgreesWithTheLibrary) {
  for (const auto& [from, to] :
       {std::pair{44100.0, 48000.0}, {48000.0, 44100.0}, {96000.0, 44100.0}, {22050.0, 96000.0}}) {
    const double highest = 0.45 * std::min(from, to);
    const auto tones = [&](double rate) {
      std::vector<double> both;
      for (int i = 0; i < rate / 4.0; ++i) {
        const double t = i / rate;
        const double fade = std::pow(std::sin(std::numbers::pi * 4.0 * t), 2.0);
        for (const double hz : {997.0, highest}) {
          both.push_back(fade * std::sin(2.0 * std::numbers::pi * hz * t));
        }
      }
      return both;
    };
    const auto worst = [](const std::vector<double>& one, const std::vector<double>& other) {
      double most = 0.0;
      for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
        most = std::max(most, std::fabs(one[i] - other[i]));
      }
      return most;
    };
    const std::vector<double> in = tones(from), wanted = tones(to),
                              own = resampled(in, 2, from, to);
    std::vector<double> theirs(own.size());
    const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t best = soxr_quality_spec(SOXR_VHQ, 0);
    std::size_t written = 0;
    soxr_oneshot(from, to, 2, in.data(), in.size() / 2, nullptr, theirs.data(), theirs.size() / 2,
                 &written, &doubles, &best, nullptr);
    EXPECT_NEAR(static_cast<double>(written), static_cast<double>(own.size() / 2), 1.0);
    EXPECT_LT(worst(own, wanted), 2e-6) << from << " to " << to;
    EXPECT_LT(worst(own, theirs), 1e-3) << from << " to " << to;
  }
}

// What the lower rate cannot hold comes back at no other frequency.
TEST(OwnResampling, LetsNothingBackFromBeyond) {
  std::vector<double> high(9600);
  for (std::size_t i = 0; i < high.size(); ++i) {
    const double window = std::sin(std::numbers::pi * static_cast<double>(i) / 9600.0);
    high[i] = window * window * std::sin(2.0 * std::numbers::pi * 0.25 * static_cast<double>(i));
  }
  for (const double sample : resampled(high, 1, 96000.0, 44100.0)) {
    EXPECT_LT(std::fabs(sample), 2e-6);
  }
}

TEST(OwnLoudness, AgreesWithTheLibrary) {
  for (const int rate : {44100, 48000, 96000, 192000}) {
    for (const int channels : {1, 2}) {
      // Quiet, loud and silent by turns, for both gates.
      std::vector<double> music;
      for (const double level : {0.3, 0.003, 0.0, 0.1, 0.9}) {
        Random random(3);
        for (const double x :
             pluckedNote(random, rate, 196.0, level, static_cast<std::size_t>(1.3 * rate))) {
          for (int c = 0; c < channels; ++c) music.push_back(c == 0 ? x : 0.5 * x);
        }
      }
      Loudness own(rate, channels);
      own.add(music.data(), std::ssize(music) / channels);
      ebur128_state* state = ebur128_init(static_cast<unsigned>(channels),
                                          static_cast<unsigned long>(rate), EBUR128_MODE_I);
      ebur128_add_frames_double(state, music.data(),
                                music.size() / static_cast<unsigned>(channels));
      double theirs = 0.0;
      ebur128_loudness_global(state, &theirs);
      ebur128_destroy(&state);
      ASSERT_TRUE(own.integrated().has_value());
      EXPECT_NEAR(own.integrated().value_or(0.0), theirs, 0.01) << rate << ' ' << channels;
    }
  }
  Loudness silent(48000, 1);
  const std::vector<double> zeros(48000);
  silent.add(zeros.data(), 48000);
  EXPECT_FALSE(silent.integrated().has_value());
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// Reading and writing audio files of any kind that libsndfile knows, as interleaved doubles with
// full scale at 1. Nothing here keeps more than a buffer of a file in memory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <sndfile.h>
#include <string>
#include <vector>

#include "tools/input_file.h"
#include "tools/output_file.h"

namespace quellard {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

class AudioReader {
 public:
  // Opens the input once, standard input for "-". Streams of the kinds that say in front what they
  // hold are read as they come, the others are kept in a file without a name first. Throws
  // FileError with the reason: missing, unreadable, no audio; or Interrupted while a stream waits.
  explicit AudioReader(const std::filesystem::path& path);

  int rate() const { return info_.samplerate; }  // Hz
  int channels() const { return info_.channels; }

  // Frames as the header promises; nothing is lost if it is wrong. 0 when it does not say.
  std::int64_t frames() const { return frames_; }

  // Reads up to count frames into count * channels() doubles, and returns how many there were;
  // fewer than count only at the end. Throws FileError when nothing at all can be decoded.
  std::int64_t read(double* interleaved, std::int64_t count);

  // Whether the audio that has been read ended before the place that the file itself gives.
  bool truncated() const { return ended_ && (damaged_ || received_ < promised_); }

 private:
  bool openStream();
  void openWhole(const std::filesystem::path& path);
  SoundFile open(bool endless);
  std::int64_t promisedFrames();
  bool endIsMissing(const std::string& start);

  InputFile input_;
  SF_INFO info_ = {};
  SoundFile file_;
  std::int64_t frames_ = 0;
  std::int64_t promised_ = 0;
  std::int64_t received_ = 0;
  bool mayBeMpeg_ = true;  // whose decoder talks
  bool damaged_ = false;
  bool ended_ = false;
};

// Whether an ordinary file can be opened as audio at all.
bool isAudioFile(const std::filesystem::path& path);

class AudioWriter {
 public:
  // format: from formatFor(). rate: Hz. expectedFrames: to see beforehand that the type cannot
  // describe so much; 0 if unknown. Throws FileError when the file cannot be made or when the
  // format cannot hold this rate or so many channels.
  AudioWriter(const std::filesystem::path& path, int format, int rate, int channels,
              std::int64_t expectedFrames);

  // Where the format has a full scale, what exceeds it is cut there and counted. Throws FileError,
  // when the disk is full above all.
  void write(const double* interleaved, std::int64_t frames);

  // Completes the file and gives it its name. Throws FileError.
  void finish();

  // Samples that exceeded full scale.
  std::int64_t clipped() const { return clipped_; }

 private:
  // A few old types know one rate, or round it: then the piece would play at another pitch.
  void checkRate();

  std::filesystem::path path_;
  OutputFile output_;
  int format_;
  int rate_;
  int channels_;
  SoundFile file_;  // writes its header when it is closed: gone before the file it writes to
  std::vector<double> cut_;
  std::int64_t clipped_ = 0;
};

}  // namespace quellard

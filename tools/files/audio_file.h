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

#include "tools/files/input_file.h"
#include "tools/files/output_file.h"

namespace quellard {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

class AudioReader {
 public:
  // Opens a file, a stream, or standard input for "-". A stream whose type has its length in a
  // header at the start is read as it comes; others are copied into an unnamed file first. Throws
  // FileError with the reason (missing, unreadable, no audio), or Interrupted while waiting for a
  // stream.
  explicit AudioReader(const std::filesystem::path& path);

  int rate() const { return info_.samplerate; }  // Hz
  int channels() const { return info_.channels; }

  // The length in frames according to the header, which may be wrong; 0 when it gives none.
  std::int64_t frames() const { return frames_; }

  // Reads up to count frames into count * channels() doubles and returns their number, which is
  // less than count only at the end. Throws FileError when not even the first frame can be decoded.
  std::int64_t read(double* interleaved, std::int64_t count);

  // Whether the audio ended earlier than the file says, or is damaged.
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
  bool mayBeMpeg_ = true;  // MPEG's decoder prints messages on stderr
  bool damaged_ = false;
  bool ended_ = false;
};

// Whether an ordinary file can be opened as audio.
bool isAudioFile(const std::filesystem::path& path);

class AudioWriter {
 public:
  // format: from formatFor(). rate: Hz. expectedFrames: to refuse at once what is too long for the
  // file type; 0 if unknown. Throws FileError when the file cannot be made, or when the format
  // cannot hold the rate, the channels or the length.
  AudioWriter(const std::filesystem::path& path, int format, int rate, int channels,
              std::int64_t expectedFrames);

  // Where the format has a full scale, samples beyond it are clipped and counted. Throws FileError,
  // for instance when the disk is full.
  void write(const double* interleaved, std::int64_t frames);

  // Completes the file and gives it its name. Throws FileError.
  void finish();

  // Samples that exceeded full scale.
  std::int64_t clipped() const { return clipped_; }

 private:
  // Throws FileError where the type has stored another rate: some old types have only one, or round
  // it, and the file would play at another pitch.
  void checkRate();

  std::filesystem::path path_;
  OutputFile output_;
  int format_;
  int rate_;
  int channels_;
  SoundFile file_;  // writes its header when destroyed, so it stands after output_
  std::vector<double> cut_;
  std::int64_t clipped_ = 0;
};

}  // namespace quellard

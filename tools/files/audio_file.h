// SPDX-License-Identifier: ISC
// Reading and writing audio files of any kind that libsndfile knows (WAV alone in a build without
// it), as interleaved doubles with full scale at 1. Nothing here keeps more than a buffer of a file
// in memory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

namespace quellard {

class AudioReader {
 public:
  // Opens a file, a stream, or standard input for "-". A stream whose type has its length in a
  // header at the start is read as it comes; others are copied into an unnamed file first. Throws
  // FileError with the reason (missing, unreadable, no audio), or Interrupted while waiting for a
  // stream.
  static std::unique_ptr<AudioReader> open(const std::filesystem::path& path);

  AudioReader() = default;
  virtual ~AudioReader() = default;
  AudioReader(const AudioReader&) = delete;
  AudioReader& operator=(const AudioReader&) = delete;

  virtual int rate() const = 0;  // Hz
  virtual int channels() const = 0;

  // The length in frames according to the header, which may be wrong; 0 when it gives none.
  virtual std::int64_t frames() const = 0;

  // Reads up to count frames into count * channels() doubles and returns their number, which is
  // less than count only at the end. Throws FileError when not even the first frame can be decoded.
  virtual std::int64_t read(double* interleaved, std::int64_t count) = 0;

  // Whether the audio ended earlier than the file says, or is damaged.
  virtual bool truncated() const = 0;
};

class AudioWriter {
 public:
  // format: from formatFor(). rate: Hz. expectedFrames: to refuse at once what is too long for the
  // file type; 0 if unknown. Throws FileError when the file cannot be made, or when the format
  // cannot hold the rate, the channels or the length.
  static std::unique_ptr<AudioWriter> open(const std::filesystem::path& path, int format, int rate,
                                           int channels, std::int64_t expectedFrames);

  AudioWriter() = default;
  virtual ~AudioWriter() = default;
  AudioWriter(const AudioWriter&) = delete;
  AudioWriter& operator=(const AudioWriter&) = delete;

  // Where the format has a full scale, samples beyond it are clipped and counted. Throws FileError,
  // for instance when the disk is full.
  virtual void write(const double* interleaved, std::int64_t frames) = 0;

  // Completes the file and gives it its name. Throws FileError.
  virtual void finish() = 0;

  // Samples that exceeded full scale.
  virtual std::int64_t clipped() const = 0;
};

}  // namespace quellard

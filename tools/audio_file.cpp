// SPDX-License-Identifier: ISC
#include "tools/audio_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fmt/format.h>
#include <unistd.h>

#include "tools/audio_format.h"
#include "tools/errors.h"
#include "tools/knobs.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// The highest sample of integer formats. Some encoders of the library wrap at 1 itself.
constexpr double kFullScale = 1.0 - 0x1p-31;

// The library ends its sentences with a full stop; the command's lines have none.
std::string reason(SNDFILE* file) {
  std::string_view text = trimmed(sf_strerror(file));
  constexpr std::string_view kPrefix = "Error : ";
  if (text.starts_with(kPrefix)) text.remove_prefix(kPrefix.size());
  while (text.ends_with('.')) text.remove_suffix(1);
  std::string line(text);
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

// The library reaches the output through these, so that no failed write goes unseen: several of
// its encoders drop the result of their last one.
sf_count_t outputSize(void* user) { return static_cast<OutputFile*>(user)->size(); }
sf_count_t seekOutput(sf_count_t offset, int whence, void* user) {
  return static_cast<OutputFile*>(user)->seek(offset, whence);
}
sf_count_t readOutput(void* bytes, sf_count_t count, void* user) {
  return static_cast<OutputFile*>(user)->read(bytes, count);
}
sf_count_t writeOutput(const void* bytes, sf_count_t count, void* user) {
  return static_cast<OutputFile*>(user)->write(bytes, count);
}
sf_count_t tellOutput(void* user) { return static_cast<OutputFile*>(user)->seek(0, SEEK_CUR); }

SoundFile openOutput(OutputFile& output, int mode, SF_INFO& info) {
  SF_VIRTUAL_IO io = {outputSize, seekOutput, readOutput, writeOutput, tellOutput};
  output.seek(0, SEEK_SET);
  return SoundFile(sf_open_virtual(&io, mode, &info, &output));
}

}  // namespace

AudioReader::AudioReader(const fs::path& path) : path_(path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    throw FileError(fmt::format("cannot read {}: {}", path.string(), systemMessage(EISDIR)));
  }
  if (access(path.c_str(), R_OK) != 0) {
    throw FileError(fmt::format("cannot read {}: {}", path.string(), systemMessage(errno)));
  }
  file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
  if (file_ == nullptr) {
    throw FileError(fmt::format("cannot read {}: {}", path.string(), reason(nullptr)));
  }
}

std::int64_t AudioReader::frames() const {
  return info_.frames > 0 && info_.frames < SF_COUNT_MAX ? info_.frames : 0;
}

std::int64_t AudioReader::read(double* interleaved, std::int64_t count) {
  const sf_count_t got = sf_readf_double(file_.get(), interleaved, count);
  if (got < count && sf_error(file_.get()) != SF_ERR_NO_ERROR) {
    throw FileError(fmt::format("cannot read {}: {}", path_.string(), reason(file_.get())));
  }
  return got;
}

bool isAudioFile(const fs::path& path) {
  SF_INFO info = {};
  return SoundFile(sf_open(path.c_str(), SFM_READ, &info)) != nullptr;
}

AudioWriter::AudioWriter(const fs::path& path, int format, int rate, int channels,
                         std::int64_t expectedFrames)
    : path_(path), output_(path), format_(format), rate_(rate), channels_(channels) {
  const double bytes = static_cast<double>(expectedFrames) * channels * bytesPerSample(format);
  if (bytes > largestFile(format) - 65536) {
    throw FileError(fmt::format(
        "cannot write {}: longer than such a file can be, use .w64 or .rf64", path.string()));
  }
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  file_ = openOutput(output_, SFM_WRITE, info);
  if (file_ == nullptr) {
    output_.throwIfFailed();
    throw FileError(fmt::format("cannot write {} with {} Hz and {} channel{}: {}", path.string(),
                                rate, channels, channels == 1 ? "" : "s", reason(nullptr)));
  }
  // The chunk with the peak carries the time of day: two equal renders would differ.
  sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void AudioWriter::write(const double* interleaved, std::int64_t frames) {
  if (hasFullScale(format_)) {
    cut_.assign(interleaved, interleaved + frames * channels_);
    for (double& sample : cut_) {
      if (sample > 1.0 || sample < -1.0) ++clipped_;
      sample = std::clamp(sample, -1.0, kFullScale);
    }
    interleaved = cut_.data();
  }
  const sf_count_t written = sf_writef_double(file_.get(), interleaved, frames);
  output_.throwIfFailed();
  if (written != frames) {
    throw FileError(fmt::format("cannot write {}: {}", path_.string(), reason(file_.get())));
  }
}

void AudioWriter::finish() {
  const int error = sf_close(file_.release());
  output_.throwIfFailed();
  if (error != SF_ERR_NO_ERROR) {
    throw FileError(fmt::format("cannot write {}: {}", path_.string(), sf_error_number(error)));
  }
  checkRate();
  output_.commit();
}

void AudioWriter::checkRate() {
  const int type = format_ & SF_FORMAT_TYPEMASK;
  if (type == SF_FORMAT_RAW) return;  // says nothing about itself
  SF_INFO info = {};
  const SoundFile written = openOutput(output_, SFM_READ, info);
  if (written == nullptr) {
    throw FileError(fmt::format("cannot write {}: {}", path_.string(), reason(nullptr)));
  }
  constexpr double kTolerance = 1e-3;  // two cents; a sample dump rounds to nanoseconds
  if (std::abs(info.samplerate - rate_) <= kTolerance * rate_) return;
  throw FileError(fmt::format("cannot write {}: such a file cannot say {} Hz, only {} Hz",
                              path_.string(), rate_, info.samplerate));
}

}  // namespace quellard

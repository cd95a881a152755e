// SPDX-License-Identifier: ISC
#include "tools/files/audio_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <memory>
#include <sndfile.h>
#include <string>
#include <vector>

#include "tools/common/errors.h"
#include "tools/files/audio_format.h"
#include "tools/files/input_file.h"
#include "tools/files/muted_stderr.h"
#include "tools/files/output_file.h"
#include "tools/files/streams.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

struct CloseSoundFile {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

// The highest sample of integer formats. Some of the library's encoders overflow at 1 exactly.
constexpr double kFullScale = 1.0 - 0x1p-31;

// Why the library cannot open a file, in plainer words than the library's own.
std::string unreadable(int error) {
  switch (error) {
    case SF_ERR_UNRECOGNISED_FORMAT: return "not an audio file of a known kind";
    case SF_ERR_UNSUPPORTED_ENCODING: return "an audio file, but with unknown samples";
    default: return "not an audio file, or a damaged one";
  }
}

// The library reads and writes through these callbacks, so that no failed write is missed: several
// of its encoders ignore the result of their last write.
template <typename File>
struct Callbacks {
  static File& file(void* user) { return *static_cast<File*>(user); }
  static sf_count_t size(void* user) { return file(user).size(); }
  static sf_count_t seek(sf_count_t to, int from, void* user) { return file(user).seek(to, from); }
  static sf_count_t read(void* to, sf_count_t count, void* user) {
    return file(user).read(to, count);
  }
  static sf_count_t write(const void* from, sf_count_t count, void* user) {
    if constexpr (std::is_same_v<File, InputFile>)
      return 0;
    else
      return file(user).write(from, count);
  }
  static sf_count_t tell(void* user) { return file(user).seek(0, SEEK_CUR); }
};

template <typename File>
SoundFile openThrough(File& file, int mode, SF_INFO& info) {
  using To = Callbacks<File>;
  SF_VIRTUAL_IO io = {To::size, To::seek, To::read, To::write, To::tell};
  file.seek(0, SEEK_SET);
  return SoundFile(sf_open_virtual(&io, mode, &info, &file));
}

constexpr std::size_t kMagicBytes = 32;
constexpr std::int64_t kMostFrames = std::int64_t{1} << 48;  // three years at 3 MHz

// Padded with zeros: a file may be shorter than the headers that are compared.
std::string padded(std::string start) {
  start.resize(kMagicBytes);
  return start;
}

// Whether the type has its length in a header at the start and can be read without seeking.
bool hasLengthInFront(const std::string& start) {
  if (start.starts_with("FORM")) return start.substr(8, 3) == "AIF";
  constexpr std::array<const char*, 5> kMagics = {"RIFF", "RIFX", "RF64", ".snd", "caff"};
  return std::any_of(kMagics.begin(), kMagics.end(),
                     [&](const char* magic) { return start.starts_with(magic); });
}

// The length according to a header, or 0 where it is a placeholder: programs that write to a pipe
// do not know the size and put about 2^31 or 2^32 bytes there.
std::int64_t credibleFrames(const SF_INFO& info) {
  constexpr double kMargin = 0x1p17;
  const double bytes =
      static_cast<double>(info.frames) * info.channels * bytesPerSample(info.format);
  const bool unknown = std::abs(bytes - 0x1p31) < kMargin || std::abs(bytes - 0x1p32) < kMargin;
  return unknown || info.frames >= kMostFrames ? 0 : info.frames;
}

std::int64_t bigEndian(const std::string& bytes) {
  std::int64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

std::int64_t littleEndian(const std::string& bytes) {
  return bigEndian({bytes.rbegin(), bytes.rend()});
}

class SoundFileReader : public AudioReader {
 public:
  explicit SoundFileReader(const fs::path& path);

  int rate() const override { return info_.samplerate; }
  int channels() const override { return info_.channels; }
  std::int64_t frames() const override { return frames_; }
  std::int64_t read(double* interleaved, std::int64_t count) override;
  bool truncated() const override { return ended_ && (damaged_ || received_ < promised_); }

 private:
  bool openStream();
  void openWhole(const fs::path& path);
  SoundFile openSoundFile(bool endless);
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

SoundFileReader::SoundFileReader(const fs::path& path) : input_(path) {
  if (input_.isStream() && openStream()) return;
  if (input_.isStream()) input_.spool();
  openWhole(path);
}

SoundFile SoundFileReader::openSoundFile(bool endless) {
  input_.pretendEndless(endless);
  info_ = {};
  const MutedStderr muted(mayBeMpeg_);
  SoundFile file = openThrough(input_, SFM_READ, info_);
  input_.throwIfFailed();
  if (file != nullptr) mayBeMpeg_ = (info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
  return file;
}

bool SoundFileReader::openStream() {
  if (!hasLengthInFront(padded(input_.start(kMagicBytes)))) return false;
  file_ = openSoundFile(true);
  if (file_ == nullptr || bytesPerSample(info_.format) == 0) return false;
  input_.forgetStart();
  frames_ = promised_ = credibleFrames(info_);
  return true;
}

void SoundFileReader::openWhole(const fs::path& path) {
  const std::string magic = padded(input_.start(kMagicBytes));
  if (input_.size() == 0) {
    throw FileError(fmt::format("cannot read {}: it is empty", input_.name()));
  }
  promised_ = hasLengthInFront(magic) ? promisedFrames() : 0;
  file_ = openSoundFile(false);
  const int error = sf_error(nullptr);
  // The library refuses truncated files of some types.
  if (file_ == nullptr && promised_ > 0) file_ = openSoundFile(true);
  // Some types are recognised by the file's name only, or have their header in another file.
  if (file_ == nullptr && !isStandardInput(path) && fs::is_regular_file(path)) {
    const MutedStderr muted(true);
    file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
  }
  if (file_ == nullptr) {
    throw FileError(fmt::format("cannot read {}: {}", input_.name(), unreadable(error)));
  }
  frames_ = info_.frames < kMostFrames ? info_.frames : 0;
  promised_ = std::max(promised_, frames_);
  damaged_ = endIsMissing(magic);
}

std::int64_t SoundFileReader::promisedFrames() {
  const SoundFile file = openSoundFile(true);
  return file != nullptr ? credibleFrames(info_) : 0;
}

// For types for which the library takes the number of samples from the file's length.
bool SoundFileReader::endIsMissing(const std::string& start) {
  constexpr std::size_t kLongestPage = 65307;
  const std::int64_t position = input_.seek(0, SEEK_CUR);
  const std::int64_t size = input_.size();
  bool missing = false;
  if (start.starts_with("OggS")) {
    // The last page has a flag.
    const std::string tail = input_.end(2 * kLongestPage);
    const std::size_t page = tail.rfind("OggS");
    missing = page == std::string::npos || page + 5 >= tail.size() || (tail[page + 5] & 4) == 0;
  } else if (start.starts_with("riff")) {
    missing = littleEndian(start.substr(16, 8)) > size;
  } else if (start.starts_with("FORM") && !hasLengthInFront(start)) {
    missing = bigEndian(start.substr(4, 4)) + 8 > size;
  } else if (start.starts_with("Creative Voice File")) {
    missing = littleEndian(start.substr(27, 3)) + 30 > size;
  }
  input_.seek(position, SEEK_SET);
  return missing;
}

std::int64_t SoundFileReader::read(double* interleaved, std::int64_t count) {
  const sf_count_t got = [&] {
    const MutedStderr muted(mayBeMpeg_);
    return sf_readf_double(file_.get(), interleaved, count);
  }();
  input_.throwIfFailed();
  received_ += got;
  if (got == count) return got;
  ended_ = true;
  if (sf_error(file_.get()) == SF_ERR_NO_ERROR) return got;
  damaged_ = true;
  if (received_ > 0) return got;
  throw FileError(fmt::format("cannot read {}: it is damaged", input_.name()));
}

class SoundFileWriter : public AudioWriter {
 public:
  SoundFileWriter(const fs::path& path, int format, int rate, int channels,
                  std::int64_t expectedFrames);

  void write(const double* interleaved, std::int64_t frames) override;
  void finish() override;
  std::int64_t clipped() const override { return clipped_; }

 private:
  // Throws FileError where the type has stored another rate: some old types have only one, or round
  // it, and the file would play at another pitch.
  void checkRate();
  [[noreturn]] void fail(const std::string& why) const {
    throw FileError(fmt::format("cannot write {}: {}", path_.string(), why));
  }

  fs::path path_;
  OutputFile output_;
  int format_;
  int rate_;
  int channels_;
  SoundFile file_;  // writes its header when destroyed, so it stands after output_
  std::vector<double> cut_;
  std::int64_t clipped_ = 0;
};

SoundFileWriter::SoundFileWriter(const fs::path& path, int format, int rate, int channels,
                                 std::int64_t expectedFrames)
    : path_(path), output_(path), format_(format), rate_(rate), channels_(channels) {
  const double bytes = static_cast<double>(expectedFrames) * channels * bytesPerSample(format);
  if (bytes > largestFile(format) - 65536) {
    fail("longer than such a file can be, use .w64 or .rf64");
  }
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = channels;
  info.format = format;
  file_ = openThrough(output_, SFM_WRITE, info);
  if (file_ == nullptr) {
    output_.throwIfFailed();
    fail(fmt::format("such a file cannot hold {} Hz and {} channel{}", rate, channels,
                     channels == 1 ? "" : "s"));
  }
  // The peak chunk contains the time of day, by which two equal renders would differ.
  sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void SoundFileWriter::write(const double* interleaved, std::int64_t frames) {
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
  if (written != frames) fail("its encoder fails");
}

void SoundFileWriter::finish() {
  const int error = sf_close(file_.release());
  output_.throwIfFailed();
  if (error != SF_ERR_NO_ERROR) fail("its encoder fails");
  checkRate();
  output_.commit();
}

void SoundFileWriter::checkRate() {
  const int type = format_ & SF_FORMAT_TYPEMASK;
  if (type == SF_FORMAT_RAW) return;  // stores no rate
  SF_INFO info = {};
  const SoundFile written = openThrough(output_, SFM_READ, info);
  if (written == nullptr) fail("its encoder fails");
  constexpr double kTolerance = 1e-3;  // two cents; a sample dump rounds to nanoseconds
  if (std::abs(info.samplerate - rate_) <= kTolerance * rate_) return;
  fail(fmt::format("such a file cannot say {} Hz, only {} Hz", rate_, info.samplerate));
}

}  // namespace

std::unique_ptr<AudioReader> AudioReader::open(const fs::path& path) {
  return std::make_unique<SoundFileReader>(path);
}

std::unique_ptr<AudioWriter> AudioWriter::open(const fs::path& path, int format, int rate,
                                               int channels, std::int64_t expectedFrames) {
  return std::make_unique<SoundFileWriter>(path, format, rate, channels, expectedFrames);
}

}  // namespace quellard

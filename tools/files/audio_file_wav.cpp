// SPDX-License-Identifier: ISC
// Audio files for a build without libsndfile: WAV, RF64 for reading, with integer and
// floating-point samples. What it writes has the same bytes as libsndfile's.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <vector>

#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#include "tools/files/input_file.h"
#include "tools/files/output_file.h"
#include "tools/files/wav_format.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

static_assert(std::endian::native == std::endian::little);  // as the files are

// The highest sample of integer formats, as with libsndfile.
constexpr double kFullScale = 1.0 - 0x1p-31;

constexpr unsigned kPcmTag = 1;
constexpr unsigned kFloatTag = 3;
constexpr unsigned kExtensibleTag = 0xFFFE;
constexpr std::int64_t kNoSize = 0xFFFFFFFF;  // the real one is elsewhere, or was not known

std::uint64_t numberAt(std::string_view bytes, std::size_t at, std::size_t count) {
  std::uint64_t number = 0;
  for (std::size_t i = count; i > 0; --i) {
    const std::size_t place = at + i - 1;
    number = number << 8U | (place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0U);
  }
  return number;
}

WavFormat formatOf(unsigned tag, unsigned bits) {
  if (tag == kFloatTag) return bits == 32 ? kWavFloat : (bits == 64 ? kWavDouble : kNoWav);
  if (tag != kPcmTag) return kNoWav;
  switch (bits) {
    case 8: return kWavPcm8;
    case 16: return kWavPcm16;
    case 24: return kWavPcm24;
    case 32: return kWavPcm32;
    default: return kNoWav;
  }
}

template <typename Number>
Number read(const char* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

// Integers become -1 to just below 1.
double decoded(WavFormat format, const char* from) {
  switch (format) {
    case kWavFloat: return static_cast<double>(read<float>(from));
    case kWavDouble: return read<double>(from);
    case kWavPcm8: return (read<std::uint8_t>(from) - 128) / 128.0;
    case kWavPcm16: return read<std::int16_t>(from) / 32768.0;
    case kNoWav: break;
    case kWavPcm32: return read<std::int32_t>(from) / 2147483648.0;
    case kWavPcm24: {
      const std::array<char, 4> high = {0, from[0], from[1], from[2]};
      return read<std::int32_t>(high.data()) / 2147483648.0;
    }
  }
  return 0.0;
}

// Where libsndfile puts 1: the highest number.
std::int32_t scaled(double sample, double highest) {
  return static_cast<std::int32_t>(std::lrint(sample * highest));
}

void encode(WavFormat format, double sample, std::string& to) {
  const auto put = [&to](auto number, std::size_t bytes) {
    to.append(reinterpret_cast<const char*>(&number), bytes);
  };
  switch (format) {
    case kWavFloat: return put(static_cast<float>(sample), 4);
    case kWavDouble: return put(sample, 8);
    case kWavPcm8: return put(scaled(sample, 127.0) + 128, 1);
    case kWavPcm16: return put(scaled(sample, 32767.0), 2);
    case kWavPcm24: return put(scaled(sample, 8388607.0), 3);
    case kWavPcm32: return put(scaled(sample, 2147483647.0), 4);
    case kNoWav: return;
  }
}

std::string number(std::uint64_t value, std::size_t bytes) {
  return {reinterpret_cast<const char*>(&value), bytes};
}

class WavReader : public AudioReader {
 public:
  explicit WavReader(const fs::path& path) : input_(path) {
    readHeader();
    input_.forgetStart();
  }

  int rate() const override { return rate_; }
  int channels() const override { return channels_; }
  std::int64_t frames() const override { return promised_; }
  std::int64_t read(double* interleaved, std::int64_t count) override;
  bool truncated() const override { return ended_ && received_ < promised_; }

 private:
  [[noreturn]] void refuse(const char* why) const {
    input_.throwIfFailed();
    throw FileError(fmt::format("cannot read {}: {}", input_.name(), why));
  }
  // The next bytes, fewer at the end.
  std::string take(std::int64_t count) {
    std::string bytes(asSize(count), '\0');
    bytes.resize(asSize(input_.read(bytes.data(), count)));
    return bytes;
  }
  void skip(std::int64_t count) {
    constexpr std::int64_t kPiece = 65536;
    while (count > 0 && !take(std::min(count, kPiece)).empty()) count -= std::min(count, kPiece);
  }
  void readHeader();
  void readFormat(const std::string& chunk);
  void promise(std::int64_t bytes);

  InputFile input_;
  WavFormat format_ = kNoWav;
  int rate_ = 0;
  int channels_ = 0;
  std::int64_t frameBytes_ = 0;
  std::int64_t left_ = 0;  // bytes of samples
  std::int64_t promised_ = 0;
  std::int64_t received_ = 0;
  bool ended_ = false;
};

// Chunks in any order, of which those before the samples are read.
void WavReader::readHeader() {
  const std::string start = take(12);
  if (start.empty()) refuse("it is empty");
  const bool isLong = start.starts_with("RF64");
  if ((!start.starts_with("RIFF") && !isLong) || start.size() < 12 || start.substr(8) != "WAVE") {
    refuse("not a WAV file");
  }
  std::int64_t longSize = kNoSize;
  for (;;) {
    const std::string head = take(8);
    if (head.size() < 8) refuse("not an audio file, or a damaged one");
    const std::string name = head.substr(0, 4);
    const auto size = static_cast<std::int64_t>(numberAt(head, 4, 4));
    if (name == "data") return promise(isLong && size == kNoSize ? longSize : size);
    constexpr std::int64_t kLongest = 65536;
    const std::string chunk = take(std::min(size, kLongest));
    skip(size + size % 2 - std::ssize(chunk));
    if (name == "fmt ") readFormat(chunk);
    if (name == "ds64") longSize = static_cast<std::int64_t>(numberAt(chunk, 8, 8));
  }
}

void WavReader::readFormat(const std::string& chunk) {
  auto tag = static_cast<unsigned>(numberAt(chunk, 0, 2));
  if (tag == kExtensibleTag) tag = static_cast<unsigned>(numberAt(chunk, 24, 2));
  format_ = formatOf(tag, static_cast<unsigned>(numberAt(chunk, 14, 2)));
  channels_ = static_cast<int>(numberAt(chunk, 2, 2));
  rate_ = static_cast<int>(numberAt(chunk, 4, 4) & 0x7FFFFFFFU);
  frameBytes_ = std::int64_t{channels_} * bytesPerSample(format_);
  if (frameBytes_ == 0) refuse("an audio file, but with unknown samples");
}

// Programs that write to a pipe do not know the size, and put a placeholder there.
void WavReader::promise(std::int64_t bytes) {
  if (frameBytes_ == 0) refuse("not an audio file, or a damaged one");
  constexpr double kMargin = 0x1p17;
  const auto size = static_cast<double>(bytes);
  const bool isKnown = bytes >= 0 && bytes != kNoSize && std::abs(size - 0x1p31) >= kMargin &&
                       std::abs(size - 0x1p32) >= kMargin;
  constexpr std::int64_t kEndless = std::int64_t{1} << 60;
  left_ = isKnown ? bytes : kEndless;
  promised_ = isKnown ? bytes / frameBytes_ : 0;
}

std::int64_t WavReader::read(double* interleaved, std::int64_t count) {
  const std::string bytes = take(std::min(count * frameBytes_, left_ - left_ % frameBytes_));
  input_.throwIfFailed();
  const std::int64_t got = std::ssize(bytes) / frameBytes_;
  const int step = bytesPerSample(format_);
  for (std::int64_t i = 0; i < got * channels_; ++i) {
    interleaved[i] = decoded(format_, bytes.data() + i * step);
  }
  left_ -= got * frameBytes_;
  received_ += got;
  ended_ = ended_ || got < count;
  return got;
}

class WavWriter : public AudioWriter {
 public:
  WavWriter(const fs::path& path, int format, int rate, int channels, std::int64_t expectedFrames)
      : path_(path),
        output_(path),
        format_(static_cast<WavFormat>(format)),
        rate_(rate),
        channels_(channels) {
    refuseIfTooLong(expectedFrames);
    const std::string header = headerOf(0);
    output_.write(header.data(), std::ssize(header));
  }

  void write(const double* interleaved, std::int64_t frames) override;
  void finish() override;
  std::int64_t clipped() const override { return clipped_; }

 private:
  std::string headerOf(std::int64_t frames) const;
  void refuseIfTooLong(std::int64_t frames) const {
    const double bytes = static_cast<double>(frames) * channels_ * bytesPerSample(format_);
    if (bytes <= largestFile(format_) - 65536) return;
    throw FileError(fmt::format("cannot write {}: longer than a .wav file can be", path_.string()));
  }

  fs::path path_;
  OutputFile output_;
  WavFormat format_;
  int rate_;
  int channels_;
  std::int64_t written_ = 0;  // frames
  std::int64_t clipped_ = 0;
  std::string bytes_;
};

std::string WavWriter::headerOf(std::int64_t frames) const {
  const auto sample = static_cast<std::uint64_t>(bytesPerSample(format_));
  const auto frame = sample * static_cast<std::uint64_t>(channels_);
  const auto size = frame * static_cast<std::uint64_t>(frames);
  const auto rate = static_cast<std::uint64_t>(rate_);
  std::string chunks =
      "WAVEfmt " + number(16, 4) + number(hasFullScale(format_) ? kPcmTag : kFloatTag, 2);
  chunks += number(static_cast<std::uint64_t>(channels_), 2) + number(rate, 4);
  chunks += number(rate * frame, 4) + number(frame, 2) + number(8 * sample, 2);
  if (!hasFullScale(format_)) {
    chunks += "fact" + number(4, 4) + number(static_cast<std::uint64_t>(frames), 4);
    // Where libsndfile has room for the peaks of the channels, whose time of day is not written.
    const std::size_t room = 8 + 8 * asSize(channels_);
    chunks += "PAD " + number(room, 4) + std::string(room, '\0');
  }
  chunks += "data" + number(size, 4);
  return "RIFF" + number(chunks.size() + size + size % 2, 4) + chunks;
}

void WavWriter::write(const double* interleaved, std::int64_t frames) {
  bytes_.clear();
  for (std::int64_t i = 0; i < frames * channels_; ++i) {
    double sample = interleaved[i];
    if (hasFullScale(format_)) {
      if (sample > 1.0 || sample < -1.0) ++clipped_;
      sample = std::clamp(sample, -1.0, kFullScale);
    }
    encode(format_, sample, bytes_);
  }
  output_.write(bytes_.data(), std::ssize(bytes_));
  output_.throwIfFailed();
  written_ += frames;
}

void WavWriter::finish() {
  refuseIfTooLong(written_);
  const std::int64_t size = written_ * channels_ * bytesPerSample(format_);
  if (size % 2 != 0) output_.write("", 1);
  const std::string header = headerOf(written_);
  output_.seek(0, SEEK_SET);
  output_.write(header.data(), std::ssize(header));
  output_.commit();
}

}  // namespace

std::unique_ptr<AudioReader> AudioReader::open(const fs::path& path) {
  return std::make_unique<WavReader>(path);
}

std::unique_ptr<AudioWriter> AudioWriter::open(const fs::path& path, int format, int rate,
                                               int channels, std::int64_t expectedFrames) {
  return std::make_unique<WavWriter>(path, format, rate, channels, expectedFrames);
}

}  // namespace quellard

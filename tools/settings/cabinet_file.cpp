// SPDX-License-Identifier: ISC
#include "tools/settings/cabinet_file.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>
#include <vector>

#include "params/decibels.h"
#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/files/audio_file.h"
#include "tools/settings/resampling.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// What is played, and some more for the resampler to look ahead.
constexpr double kSecondsToRead = kLongestResponse_s + 0.1;

constexpr int kLowestRate = 4000;  // Hz, of a file
constexpr int kHighestRate = 768000;

struct Recording {
  int rate = 0;  // Hz
  std::size_t channels = 0;
  std::vector<double> interleaved;
};

[[noreturn]] void refuse(const std::string& reason) { throw std::invalid_argument(reason); }

// In pieces, as a header may promise more than memory holds.
Recording readRecording(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  // Reading a pipe would wait.
  if (fs::exists(status) && !fs::is_regular_file(status)) refuse("it is not an ordinary file");
  const auto reader = AudioReader::open(file);
  if (reader->channels() > 2) {
    refuse(fmt::format("it has {} channels, and a cabinet one or two", reader->channels()));
  }
  if (reader->rate() < kLowestRate || reader->rate() > kHighestRate) {
    refuse(fmt::format("its rate of {} Hz is outside {} to {}", reader->rate(), kLowestRate,
                       kHighestRate));
  }
  Recording recording{
      .rate = reader->rate(), .channels = asSize(reader->channels()), .interleaved = {}};
  constexpr std::int64_t kPiece = 16384;  // frames
  std::int64_t left = std::llround(kSecondsToRead * reader->rate());
  std::vector<double> piece(asSize(kPiece) * recording.channels);
  for (std::int64_t frames = kPiece; left > 0 && frames == kPiece; left -= frames) {
    frames = reader->read(piece.data(), std::min(left, kPiece));
    const auto end = piece.begin() + frames * static_cast<std::int64_t>(recording.channels);
    recording.interleaved.insert(recording.interleaved.end(), piece.begin(), end);
  }
  if (recording.interleaved.empty()) refuse("it has no samples");
  return recording;
}

ImpulseResponse separated(const Recording& recording, double rate) {
  ImpulseResponse response{rate, {}};
  for (std::size_t c = 0; c < recording.channels; ++c) {
    std::vector<double>& side = response.sides.emplace_back();
    for (std::size_t i = c; i < recording.interleaved.size(); i += recording.channels) {
      side.push_back(recording.interleaved[i]);
    }
  }
  return response;
}

}  // namespace

void loadCabinet(const CabinetChoice& choice, double rate, int sides, Cabinet& cabinet) {
  if (choice.file.empty()) return cabinet.unload();
  try {
    Recording recording = readRecording(choice.file);
    if (recording.rate != rate) {
      recording.interleaved =
          resampled(recording.interleaved, recording.channels, recording.rate, rate);
    }
    cabinet.load(preparedResponse(separated(recording, rate), sides),
                 gainFromDecibels(choice.level_db), sides);
  } catch (const FileError& reason) {
    throw FileError(fmt::format("no cabinet: {}", reason.what()));
  } catch (const std::invalid_argument& reason) {
    throw FileError(
        fmt::format("cannot use {} as a cabinet: {}", choice.file.string(), reason.what()));
  }
}

void checkCabinet(const CabinetChoice& choice) {
  constexpr double kAnyRate = 48000.0;
  Cabinet cabinet;
  cabinet.prepare(kAnyRate);
  loadCabinet(choice, kAnyRate, 1, cabinet);
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Audio formats for a build without libsndfile: WAV.
#include <cstdint>
#include <fmt/format.h>
#include <limits>
#include <string>
#include <vector>

#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"
#include "tools/files/audio_format.h"
#include "tools/files/wav_format.h"

namespace quellard {
namespace {

struct Named {
  const char* name;
  WavFormat format;
  int bytes;  // a sample
};

constexpr Named kSampleFormats[] = {
    {"float", kWavFloat, 4}, {"pcm32", kWavPcm32, 4},   {"pcm24", kWavPcm24, 3},
    {"pcm16", kWavPcm16, 2}, {"double", kWavDouble, 8}, {"pcmu8", kWavPcm8, 1},
};

}  // namespace

bool hasAudioEnding(const std::filesystem::path& name) {
  return lowered(name.extension().string()) == ".wav";
}

int formatFor(const std::filesystem::path& path, const std::string& sampleFormat,
              const std::string& otherwise) {
  if (!hasAudioEnding(path) && lowered(otherwise) != "wav") {
    throw UsageError(fmt::format("cannot write '{}': here only .wav is known", path.string()));
  }
  std::vector<std::string> known;
  for (const Named& each : kSampleFormats) {
    if (sampleFormat.empty() || lowered(sampleFormat) == each.name) return each.format;
    known.emplace_back(each.name);
  }
  const std::string hint = suggestion(lowered(sampleFormat), known);
  throw UsageError(fmt::format("unknown sample format '{}'{}", sampleFormat,
                               hint.empty() ? ": use one of " + sampleFormatNames() : hint));
}

std::string sampleFormatNames() {
  std::string names;
  for (const Named& each : kSampleFormats)
    names += (names.empty() ? "" : ", ") + std::string(each.name);
  return names;
}

std::string fileTypeNames() { return ".wav (others need a build with libsndfile)"; }

bool hasFullScale(int format) { return format != kWavFloat && format != kWavDouble; }

double largestFile(int /*format*/) { return std::numeric_limits<std::uint32_t>::max(); }

int bytesPerSample(int format) {
  for (const Named& each : kSampleFormats) {
    if (each.format == format) return each.bytes;
  }
  return 0;
}

}  // namespace quellard

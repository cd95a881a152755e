// SPDX-License-Identifier: ISC
#include "tools/files/audio_format.h"

#include <array>
#include <fmt/format.h>
#include <limits>
#include <optional>
#include <sndfile.h>
#include <utility>
#include <vector>

#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"

namespace quellard {
namespace {

struct Named {
  const char* name;
  int code;
};

// clang-format off
// Best first: by default a file gets the first of these that its type can hold.
constexpr std::array<Named, 32> kSampleFormats = {{
  {"float",   SF_FORMAT_FLOAT},
  {"pcm32",   SF_FORMAT_PCM_32},
  {"pcm24",   SF_FORMAT_PCM_24},
  {"pcm16",   SF_FORMAT_PCM_16},
  {"vorbis",  SF_FORMAT_VORBIS},
  {"opus",    SF_FORMAT_OPUS},
  {"mp3",     SF_FORMAT_MPEG_LAYER_III},
  {"dpcm16",  SF_FORMAT_DPCM_16},
  {"alaw",    SF_FORMAT_ALAW},
  {"ulaw",    SF_FORMAT_ULAW},
  {"double",  SF_FORMAT_DOUBLE},
  {"pcm8",    SF_FORMAT_PCM_S8},
  {"pcmu8",   SF_FORMAT_PCM_U8},
  {"alac16",  SF_FORMAT_ALAC_16},
  {"alac20",  SF_FORMAT_ALAC_20},
  {"alac24",  SF_FORMAT_ALAC_24},
  {"alac32",  SF_FORMAT_ALAC_32},
  {"dpcm8",   SF_FORMAT_DPCM_8},
  {"ima",     SF_FORMAT_IMA_ADPCM},
  {"ms",      SF_FORMAT_MS_ADPCM},
  {"gsm610",  SF_FORMAT_GSM610},
  {"vox",     SF_FORMAT_VOX_ADPCM},
  {"nms16",   SF_FORMAT_NMS_ADPCM_16},
  {"nms24",   SF_FORMAT_NMS_ADPCM_24},
  {"nms32",   SF_FORMAT_NMS_ADPCM_32},
  {"g721-32", SF_FORMAT_G721_32},
  {"g723-24", SF_FORMAT_G723_24},
  {"g723-40", SF_FORMAT_G723_40},
  {"dwvw12",  SF_FORMAT_DWVW_12},
  {"dwvw16",  SF_FORMAT_DWVW_16},
  {"dwvw24",  SF_FORMAT_DWVW_24},
  {"mp2",     SF_FORMAT_MPEG_LAYER_II},
}};

// Common endings that the library's list spells differently, lacks, or uses for something else.
constexpr std::array<Named, 7> kOtherEndings = {{
  {"aif",  SF_FORMAT_AIFF},
  {"aifc", SF_FORMAT_AIFF},
  {"snd",  SF_FORMAT_AU},
  {"ogg",  SF_FORMAT_OGG | SF_FORMAT_VORBIS},
  {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
  {"mp3",  SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
  {"nist", SF_FORMAT_NIST},
}};
// clang-format on

// The types that the library can write, with their usual endings. Of several types with the same
// ending the first is the common one.
std::vector<SF_FORMAT_INFO> libraryTypes() {
  int count = 0;
  sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
  std::vector<SF_FORMAT_INFO> types;
  for (int i = 0; i < count; ++i) {
    SF_FORMAT_INFO info = {};
    info.format = i;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &info, sizeof info);
    // Not Sound Designer II: its header is in a second file, so it could not appear as a whole.
    if (info.format != SF_FORMAT_SD2) types.push_back(info);
  }
  return types;
}

std::string endingOf(const std::filesystem::path& name) {
  const std::string extension = lowered(name.extension().string());
  return extension.empty() ? extension : extension.substr(1);
}

std::optional<int> knownType(const std::filesystem::path& name) {
  const std::string ending = endingOf(name);
  for (const Named& other : kOtherEndings) {
    if (ending == other.name) return other.code;
  }
  for (const SF_FORMAT_INFO& type : libraryTypes()) {
    if (ending == type.extension) return type.format;
  }
  return {};
}

int typeFor(const std::filesystem::path& name) {
  if (const std::optional<int> type = knownType(name)) return *type;
  throw UsageError(fmt::format("cannot tell the file type of '{}' from its ending: use one of {}",
                               name.string(), fileTypeNames()));
}

bool exists(int format) {
  SF_INFO info = {};
  info.samplerate = 48000;
  info.channels = 1;
  info.format = format;
  return sf_format_check(&info) != 0;
}

int sampleFormatCode(const std::string& name) {
  std::vector<std::string> known;
  for (const Named& format : kSampleFormats) {
    if (lowered(name) == format.name) return format.code;
    known.emplace_back(format.name);
  }
  const std::string hint = suggestion(lowered(name), known);
  throw UsageError(fmt::format("unknown sample format '{}'{}", name,
                               hint.empty() ? ": use one of " + sampleFormatNames() : hint));
}

}  // namespace

bool hasAudioEnding(const std::filesystem::path& name) { return knownType(name).has_value(); }

int formatFor(const std::filesystem::path& path, const std::string& sampleFormat,
              const std::string& otherwise) {
  const bool says = otherwise.empty() || hasAudioEnding(path);
  const std::filesystem::path name = says ? path : std::filesystem::path("audio." + otherwise);
  const int typed = typeFor(name);
  if (!sampleFormat.empty()) {
    const int format = (typed & SF_FORMAT_TYPEMASK) | sampleFormatCode(sampleFormat);
    if (exists(format)) return format;
    throw UsageError(fmt::format("a .{} file cannot hold {}", endingOf(name), sampleFormat));
  }
  if ((typed & SF_FORMAT_SUBMASK) != 0) return typed;
  for (const Named& candidate : kSampleFormats) {
    if (exists(typed | candidate.code)) return typed | candidate.code;
  }
  throw UsageError(fmt::format("a .{} file can only be read", endingOf(name)));
}

std::string sampleFormatNames() {
  std::string names;
  for (const Named& format : kSampleFormats)
    names += (names.empty() ? "" : ", ") + std::string(format.name);
  return names;
}

std::string fileTypeNames() {
  std::string names;
  std::string last;
  for (const SF_FORMAT_INFO& type : libraryTypes()) {
    if (std::exchange(last, type.extension) == type.extension) continue;
    names += (names.empty() ? "." : ", .") + std::string(type.extension);
  }
  for (const Named& other : kOtherEndings) names += std::string(", .") + other.name;
  return names;
}

bool hasFullScale(int format) {
  const int samples = format & SF_FORMAT_SUBMASK;
  return samples != SF_FORMAT_FLOAT && samples != SF_FORMAT_DOUBLE;
}

double largestFile(int format) {
  switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_AIFF:
    case SF_FORMAT_SVX:
    case SF_FORMAT_AU: return std::numeric_limits<std::uint32_t>::max();
    default: return std::numeric_limits<double>::infinity();
  }
}

int bytesPerSample(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW: return 1;
    case SF_FORMAT_PCM_16: return 2;
    case SF_FORMAT_PCM_24: return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT: return 4;
    case SF_FORMAT_DOUBLE: return 8;
    default: return 0;
  }
}

}  // namespace quellard

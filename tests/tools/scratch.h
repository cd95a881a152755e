// SPDX-License-Identifier: ISC
// Shared by the tests of the command: a temporary folder, audio files and the plug-in.
#pragma once

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/signals.h"
#include "tools/host/plugin_host.h"
#if defined(_WIN32)
#include "tools/common/errors.h"
#include "tools/files/audio_file.h"
#include "tools/files/audio_format.h"
#else
#include <sndfile.h>
#endif

namespace quellard::test {

namespace fs = std::filesystem;

class Scratch {
 public:
  Scratch() {
    const std::string name = "quellard-test-" + std::to_string(std::random_device()());
    folder_ = fs::canonical(fs::temp_directory_path()) / name;
    if (!fs::create_directory(folder_)) throw std::runtime_error("no folder to test in");
  }
  ~Scratch() { fs::remove_all(folder_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  fs::path operator/(const std::string& name) const { return folder_ / name; }

  // The names of all that is in the folder, hidden or not.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      found.push_back(entry.path().filename().string());
    }
    std::sort(found.begin(), found.end());
    return found;
  }

 private:
  fs::path folder_;
};

struct Audio {
  int rate = 48000;
  int channels = 1;
  std::vector<double> samples = {};  // interleaved
};

#if defined(_WIN32)

inline void writeAudio(const fs::path& path, const Audio& audio) {
  const auto writer =
      AudioWriter::open(path, formatFor(path, "double", "wav"), audio.rate, audio.channels, 0);
  writer->write(audio.samples.data(), std::ssize(audio.samples) / audio.channels);
  writer->finish();
}

inline Audio readAudio(const fs::path& path) try {
  const auto reader = AudioReader::open(path);
  Audio audio = {reader->rate(), reader->channels(), {}};
  audio.samples.resize(static_cast<std::size_t>(reader->frames() * reader->channels()));
  reader->read(audio.samples.data(), reader->frames());
  return audio;
} catch (const FileError&) {
  return {0, 0, {}};
}

#else

inline void writeAudio(const fs::path& path, const Audio& audio) {
  SF_INFO info = {0, audio.rate, audio.channels, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 0, 0};
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
  sf_write_double(file, audio.samples.data(), static_cast<sf_count_t>(audio.samples.size()));
  sf_close(file);
}

inline Audio readAudio(const fs::path& path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return {0, 0, {}};
  Audio audio = {info.samplerate, info.channels, {}};
  audio.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
  sf_read_double(file, audio.samples.data(), static_cast<sf_count_t>(audio.samples.size()));
  sf_close(file);
  return audio;
}

#endif

// A plucked string, the same in every call. frequency: Hz.
inline std::vector<double> pluck(double seconds, int rate = 48000, double frequency = 110.0) {
  Random random(7);
  return pluckedNote(random, rate, frequency, 0.3, static_cast<std::size_t>(seconds * rate));
}

inline const PluginModule& plugin() {
  static const PluginModule module(QUELLARD_PLUGIN_FILE);
  return module;
}

}  // namespace quellard::test

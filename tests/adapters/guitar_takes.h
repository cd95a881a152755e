// SPDX-License-Identifier: ISC
// Recordings of a guitar, as it leaves an interface's instrument input.
#pragma once

#include <sndfile.hh>
#include <string>
#include <vector>

namespace quellard::test {

struct Take {
  int rate = 0;
  std::vector<double> samples;  // both sides of a stereo take, averaged
};

inline Take readTake(const std::string& file) {
  SndfileHandle sound(file);
  const auto frames = static_cast<std::size_t>(sound.frames());
  const auto channels = static_cast<std::size_t>(sound.channels());
  std::vector<double> all(frames * channels);
  sound.readf(all.data(), sound.frames());
  Take take{sound.samplerate(), std::vector<double>(frames)};
  for (std::size_t i = 0; i < all.size(); ++i) {
    take.samples[i / channels] += all[i] / static_cast<double>(channels);
  }
  return take;
}

// Empty where Debian's sonic-pi-samples are not installed.
inline std::vector<Take> guitarTakes() {
  std::vector<Take> takes;
  for (const char* name : {"e_fifths", "e_slide", "em9", "harmonics"}) {
    takes.push_back(readTake(std::string("/usr/share/sonic-pi/samples/guit_") + name + ".flac"));
    if (takes.back().rate == 0) return {};
  }
  return takes;
}

}  // namespace quellard::test

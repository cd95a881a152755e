// SPDX-License-Identifier: ISC
// Which kind of audio file a name asks for. The kinds and what they can hold are those of
// libsndfile, so a newer library brings more of them by itself.
#pragma once

#include <filesystem>
#include <string>

namespace quellard {

// libsndfile's code (type and sample format) for a file to be written.
// path: its ending says the type; where it says none, `otherwise` does, unless that is empty.
// sampleFormat: as listed by sampleFormatNames(), or empty for
// 32-bit float where the type can hold it and otherwise the best that it can.
// Throws UsageError for an unknown ending or sample format, or a pair that does not exist.
int formatFor(const std::filesystem::path& path, const std::string& sampleFormat,
              const std::string& otherwise = {});

// Whether a name's ending is one that formatFor() knows.
bool hasAudioEnding(const std::filesystem::path& name);

// "pcm16, pcm24, ..." and ".wav, .flac, ...", for help and messages.
std::string sampleFormatNames();
std::string fileTypeNames();

// Whether full scale is a limit: true for all but floating-point samples.
bool hasFullScale(int format);

// The largest file that the type can describe, in bytes: 4 GiB for the RIFF and IFF families.
double largestFile(int format);

// What a frame of one channel takes, in bytes; 0 where that depends on the music.
int bytesPerSample(int format);

}  // namespace quellard

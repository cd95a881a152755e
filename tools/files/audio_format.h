// SPDX-License-Identifier: ISC
// Audio file types by their endings, and sample formats by their names. The types and what they can
// hold are libsndfile's, so a newer version of it adds some.
#pragma once

#include <filesystem>
#include <string>

namespace quellard {

// libsndfile's code (type and sample format) for a file to be written.
// path: its ending gives the type. otherwise: the ending to use where the path has none that is
// known; may be empty. sampleFormat: one of sampleFormatNames(), or empty for 32-bit float, or the
// best format of a type without it. Throws UsageError for an unknown ending or sample format, or a
// combination that does not exist.
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

// The size of a sample in bytes; 0 for compressed formats, in which it varies.
int bytesPerSample(int format);

}  // namespace quellard

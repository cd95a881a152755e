// SPDX-License-Identifier: ISC
// The notes of recordings as the tuner hears them, as text and as JSON.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/settings/tuning_options.h"

namespace quellard {

// A stretch in which the same note sounds. It ends where the tuner hears another note, or none for
// 100 ms; less than 100 ms are not a note.
struct HeardNote {
  double start_seconds;
  double seconds;
  double frequency_hz;  // the median of what was read every 10 ms
  double level_dbfs;    // the highest; RMS, 0 for a sine at full scale
  double clarity;       // the median; 0..1
};

struct HeardFile {
  std::filesystem::path input;
  double seconds = 0.0;
  bool truncated = false;
  std::vector<HeardNote> notes;
  std::string error;  // why it could not be read; all else is then of no meaning
};

// Listens to a file; several channels as their mean. Errors with the file are in the result. Throws
// Interrupted.
HeardFile listenTo(const std::filesystem::path& input, const TuningSettings& settings);

// One row per note: start, length, note, cents, frequency; and with a tuning the nearest string and
// how far off it is. Several files have a heading each.
std::string listNotes(const std::vector<HeardFile>& files, const TuningSettings& settings);

// docs/json.md describes the fields.
std::string notesAsJson(const std::vector<HeardFile>& files, const TuningSettings& settings);

}  // namespace quellard

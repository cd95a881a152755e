// SPDX-License-Identifier: ISC
// Knob moves over time, from a text file with one move per line:
//   seconds, parameter, value
// separated by commas, semicolons, tabs or spaces. Empty lines, comments from '#' on and a line of
// headings at the top are skipped. A line has at most 4096 bytes. Parameters and values are written
// as in knobs.h. A knob name without a channel means the channel that plays from that time on, also
// where the line that selects it comes later in the file.
#pragma once

#include <filesystem>
#include <istream>
#include <string>
#include <vector>

#include "tools/settings/knobs.h"

namespace quellard {

struct Move {
  double seconds;  // from the start of the audio, >= 0
  ParameterChange change;
};

// The moves sorted by time; moves at the same time keep the order of the file.
// name: of the file, for messages. channel: the one selected at the start, 0..2.
// Throws UsageError whose message begins with the name and the line number.
std::vector<Move> parseAutomation(std::istream& text, const std::string& name, int channel);

// The same from a file, which is read once (it may be a pipe). Throws FileError when it cannot be
// read.
std::vector<Move> readAutomation(const std::filesystem::path& file, int channel);

// The channel that plays first: the one that moves at time 0 select, otherwise `channel`.
int channelAtStart(const std::vector<Move>& moves, int channel);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Knob moves over time, from a text file that a person or a spreadsheet wrote: one move a line,
//   seconds, parameter, value
// with commas, semicolons, tabs or spaces between. Empty lines, what follows a '#', and a line of
// headings at the top are skipped. A line has at most 4096 bytes. Parameters and values are written
// as knobs.h says; a bare knob name means the channel that plays from that time on, whichever of
// the two lines comes first.
#pragma once

#include <filesystem>
#include <istream>
#include <string>
#include <vector>

#include "tools/knobs.h"

namespace quellard {

struct Move {
  double seconds;  // from the start of the file, >= 0
  Setting setting;
};

// The moves in the order of time; moves at the same time keep the order of the file.
// name: of the file, for messages. channel: the one selected at the start, 0..2.
// Throws UsageError that begins with the name and the line's number.
std::vector<Move> parseAutomation(std::istream& text, const std::string& name, int channel);

// The same from a file, read once; throws FileError when it cannot be read.
std::vector<Move> readAutomation(const std::filesystem::path& file, int channel);

// The channel that plays first: what the moves at time 0 select, otherwise the one given.
int channelAtStart(const std::vector<Move>& moves, int channel);

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/quellard_pages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <string_view>

#include "rig/tunings.h"
#include "tools/command_line/program_pages.h"
#include "tools/files/audio_format.h"

namespace quellard {
namespace {

// The words "wav" and "flac" of ".wav, .flac".
Words listed(std::string_view names) {
  constexpr std::string_view kBetween = ", .";
  Words words;
  while (!names.empty()) {
    names.remove_prefix(std::min(names.find_first_not_of(kBetween), names.size()));
    const std::size_t end = std::min(names.find_first_of(kBetween), names.size());
    if (end > 0) words.emplace_back(names.substr(0, end));
    names.remove_prefix(end);
  }
  return words;
}

KnownValues values() {
  KnownValues known = settingsValues();
  known["show"] = known.at("preset");
  known["format"] = [] { return listed(sampleFormatNames()); };
  known["type"] = [] { return listed(fileTypeNames()); };
  known["tuning"] = [] {
    Words names;
    for (const Tuning& tuning : tunings()) names.emplace_back(tuning.name);
    return names;
  };
  known["page"] = [] { return Words{"all", "tone", "transfer", "spectrum"}; };
  return known;
}

ManualTexts texts() {
  return {
      .version = QUELLARD_VERSION,
      .date = QUELLARD_DATE,
      .description =
          {"Plays recordings of a dry guitar through a valve amplifier with the channels CLEAN, "
           "VINTAGE and MODERN, each with the knobs PRESENCE, BASS, MID, TREBLE, MASTER and GAIN, "
           "and tells and draws what these do. The same file and knobs give the same samples "
           "whatever the number of files rendered at once and, while no knob moves, the block "
           "length.",
           "A knob without a channel's name is the one of the channel that plays first. Knobs that "
           "are not named stand at 5. Files whose names begin with a dash come after '--'."},
      .files = {{"quellard.so",
                 "The plug-in that the command plays through: the one beside it, or else that in "
                 "the folder quellard of its installation's libraries. --plugin names another."},
                kUserPresetsFolder},
      .examples = {{"quellard render riff.flac -o riff.wav --channel vintage --gain 7.5",
                    "One file, through VINTAGE."},
                   {"quellard render riff.flac -o jazz.wav --preset \"Warm Jazz\" --treble 3",
                    "A preset as a start."},
                   {"quellard render takes/ -o amped/ --type flac --format pcm24 -j 2",
                    "A whole folder, two files at a time."},
                   {"quellard sweep takes/ -o swept/ --grid gain=0:10:2.5 -j 2",
                    "Each take with five settings of GAIN, and a list of what came of it."},
                   {"quellard measure --preset \"Blues Lead\"",
                    "How far it distorts, over GAIN and level."},
                   {"quellard tune strings.wav --tuning \"drop d\"",
                    "Which strings are out of tune, and by how much."},
                   {"quellard plot -o amplifier.svg", "Everything in pictures."}},
      .seeAlso = {"quellard-jack(1)"},
  };
}

}  // namespace

void addQuellardPages(CLI::App& app) { addProgramPages(app, values(), texts()); }

}  // namespace quellard

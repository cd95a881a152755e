// SPDX-License-Identifier: ISC
// The factory bank: settings worth keeping, for every format, the command line and the documents.
// All play the guitar takes together equally loud, and each take the clean ones among themselves
// and the driven ones among themselves (tests/adapters measures it), so that choosing one compares
// sounds and not levels: change a knob, and MASTER has to be measured again. What the descriptions
// promise is measured there too, at the level of a guitar that reaches full scale when struck hard.
//
// A preset sets its own channel's knobs. Those of the other two channels stand at their default, so
// that a preset is the whole state of the amplifier: it sounds and saves the same whatever was set
// before it, and turning the selector afterwards meets the channels as a new amplifier has them.
//
// Hosts remember presets by name: a name, once published, keeps its meaning.
#pragma once

#include <array>
#include <string_view>

#include "params/parameter_values.h"
#include "params/sizes.h"

namespace quellard {

struct FactoryPreset {
  const char* name;                            // at most 23 characters, as program names are
  const char* description;                     // what it is good for
  int channel;                                 // 0 CLEAN, 1 VINTAGE, 2 MODERN
  std::array<double, kKnobsPerChannel> knobs;  // 0..10 in the order of the parameters
};

// The guitars that the presets were tuned with reach this when they are struck hard.
inline constexpr double kLowestPresetInput_dbfs = -6.0;
inline constexpr double kHighestPresetInput_dbfs = -2.0;

// How far a guitar's peak is below (negative) or above what the presets expect, in dB; 0 within it.
constexpr double offsetFromPresetInput_db(double peak_dbfs) {
  if (peak_dbfs < kLowestPresetInput_dbfs) return peak_dbfs - kLowestPresetInput_dbfs;
  return peak_dbfs > kHighestPresetInput_dbfs ? peak_dbfs - kHighestPresetInput_dbfs : 0.0;
}

inline constexpr std::size_t kNumFactoryPresets = 12;

// clang-format off
inline constexpr std::array<FactoryPreset, kNumFactoryPresets> kFactoryBank = {{
  //                                                                       ch PRES   BASS   MID    TREBLE MASTER GAIN
  {"Chime Clean",      "Open chords that ring, arpeggios with sparkle",     0, {6.0, 4.5, 4.0, 6.5, 5.62, 3.0}},
  {"Warm Jazz",        "Neck pickup, round and dark, thumb and fingers",    0, {1.0, 6.0, 6.5, 1.5, 4.10, 3.5}},
  {"Funk Cut",         "Tight muted sixteenths, little bass, much pick",    0, {7.0, 0.8, 5.0, 7.0, 7.81, 2.5}},
  {"Pedal Platform",   "All tone knobs at 5, headroom for pedals in front", 0, {5.0, 5.0, 5.0, 5.0, 5.66, 3.0}},
  {"Edge of Breakup",  "Clean when touched softly, hair when dug in",       0, {5.0, 5.0, 6.0, 5.5, 2.24, 7.0}},
  {"Country Snap",     "Chicken picking and double stops on the bridge",    1, {7.0, 4.0, 4.5, 7.0, 6.34, 0.8}},
  {"Blues Lead",       "Singing single notes that clean up with the volume",1, {4.0, 5.5, 7.0, 4.0, 4.97, 1.5}},
  {"Classic Crunch",   "Rock rhythm with open chords still readable",       1, {6.0, 5.0, 6.0, 6.0, 4.85, 1.7}},
  {"Stack Roar",       "Everything up, for riffs that fill the room",       1, {7.0, 7.0, 7.0, 7.0, 3.85, 9.0}},
  {"Modern Rhythm",    "Palm mutes with a tight low end",                   2, {6.0, 5.0, 5.0, 6.0, 3.96, 4.5}},
  {"Scooped Metal",    "Fast riffs, mids out, treble up",                   2, {7.0, 7.5, 0.5, 7.0, 3.88, 7.5}},
  {"Soaring Solo",     "Long sustain with mids that cut through a band",    2, {4.0, 4.5, 9.0, 3.0, 3.79, 8.5}},
}};
// clang-format on

// The value that a preset gives to parameter 1..19, 0..1.
constexpr float presetValue(const FactoryPreset& preset, int index) {
  if (index == kTypeParameter) return selectFromChannel(preset.channel);
  if (parameterInfo(index).channel != preset.channel) return kKnobDefault;
  return knobFromPosition(at(preset.knobs, (index - 1) % kKnobsPerChannel));
}

constexpr ParameterValues presetValues(const FactoryPreset& preset) {
  ParameterValues values;
  for (int index = 1; index <= kNumStoredValues; ++index)
    values[index] = presetValue(preset, index);
  return values;
}

// Null for a name that is not in the bank, letter by letter.
constexpr const FactoryPreset* findFactoryPreset(std::string_view name) {
  for (const FactoryPreset& preset : kFactoryBank) {
    if (name == preset.name) return &preset;
  }
  return nullptr;
}

}  // namespace quellard

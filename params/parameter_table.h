// SPDX-License-Identifier: ISC
// The one table of the twenty parameters. Texts, programs, the command line, format adapters and
// documents all read it. Hosts store automation by index, so the order never changes.
#pragma once

#include <array>
#include <cstdint>

#include "params/sizes.h"

namespace quellard {

inline constexpr int kNumParameters = 20;  // parameter 0 is an empty slot
inline constexpr int kNumChannels = 3;
inline constexpr int kKnobsPerChannel = 6;
inline constexpr int kMasterKnob = 4;  // of the knobs 0..5 of a channel
inline constexpr int kGainKnob = 5;
inline constexpr int kNumKnobs = kNumChannels * kKnobsPerChannel;
inline constexpr int kNumStoredValues = kNumKnobs + 1;  // the knobs and the selector
inline constexpr int kTypeParameter = 19;               // the channel selector

inline constexpr float kKnobDefault = 0.5f;
inline constexpr float kTypeDefault = 1.0f;  // MODERN

enum class ParameterKind : std::uint8_t { none, knob, selector };

struct ParameterInfo {
  int index;
  const char* name;    // as shown to the player
  int channel;         // 0 CLEAN, 1 VINTAGE, 2 MODERN; -1 for none or all
  const char* symbol;  // a name that is unique among the twenty, for files and command lines
  ParameterKind kind;
};

// clang-format off
inline constexpr std::array<ParameterInfo, kNumParameters> kParameters = {{
  // index name      channel  symbol              kind
  {  0, "",           -1,     "",                 ParameterKind::none     },
  {  1, "PRESENCE",    0,     "clean_presence",   ParameterKind::knob     },
  {  2, "BASS",        0,     "clean_bass",       ParameterKind::knob     },
  {  3, "MID",         0,     "clean_mid",        ParameterKind::knob     },
  {  4, "TREBLE",      0,     "clean_treble",     ParameterKind::knob     },
  {  5, "MASTER",      0,     "clean_master",     ParameterKind::knob     },
  {  6, "GAIN",        0,     "clean_gain",       ParameterKind::knob     },
  {  7, "PRESENCE",    1,     "vintage_presence", ParameterKind::knob     },
  {  8, "BASS",        1,     "vintage_bass",     ParameterKind::knob     },
  {  9, "MID",         1,     "vintage_mid",      ParameterKind::knob     },
  { 10, "TREBLE",      1,     "vintage_treble",   ParameterKind::knob     },
  { 11, "MASTER",      1,     "vintage_master",   ParameterKind::knob     },
  { 12, "GAIN",        1,     "vintage_gain",     ParameterKind::knob     },
  { 13, "PRESENCE",    2,     "modern_presence",  ParameterKind::knob     },
  { 14, "BASS",        2,     "modern_bass",      ParameterKind::knob     },
  { 15, "MID",         2,     "modern_mid",       ParameterKind::knob     },
  { 16, "TREBLE",      2,     "modern_treble",    ParameterKind::knob     },
  { 17, "MASTER",      2,     "modern_master",    ParameterKind::knob     },
  { 18, "GAIN",        2,     "modern_gain",      ParameterKind::knob     },
  { 19, "type",       -1,     "type",             ParameterKind::selector },
}};
// clang-format on

inline constexpr std::array<const char*, kNumChannels> kChannelNames = {"CLEAN", "VINTAGE",
                                                                        "MODERN"};

// index: 0..19.
constexpr const ParameterInfo& parameterInfo(int index) { return at(kParameters, index); }

// Null for an index outside 0..19.
constexpr const ParameterInfo* findParameter(int index) {
  return index >= 0 && index < kNumParameters ? &parameterInfo(index) : nullptr;
}

// The index of a knob: 1..18. channel: 0..2. knob: 0..5, PRESENCE to GAIN.
constexpr int knobIndex(int channel, int knob) { return channel * kKnobsPerChannel + knob + 1; }

// channel: 0..2.
constexpr const char* channelName(int channel) { return at(kChannelNames, channel); }

}  // namespace quellard

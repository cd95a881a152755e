// SPDX-License-Identifier: ISC
// Everything that options, or names and values of a script, choose for a render: where the knobs
// stand, what is around the amplifier, and which knobs move.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "rig/rig_parameters.h"
#include "tools/settings/automation.h"
#include "tools/settings/cabinet_choice.h"
#include "tools/settings/rig_options.h"
#include "tools/settings/settings_options.h"

namespace quellard {

// As they were typed.
struct NamedSettings {
  SettingsOptions knobs;
  RigOptions rig;
};

// Adds one behind what is there: "preset", "program", "channel", "input", "gate", "output", "cab"
// and "cab level" like the options of these names, any other name like --set. A preset or program
// comes before all knobs, in whatever order they are added; of knobs that are one and the same, by
// whatever name, the last counts. Throws UsageError for an empty value.
void assign(std::string_view name, std::string_view value, NamedSettings& settings);

struct ChosenSettings {
  StartingPoint start;
  HostedValues rig = defaultHostedValues();  // only those behind the bypass count
  CabinetChoice cabinet = {};
  std::vector<Move> moves;  // in the order of time
};

// Reads the moves; channel: 0..2, the one that plays first unless a move at time 0 selects another.
using ReadMoves = std::function<std::vector<Move>(int channel)>;

// A knob without a channel means the channel that plays first. readMoves: may be empty.
// programSelector: the selector's value in a program. Throws UsageError, and what readMoves throws.
ChosenSettings choose(const NamedSettings& settings, const ReadMoves& readMoves,
                      float programSelector = kTypeDefault);

// All values at the start, for a plug-in whose programs have the defaults, as this one's have.
HostedValues valuesAtStart(const ChosenSettings& chosen);

}  // namespace quellard

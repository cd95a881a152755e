// SPDX-License-Identifier: ISC
// The parameters as VST3 hosts see them, numbered by their ids: the program, then those of the
// amplifier and the rig. A host's value is normalised, 0..1; the program, the selector and the
// bypass are lists with equally spaced steps. id: below kNumVst3Parameters. [any thread] No
// function here allocates.
#pragma once

#include <optional>
#include <string_view>
#include <travesty/edit_controller.h>

#include "adapters/vst3/identity.h"
#include "params/parameter_table.h"

namespace quellard {

constexpr bool isVst3Parameter(v3_param_id id) { return id < v3_param_id{kNumVst3Parameters}; }
constexpr bool isList(v3_param_id id) {
  return id == kVst3Program || id == v3_param_id{kTypeParameter} || id == kVst3Bypass;
}

void describeParameter(v3_param_id id, v3_param_info& info);
float defaultValue(v3_param_id id);

// The value to store for a host's normalised one: limited to 0..1, NaN to 0, and for lists mapped
// to a step as VST3 defines it.
float keptValue(v3_param_id id, double normalised);

// The step of a list that a stored value belongs to, counted from 0.
int stepOf(v3_param_id id, float value);

// VST3's plain values: knobs from 0 to 10, lists from 0 in steps of 1, levels and the gate in
// decibels. Limited to that range.
double plainFromNormalised(v3_param_id id, double normalised);
double normalisedFromPlain(v3_param_id id, double plain);

// A stored value as text, and the value of such a text; nothing for other texts.
void writeValueText(v3_param_id id, float value, v3_str_128 text);
std::optional<float> valueFromWords(v3_param_id id, std::string_view words);

}  // namespace quellard

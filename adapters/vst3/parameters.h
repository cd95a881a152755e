// SPDX-License-Identifier: ISC
// The parameters as VST3 hosts see them, numbered by their ids: the program, the amplifier's
// nineteen, the bypass. A host's value is normalised, 0..1; all but the knobs are lists, with their
// steps at equal distances. ids: below kNumVst3Parameters. Every thread may call these; none
// allocates.
#pragma once

#include <optional>
#include <string_view>
#include <travesty/edit_controller.h>

#include "adapters/vst3/identity.h"
#include "params/parameter_table.h"

namespace quellard {

constexpr bool isVst3Parameter(v3_param_id id) { return id < v3_param_id{kNumVst3Parameters}; }
constexpr bool isKnob(v3_param_id id) { return id >= 1 && id < v3_param_id{kTypeParameter}; }

void describeParameter(v3_param_id id, v3_param_info& info);
float defaultValue(v3_param_id id);

// A host's value as it is kept: within 0..1, NaN at 0, and in a list on the step that VST3 means.
float keptValue(v3_param_id id, double normalised);

// The step of a list that a kept value stands on, counted from 0.
int stepOf(v3_param_id id, float value);

// In the amplifier's scale: knobs from 0 to 10, lists from 0 in steps of 1. Held within it.
double plainFromNormalised(v3_param_id id, double normalised);
double normalisedFromPlain(v3_param_id id, double plain);

// A kept value in the amplifier's words, and the value that such words mean.
void writeValueText(v3_param_id id, float value, v3_str_128 text);
std::optional<float> valueFromWords(v3_param_id id, std::string_view words);

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "adapters/vst3/parameters.h"

#include <algorithm>
#include <cmath>

#include "adapters/shared/program_list.h"
#include "adapters/vst3/wide_text.h"
#include "params/parameter_text.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

constexpr char kProgramTitle[] = "Program";

int indexOf(v3_param_id id) { return static_cast<int>(id); }

// The number of a list's last step, counted from 0.
int lastStep(v3_param_id id) {
  if (id == kVst3Program) return kNumListedPrograms - 1;
  return id == kVst3Bypass ? 1 : kNumChannels - 1;
}

std::int32_t flagsOf(v3_param_id id) {
  switch (id) {
    case kVst3Program: return V3_PARAM_IS_LIST | V3_PARAM_PROGRAM_CHANGE;
    case kTypeParameter: return V3_PARAM_IS_LIST;
    case kVst3Bypass: return V3_PARAM_IS_BYPASS;
    default: return 0;
  }
}

}  // namespace

void describeParameter(v3_param_id id, v3_param_info& info) {
  info = {};
  info.param_id = id;
  info.flags = V3_PARAM_CAN_AUTOMATE | flagsOf(id);
  info.default_normalised_value = static_cast<double>(defaultValue(id));
  info.step_count = isList(id) ? lastStep(id) : 0;
  info.unit_id = kVst3RootUnit;
  writeWide(info.title, id == kVst3Program ? kProgramTitle : hostedTitle(indexOf(id)).data());
  std::copy(std::begin(info.title), std::end(info.title), info.short_title);
  if (!isKnob(indexOf(id))) return;
  writeWide(info.short_title, controlTitle(indexOf(id)).data());
  info.unit_id = vst3UnitOf(parameterInfo(indexOf(id)).channel);
}

float defaultValue(v3_param_id id) {
  return id == kVst3Program ? 0.0F : defaultHostedValues()[indexOf(id)];
}

// VST3 gives each step an equal share of 0..1.
float keptValue(v3_param_id id, double normalised) {
  const double value = limitToRange(normalised);
  if (!isList(id)) return static_cast<float>(value);
  const int last = lastStep(id);
  const int step = std::min(static_cast<int>(value * (last + 1)), last);
  return static_cast<float>(step) / static_cast<float>(last);
}

int stepOf(v3_param_id id, float value) {
  return static_cast<int>(std::lround(value * static_cast<float>(lastStep(id))));
}

// Hosts may keep a plain value as a float, so it must be one that knobFromFloatPosition() turns
// back into this value.
double plainFromNormalised(v3_param_id id, double normalised) {
  const float value = keptValue(id, normalised);
  if (id == kVst3Program) return stepOf(id, value);
  return static_cast<double>(controlFromValue(indexOf(id), value));
}

double normalisedFromPlain(v3_param_id id, double plain) {
  if (id != kVst3Program) {
    return static_cast<double>(valueFromControl(indexOf(id), static_cast<float>(plain)));
  }
  const int last = lastStep(id);
  return std::round(limitToRange(plain, last)) / last;
}

void writeValueText(v3_param_id id, float value, v3_str_128 text) {
  if (id == kVst3Program) return writeWide(text, listedProgramName(stepOf(id, value)));
  writeWide(text, valueText(indexOf(id), value).data());
}

std::optional<float> valueFromWords(v3_param_id id, std::string_view words) {
  if (id != kVst3Program) return valueFromText(indexOf(id), words);
  for (int program = 0; program < kNumListedPrograms; ++program) {
    if (words == listedProgramName(program)) return keptValue(id, normalisedFromPlain(id, program));
  }
  return std::nullopt;
}

}  // namespace quellard

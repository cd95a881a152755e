// SPDX-License-Identifier: ISC
// Knobs have their own value, 0..1, and read 0.00 to 10.00; the selector has three steps. Ids are
// the parameters' numbers, so that automation fits every format of the amplifier.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "adapters/clap/clap_plugin.h"
#include "adapters/shared/value_text.h"
#include "params/factory_bank.h"
#include "params/parameter_text.h"

namespace quellard {
namespace {

// Newer headers name it CLAP_PARAM_IS_ENUM: every step has a text that deserves a menu.
constexpr clap_param_info_flags kIsEnum = 1U << 16;

constexpr std::array<const char*, kNumChannels> kModules = {"Clean", "Vintage", "Modern"};

const ParameterInfo* parameterOf(clap_id id) {
  return id >= 1 && id < kNumParameters ? &kParameters[id] : nullptr;
}

bool isSelector(const ParameterInfo& parameter) {
  return parameter.kind == ParameterKind::selector;
}

double plainFromValue(const ParameterInfo& parameter, float value) {
  return isSelector(parameter) ? channelFromSelect(value) : static_cast<double>(value);
}

// Steps are cut, not rounded, as CLAP asks. NaN becomes the lowest value.
float valueFromPlain(const ParameterInfo& parameter, double plain) {
  if (!isSelector(parameter)) return static_cast<float>(plain > 0.0 ? std::min(plain, 1.0) : 0.0);
  const double channel = plain > 0.0 ? std::min(plain, kNumChannels - 1.0) : 0.0;
  return selectForChannel(static_cast<int>(channel));
}

bool getInfo(const clap_plugin_t*, std::uint32_t index, clap_param_info_t* info) {
  if (index >= kNumStoredValues || info == nullptr) return false;
  const ParameterInfo& parameter = kParameters[index + 1];
  *info = {};
  info->id = index + 1;
  info->flags = CLAP_PARAM_IS_AUTOMATABLE;
  info->max_value = 1.0;
  info->default_value = static_cast<double>(kKnobDefault);
  copyText(info->name, parameter.name, CLAP_NAME_SIZE - 1);
  if (isSelector(parameter)) {
    info->flags |= CLAP_PARAM_IS_STEPPED | kIsEnum;
    info->max_value = kNumChannels - 1;
    info->default_value = plainFromValue(parameter, kTypeDefault);
  } else {
    copyText(info->module, kModules[static_cast<std::size_t>(parameter.channel)],
             CLAP_PATH_SIZE - 1);
  }
  return true;
}

bool getValue(const clap_plugin_t* plugin, clap_id id, double* plain) {
  const ParameterInfo* parameter = parameterOf(id);
  if (parameter == nullptr || plain == nullptr) return false;
  *plain = plainFromValue(*parameter, ClapPlugin::of(plugin).amp.value(parameter->index));
  return true;
}

// False rather than half a text.
bool valueToText(const clap_plugin_t*, clap_id id, double plain, char* display,
                 std::uint32_t size) {
  const ParameterInfo* parameter = parameterOf(id);
  if (parameter == nullptr || display == nullptr) return false;
  const ValueText text = valueText(parameter->index, valueFromPlain(*parameter, plain));
  const std::size_t length = std::strlen(text.data());
  if (size <= length) return false;
  std::copy_n(text.data(), length + 1, display);
  return true;
}

bool textToValue(const clap_plugin_t*, clap_id id, const char* display, double* plain) {
  const ParameterInfo* parameter = parameterOf(id);
  if (parameter == nullptr || display == nullptr || plain == nullptr) return false;
  const std::optional<float> value = valueFromText(parameter->index, display);
  if (!value.has_value()) return false;
  *plain = plainFromValue(*parameter, *value);
  return true;
}

void flush(const clap_plugin_t* plugin, const clap_input_events_t* in,
           const clap_output_events_t*) {
  if (in == nullptr) return;
  const std::uint32_t events = in->size(in);
  for (std::uint32_t i = 0; i < events; ++i) {
    const clap_event_header_t* event = in->get(in, i);
    if (isParameterEvent(event)) applyEvent(ClapPlugin::of(plugin).amp, *event);
  }
}

}  // namespace

bool isParameterEvent(const clap_event_header_t* event) {
  return event != nullptr && event->space_id == CLAP_CORE_EVENT_SPACE_ID &&
         event->type == CLAP_EVENT_PARAM_VALUE && event->size >= sizeof(clap_event_param_value_t);
}

void applyEvent(HostedAmp& amp, const clap_event_header_t& event) {
  const auto& move = reinterpret_cast<const clap_event_param_value_t&>(event);
  const ParameterInfo* parameter = parameterOf(move.param_id);
  if (parameter == nullptr || std::isnan(move.value)) return;
  amp.setValue(parameter->index, valueFromPlain(*parameter, move.value));
}

constexpr clap_plugin_params_t kClapParams = {
    .count = [](const clap_plugin_t*) { return std::uint32_t{kNumStoredValues}; },
    .get_info = getInfo,
    .get_value = getValue,
    .value_to_text = valueToText,
    .text_to_value = textToValue,
    .flush = flush,
};

}  // namespace quellard

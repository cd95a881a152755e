// SPDX-License-Identifier: ISC
// Parameters as CLAP sees them: knobs from 0 to 1, shown as 0.00 to 10.00, and the selector with
// three steps. An id is the parameter's number, which is the same in every format.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "adapters/clap/clap_plugin.h"
#include "params/parameter_text.h"
#include "params/parameter_values.h"
#include "rig/rig_parameters.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

// CLAP_PARAM_IS_ENUM of newer headers: every step has a name, so hosts may show a menu.
constexpr clap_param_info_flags kIsEnum = 1U << 16;

constexpr std::uint32_t kClapParameters = kNumHostedValues;

// The parameter with this id; 0, which is the empty one, for an unknown id.
int parameterOf(clap_id id) { return id <= kClapParameters ? static_cast<int>(id) : 0; }

double highestPlain(int parameter) {
  return parameter == kTypeParameter ? kNumChannels - 1.0 : 1.0;
}

double plainFromValue(int parameter, float value) {
  return parameter == kTypeParameter ? channelFromSelect(value) : static_cast<double>(value);
}

// Steps are truncated, not rounded: CLAP demands it. NaN becomes the lowest value.
float valueFromPlain(int parameter, double plain) {
  const double held = limitToRange(plain, highestPlain(parameter));
  if (parameter == kTypeParameter) return selectFromChannel(static_cast<int>(held));
  if (parameter == kBypassParameter) return static_cast<float>(static_cast<int>(held));
  return static_cast<float>(held);
}

// Hosts connect the bypass to a button of their own.
clap_param_info_flags flagsOf(int parameter) {
  switch (parameter) {
    case kTypeParameter: return CLAP_PARAM_IS_AUTOMATABLE | CLAP_PARAM_IS_STEPPED | kIsEnum;
    case kBypassParameter:
      return CLAP_PARAM_IS_AUTOMATABLE | CLAP_PARAM_IS_STEPPED | CLAP_PARAM_IS_BYPASS;
    default: return CLAP_PARAM_IS_AUTOMATABLE;
  }
}

bool getInfo(const clap_plugin_t*, std::uint32_t index, clap_param_info_t* info) {
  if (index >= kClapParameters || info == nullptr) return false;
  *info = {};
  info->id = index + 1;
  const int parameter = parameterOf(info->id);
  info->flags = flagsOf(parameter);
  info->max_value = highestPlain(parameter);
  info->default_value = plainFromValue(parameter, defaultHostedValues()[parameter]);
  std::strcpy(info->name, hostedTitle(parameter).data());
  if (isKnob(parameter)) {
    std::strcpy(info->module, channelTitle(parameterInfo(parameter).channel).data());
  }
  return true;
}

bool getValue(const clap_plugin_t* plugin, clap_id id, double* plain) {
  const int parameter = parameterOf(id);
  if (parameter == 0 || plain == nullptr) return false;
  *plain = plainFromValue(parameter, ClapPlugin::of(plugin).amp.value(parameter));
  return true;
}

// False where the text does not fit as a whole.
bool valueToText(const clap_plugin_t*, clap_id id, double plain, char* display,
                 std::uint32_t size) {
  const int parameter = parameterOf(id);
  if (parameter == 0 || display == nullptr) return false;
  const ValueText text = valueText(parameter, valueFromPlain(parameter, plain));
  const std::size_t length = std::strlen(text.data());
  if (size <= length) return false;
  std::copy_n(text.data(), length + 1, display);
  return true;
}

bool textToValue(const clap_plugin_t*, clap_id id, const char* display, double* plain) {
  const int parameter = parameterOf(id);
  if (parameter == 0 || display == nullptr || plain == nullptr) return false;
  const std::optional<float> value = valueFromText(parameter, display);
  if (!value.has_value()) return false;
  *plain = plainFromValue(parameter, *value);
  return true;
}

clap_event_header_t liveEvent(std::size_t size, int type) {
  return {.size = static_cast<std::uint32_t>(size),
          .time = 0,
          .space_id = CLAP_CORE_EVENT_SPACE_ID,
          .type = static_cast<std::uint16_t>(type),
          .flags = CLAP_EVENT_IS_LIVE};
}

bool sendValue(const clap_output_events_t* to, int parameter, float value) {
  const clap_event_param_value_t event = {.header = liveEvent(sizeof event, CLAP_EVENT_PARAM_VALUE),
                                          .param_id = static_cast<clap_id>(parameter),
                                          .cookie = nullptr,
                                          .note_id = -1,
                                          .port_index = -1,
                                          .channel = -1,
                                          .key = -1,
                                          .value = plainFromValue(parameter, value)};
  return to->try_push(to, &event.header);
}

bool sendGesture(const clap_output_events_t* to, int parameter, bool begins) {
  const clap_event_param_gesture_t event = {
      .header = liveEvent(sizeof event,
                          begins ? CLAP_EVENT_PARAM_GESTURE_BEGIN : CLAP_EVENT_PARAM_GESTURE_END),
      .param_id = static_cast<clap_id>(parameter)};
  return to->try_push(to, &event.header);
}

// Active, the host calls it on the audio thread, else on the main thread, and never while it
// processes.
void flush(const clap_plugin_t* plugin, const clap_input_events_t* in,
           const clap_output_events_t* out) {
  sendMoves(ClapPlugin::of(plugin).handMoves, out);
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
  const int parameter = parameterOf(move.param_id);
  if (parameter == 0 || std::isnan(move.value)) return;
  amp.setValue(parameter, valueFromPlain(parameter, move.value));
}

void sendMoves(HandMoves& moves, const clap_output_events_t* to) {
  if (to == nullptr || to->try_push == nullptr) return;
  moves.sendTo([to](HandMoves::Kind kind, int parameter, float value) {
    return kind == HandMoves::Kind::value
               ? sendValue(to, parameter, value)
               : sendGesture(to, parameter, kind == HandMoves::Kind::begin);
  });
}

constexpr clap_plugin_params_t kClapParams = {
    .count = [](const clap_plugin_t*) { return kClapParameters; },
    .get_info = getInfo,
    .get_value = getValue,
    .value_to_text = valueToText,
    .text_to_value = textToValue,
    .flush = flush,
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "adapters/shared/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "adapters/shared/bypass.h"
#include "params/parameter_text.h"
#include "params/parameter_values.h"
#include "params/words.h"

namespace quellard {
namespace {

constexpr char kOff[] = "Off";
constexpr char kOn[] = "On";

std::optional<float> knobFromText(std::string_view text) {
  double shown = 0.0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, shown, std::chars_format::fixed);
  if (error != std::errc{} || rest != end || !std::isfinite(shown)) return std::nullopt;
  return knobFromPosition(std::clamp(shown, 0.0, kKnobScale));
}

std::optional<float> selectorFromText(std::string_view text) {
  const std::optional<int> channel = channelFromName(text);
  if (!channel.has_value()) return std::nullopt;
  return selectFromChannel(*channel);
}

std::optional<float> bypassFromText(std::string_view text) {
  if (sameWord(text, kOn)) return 1.0F;
  if (sameWord(text, kOff)) return 0.0F;
  return std::nullopt;
}

}  // namespace

ValueText valueText(int index, float value) {
  ValueText text{};
  if (index == kBypassParameter) {
    copyText(text.data(), value >= 0.5F ? kOn : kOff, kValueTextSize - 1);
    return text;
  }
  writeParameterDisplay(index, value, text.data());
  if (text.front() == ' ') {
    std::move(text.begin() + 1, text.end(), text.begin());
    text.back() = '\0';
  }
  return text;
}

float valueFromControl(int index, float control) {
  if (index != kTypeParameter) return knobFromFloatPosition(control);
  const float channel = control > 0.0F ? std::min(control, kNumChannels - 1.0F) : 0.0F;
  return selectFromChannel(static_cast<int>(std::lround(channel)));
}

// Where rounding makes the nearest float miss the value, one of its neighbours gives it.
float controlFromValue(int index, float value) {
  if (index == kTypeParameter) return static_cast<float>(channelFromSelect(value));
  const auto nearest = static_cast<float>(positionFromKnob(value));
  const auto top = static_cast<float>(kKnobScale);
  for (const float control :
       {nearest, std::nextafter(nearest, 0.0F), std::nextafter(nearest, top)}) {
    if (knobFromFloatPosition(control) == value) return control;
  }
  return nearest;
}

std::optional<float> valueFromText(int index, std::string_view text) {
  const std::string_view word = trimmed(text);
  if (index == kBypassParameter) return bypassFromText(word);
  const ParameterInfo* parameter = findParameter(index);
  if (parameter == nullptr) return std::nullopt;
  switch (parameter->kind) {
    case ParameterKind::knob: return knobFromText(word);
    case ParameterKind::selector: return selectorFromText(word);
    case ParameterKind::none: break;
  }
  return std::nullopt;
}

}  // namespace quellard

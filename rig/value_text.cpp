// SPDX-License-Identifier: ISC
#include "rig/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "params/number_text.h"
#include "params/parameter_text.h"
#include "params/parameter_values.h"
#include "params/words.h"
#include "rig/rig_parameters.h"

namespace quellard {
namespace {

constexpr char kOff[] = "Off";
constexpr char kOn[] = "On";

std::optional<float> knobFromText(std::string_view text) {
  const std::optional<double> shown = numberFromText(text, std::chars_format::fixed);
  if (!shown.has_value()) return std::nullopt;
  return knobFromPosition(std::clamp(*shown, 0.0, kKnobScale));
}

std::optional<float> selectorFromText(std::string_view text) {
  const std::optional<int> channel = channelFromName(text);
  if (!channel.has_value()) return std::nullopt;
  return selectFromChannel(*channel);
}

ValueText asText(std::string_view words) {
  ValueText text{};
  words.copy(text.data(), kValueTextSize - 1);
  return text;
}

// One decimal, as finer steps of a level are not heard.
ValueText decibelText(double level) {
  constexpr std::string_view kUnit = " dB";
  ValueText text{};
  char* const end = text.data() + kValueTextSize - kUnit.size() - 1;
  const auto [digits, error] = std::to_chars(
      text.data(), end, std::round(level * 10.0) / 10.0 + 0.0, std::chars_format::fixed, 1);
  if (error == std::errc{}) kUnit.copy(digits, kUnit.size());
  return text;
}

ValueText rigText(int index, float value) {
  switch (index) {
    case kBypassParameter: return asText(isBypassed(value) ? kOn : kOff);
    case kInputParameter:
    case kOutputParameter: return decibelText(levelFromValue_db(value));
    case kGateParameter: {
      const std::optional<double> threshold = gateFromValue_dbfs(value);
      return threshold.has_value() ? decibelText(*threshold) : asText(kOff);
    }
    default: return {};
  }
}

// "-60.0 dB", "-60", "+6 dBFS".
std::optional<double> decibelsFromText(std::string_view text) {
  return numberFromText(withoutPlus(withoutDecibels(text)), std::chars_format::fixed);
}

std::optional<float> levelFromText(std::string_view text) {
  const std::optional<double> level = decibelsFromText(text);
  if (!level.has_value()) return std::nullopt;
  return valueFromLevel_db(*level);
}

// A threshold below the range becomes the lowest: only "off" switches the gate off.
std::optional<float> gateFromText(std::string_view text) {
  if (sameWord(text, kOff)) return 0.0F;
  const std::optional<double> threshold = decibelsFromText(text);
  if (!threshold.has_value()) return std::nullopt;
  return valueFromGate_dbfs(std::max(*threshold, kLowestGate_dbfs));
}

std::optional<float> bypassFromText(std::string_view text) {
  if (sameWord(text, kOn)) return 1.0F;
  if (sameWord(text, kOff)) return 0.0F;
  return std::nullopt;
}

// A knob's position as a float that gives this value. The neighbours may do so where the nearest
// misses: the two are floats of different spacing.
float positionOf(float value) {
  const auto nearest = static_cast<float>(positionFromKnob(value));
  const auto top = static_cast<float>(kKnobScale);
  for (const float position :
       {nearest, std::nextafter(nearest, 0.0F), std::nextafter(nearest, top)}) {
    if (knobFromFloatPosition(position) == value) return position;
  }
  return nearest;
}

}  // namespace

ValueText valueText(int index, float value) {
  ValueText text{};
  if (index > kTypeParameter) return rigText(index, value);
  writeParameterDisplay(index, value, text.data());
  if (text.front() == ' ') {
    std::move(text.begin() + 1, text.end(), text.begin());
    text.back() = '\0';
  }
  return text;
}

float valueFromControl(int index, float control) {
  switch (index) {
    case kTypeParameter: {
      const float channel = limitToRange(control, kNumChannels - 1.0F);
      return selectFromChannel(static_cast<int>(std::lround(channel)));
    }
    case kBypassParameter: return isBypassed(control) ? 1.0F : 0.0F;
    case kInputParameter:
    case kOutputParameter: return valueFromLevel_db(static_cast<double>(control));
    case kGateParameter: return valueFromGate_dbfs(static_cast<double>(control));
    default: return knobFromFloatPosition(control);
  }
}

float controlFromValue(int index, float value) {
  switch (index) {
    case kTypeParameter: return static_cast<float>(channelFromSelect(value));
    case kBypassParameter: return isBypassed(value) ? 1.0F : 0.0F;
    case kInputParameter:
    case kOutputParameter: return static_cast<float>(levelFromValue_db(value));
    case kGateParameter:
      return static_cast<float>(gateFromValue_dbfs(value).value_or(kGateOff_dbfs));
    default: return positionOf(value);
  }
}

std::optional<float> valueFromText(int index, std::string_view text) {
  const std::string_view word = trimmed(text);
  switch (index) {
    case kTypeParameter: return selectorFromText(word);
    case kBypassParameter: return bypassFromText(word);
    case kInputParameter:
    case kOutputParameter: return levelFromText(word);
    case kGateParameter: return gateFromText(word);
    default: break;
  }
  if (!isStored(index)) return std::nullopt;
  return knobFromText(word);
}

}  // namespace quellard

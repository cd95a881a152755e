// SPDX-License-Identifier: ISC
#include "adapters/shared/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "adapters/shared/bypass.h"
#include "params/factory_bank.h"
#include "params/parameter_text.h"

namespace quellard {
namespace {

constexpr double kKnobScale = 10.0;
constexpr char kOff[] = "Off";
constexpr char kOn[] = "On";

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kSpace);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

// The names are plain ASCII, and the C library's own idea of case follows the locale.
constexpr char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowered(x) == lowered(y); });
}

std::optional<float> knobFromText(std::string_view text) {
  double shown = 0.0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, shown, std::chars_format::fixed);
  if (error != std::errc{} || rest != end || !std::isfinite(shown)) return std::nullopt;
  return knobValue(std::clamp(shown, 0.0, kKnobScale));
}

// The shortest decimal that reads as this float.
double shortestDecimal(float number) {
  std::array<char, 32> text{};
  const char* const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  double decimal = 0.0;
  std::from_chars(text.data(), end, decimal);
  return decimal;
}

std::optional<float> selectorFromText(std::string_view text) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    if (sameName(text, kChannelNames[static_cast<std::size_t>(channel)])) {
      return selectForChannel(channel);
    }
  }
  return std::nullopt;
}

std::optional<float> bypassFromText(std::string_view text) {
  if (sameName(text, kOn)) return 1.0F;
  if (sameName(text, kOff)) return 0.0F;
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

float knobFromScale(float scale) {
  const auto top = static_cast<float>(kKnobScale);
  return knobValue(shortestDecimal(scale > 0.0F ? std::min(scale, top) : 0.0F));
}

float valueFromControl(int index, float control) {
  if (index != kTypeParameter) return knobFromScale(control);
  const float channel = control > 0.0F ? std::min(control, kNumChannels - 1.0F) : 0.0F;
  return selectForChannel(static_cast<int>(std::lround(channel)));
}

// Ten times the shortest decimal: 7.39 for 0.739. Its neighbours may give the value where it
// misses: the two are floats of different spacing.
float controlFromValue(int index, float value) {
  if (index == kTypeParameter) return static_cast<float>(channelFromSelect(value));
  const auto nearest = static_cast<float>(shortestDecimal(value) * kKnobScale);
  const auto top = static_cast<float>(kKnobScale);
  for (const float control :
       {nearest, std::nextafter(nearest, 0.0F), std::nextafter(nearest, top)}) {
    if (knobFromScale(control) == value) return control;
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

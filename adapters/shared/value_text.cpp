// SPDX-License-Identifier: ISC
#include "adapters/shared/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "params/factory_bank.h"
#include "params/parameter_text.h"

namespace quellard {
namespace {

constexpr double kKnobScale = 10.0;

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

std::optional<float> selectorFromText(std::string_view text) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    if (sameName(text, kChannelNames[static_cast<std::size_t>(channel)])) {
      return selectForChannel(channel);
    }
  }
  return std::nullopt;
}

}  // namespace

ValueText valueText(int index, float value) {
  ValueText text{};
  writeParameterDisplay(index, value, text.data());
  if (text.front() == ' ') {
    std::move(text.begin() + 1, text.end(), text.begin());
    text.back() = '\0';
  }
  return text;
}

float knobFromScale(float scale) {
  const float shown = scale > 0.0F ? std::min(scale, static_cast<float>(kKnobScale)) : 0.0F;
  std::array<char, 64> text{};  // 48 hold the smallest float
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(), shown, std::chars_format::fixed);
  return knobFromText({text.data(), end}).value_or(0.0F);
}

float valueFromControl(int index, float control) {
  if (index != kTypeParameter) return knobFromScale(control);
  const float channel = control > 0.0F ? std::min(control, kNumChannels - 1.0F) : 0.0F;
  return selectForChannel(static_cast<int>(std::lround(channel)));
}

std::optional<float> valueFromText(int index, std::string_view text) {
  const ParameterInfo* parameter = findParameter(index);
  if (parameter == nullptr) return std::nullopt;
  const std::string_view word = trimmed(text);
  switch (parameter->kind) {
    case ParameterKind::knob: return knobFromText(word);
    case ParameterKind::selector: return selectorFromText(word);
    case ParameterKind::none: break;
  }
  return std::nullopt;
}

}  // namespace quellard

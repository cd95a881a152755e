// SPDX-License-Identifier: ISC
#include "params/parameter_values.h"

#include <algorithm>
#include <charconv>

#include "params/words.h"

namespace quellard {
namespace {

// The shortest decimal that reads as this float, times a power of ten: only its exponent is
// changed, so no digit is rounded.
double shortestDecimal(float number, int powerOfTen) {
  std::array<char, 32> text{};
  char* const limit = text.data() + text.size();
  const char* end = std::to_chars(text.data(), limit, number, std::chars_format::scientific).ptr;
  char* exponent = std::find(text.data(), limit, 'e') + 1;
  if (*exponent == '+') ++exponent;  // which from_chars does not read
  int power = 0;
  std::from_chars(exponent, end, power);
  end = std::to_chars(exponent, limit, power + powerOfTen).ptr;
  double decimal = 0.0;
  std::from_chars(text.data(), end, decimal);
  return decimal;
}

}  // namespace

std::optional<int> channelFromName(std::string_view name) {
  for (int channel = 0; channel < kNumChannels; ++channel) {
    if (sameWord(name, channelName(channel))) return channel;
  }
  return std::nullopt;
}

// Of all values between 0 and 1 one, at 7e-26, is not what its shortest decimal gives.
double positionFromKnob(float value) {
  const double shortest = shortestDecimal(value, 1);
  return knobFromPosition(shortest) == value ? shortest : static_cast<double>(value) * kKnobScale;
}

float knobFromFloatPosition(float position) {
  const auto top = static_cast<float>(kKnobScale);
  return knobFromPosition(shortestDecimal(limitToRange(position, top), 0));
}

}  // namespace quellard

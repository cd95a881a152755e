// SPDX-License-Identifier: ISC
#include "params/parameter_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "params/parameter_values.h"
#include "params/sizes.h"
#include "params/text_lengths.h"
#include "params/words.h"

namespace quellard {
namespace {

constexpr char kTooLong[] = "Huge!";

int lastDigit(double number) { return static_cast<int>(std::fmod(number, 10.0)); }

char digitCharacter(int digit) { return static_cast<char>('0' + digit); }

// Half a hundredth outwards, so that cutting after two decimals rounds.
float roundToHundredths(float value) {
  if (std::fabs(value) < 0.005f) return 0.0f;
  return value > 0.0f ? value + 0.005f : value - 0.005f;
}

// Writes the digits of a number backwards, ending in front of `end`; returns where they begin.
// Stops when the text, with its sign place and point counted in `count`, is eight characters long.
char* writeIntegerPart(double number, char* end, int& count) {
  *--end = digitCharacter(lastDigit(number));
  number *= 0.1;
  count = 3;
  while (number >= 1.0 && count < kVstMaxParamStrLen) {
    *--end = digitCharacter(lastDigit(number));
    number *= 0.1;
    ++count;
  }
  return end;
}

// The decimals that still fit, written from the hundredths leftwards.
char* writeFraction(double hundredths, char* end, int count) {
  const int places = std::min(2, kVstMaxParamStrLen - count);
  for (int i = 0; i < places; ++i) {
    if (hundredths > 0.0) {
      *--end = digitCharacter(lastDigit(hundredths));
      hundredths *= 0.1;
    } else {
      *--end = '0';
    }
  }
  return end;
}

constexpr char kSelectorTitle[] = "Channel";

// "Clean" from "CLEAN".
Title titled(const char* capitals) {
  Title title{};
  copyText(title.data(), capitals, int{kTitleSize} - 1);
  std::transform(title.begin() + 1, title.end(), title.begin() + 1, lowerCase);
  return title;
}

}  // namespace

void copyText(char* to, const char* from, int maxLen) {
  const auto size = asSize(maxLen);
  const std::size_t length = strnlen(from, size);
  std::memcpy(to, from, length);
  std::memset(to + length, 0, size + 1 - length);
}

void formatValue(float value, char* text, int maxLen) {
  if (text == nullptr || maxLen < 0) return;
  if (std::isnan(value)) value = 0.0f;

  const auto rounded = static_cast<double>(roundToHundredths(value));
  const bool negative = rounded < 0.0;
  const double magnitude = std::fabs(rounded);
  if (magnitude > (negative ? 9999999.0 : 99999999.0)) return copyText(text, kTooLong, maxLen);

  const double integer = std::floor(magnitude);
  int count = 0;
  char whole[2 * kVstMaxParamStrLen] = {};
  char* const point = whole + kVstMaxParamStrLen;
  *point = '.';
  char* begin = writeIntegerPart(integer, point, count);
  *--begin = negative ? '-' : ' ';

  char fraction[3] = {};
  char* const decimals = writeFraction((magnitude - integer) * 100.0, fraction + 2, count);
  std::strcpy(point + 1, decimals);
  copyText(text, begin, maxLen);
}

void formatInteger(std::int32_t value, char* text, int maxLen) {
  if (text == nullptr || maxLen < 0) return;
  char digits[12] = {};
  const std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, value);
  copyText(text, written.ptr - digits > maxLen ? kTooLong : digits, maxLen);
}

void writeParameterName(int index, char* text) {
  const ParameterInfo* parameter = findParameter(index);
  if (text == nullptr || parameter == nullptr || parameter->kind == ParameterKind::none) return;
  std::strcpy(text, parameter->name);
}

void writeParameterDisplay(int index, float value, char* text) {
  const ParameterInfo* parameter = findParameter(index);
  if (text == nullptr || parameter == nullptr) return;
  if (parameter->kind == ParameterKind::knob) {
    formatValue(10.0f * value, text, kVstMaxParamStrLen);
  } else if (parameter->kind == ParameterKind::selector) {
    copyText(text, channelName(channelFromSelect(value)), kVstMaxParamStrLen);
  }
}

Title channelTitle(int channel) {
  if (channel < 0 || channel >= kNumChannels) return {};
  return titled(channelName(channel));
}

Title controlTitle(int index) {
  const ParameterInfo* parameter = findParameter(index);
  if (parameter == nullptr) return {};
  return titled(parameter->kind == ParameterKind::selector ? kSelectorTitle : parameter->name);
}

Title parameterTitle(int index) {
  const Title control = controlTitle(index);
  const ParameterInfo* parameter = findParameter(index);
  if (parameter == nullptr || parameter->channel < 0) return control;
  Title title = channelTitle(parameter->channel);
  const std::size_t end = std::strlen(title.data());
  title[end] = ' ';
  copyText(&title[end + 1], control.data(), static_cast<int>(kTitleSize - end - 2));
  return title;
}

}  // namespace quellard

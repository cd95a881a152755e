// SPDX-License-Identifier: ISC
// The programs of formats whose hosts choose by number: a new amplifier's settings, then the
// factory bank. Without the first, a host would show a preset's name for an amplifier that has just
// been opened. Choosing a program sets all parameters and leaves the bypass alone; what is turned
// afterwards is kept in the host's project, never in the program.
#pragma once

#include <array>
#include <optional>

#include "params/factory_bank.h"

namespace quellard {

inline constexpr int kNumListedPrograms = 1 + static_cast<int>(kNumFactoryPresets);

constexpr bool isListedProgram(int program) { return program >= 0 && program < kNumListedPrograms; }

// At most kFactoryNameLen characters. program: 0..kNumListedPrograms-1.
constexpr const char* listedProgramName(int program) {
  return program == 0 ? "Init" : kFactoryBank[static_cast<std::size_t>(program - 1)].name;
}

// Entry i-1 is parameter i.
constexpr std::array<float, kNumStoredValues> listedProgramValues(int program) {
  if (program > 0) return presetValues(kFactoryBank[static_cast<std::size_t>(program - 1)]);
  std::array<float, kNumStoredValues> values{};
  values.fill(kKnobDefault);
  values.back() = kTypeDefault;
  return values;
}

// The program that sets just these values, which a host is to show beside them.
constexpr std::optional<int> listedProgramWith(const std::array<float, kNumStoredValues>& values) {
  for (int program = 0; program < kNumListedPrograms; ++program) {
    if (listedProgramValues(program) == values) return program;
  }
  return std::nullopt;
}

}  // namespace quellard

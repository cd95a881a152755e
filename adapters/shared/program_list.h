// SPDX-License-Identifier: ISC
// The programs of formats whose hosts choose by number: the default values, then the factory bank.
// Without the first, a host would show a preset's name for an amplifier that has just been opened.
// Choosing a program sets all parameters and leaves the bypass alone. Moves after that are kept in
// the host's project; programs never change.
#pragma once

#include <optional>

#include "params/factory_bank.h"
#include "params/sizes.h"

namespace quellard {

inline constexpr int kNumListedPrograms = 1 + int{kNumFactoryPresets};

constexpr bool isListedProgram(int program) { return program >= 0 && program < kNumListedPrograms; }

// At most 23 characters. program: 0..kNumListedPrograms-1.
constexpr const char* listedProgramName(int program) {
  return program == 0 ? kDefaultsName : at(kFactoryBank, program - 1).name;
}

constexpr ParameterValues listedProgramValues(int program) {
  return program == 0 ? defaultValues() : presetValues(at(kFactoryBank, program - 1));
}

// The program that has exactly these values, for hosts that show a program's name.
constexpr std::optional<int> listedProgramWith(const ParameterValues& values) {
  for (int program = 0; program < kNumListedPrograms; ++program) {
    if (listedProgramValues(program) == values) return program;
  }
  return std::nullopt;
}

}  // namespace quellard

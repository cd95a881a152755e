// SPDX-License-Identifier: ISC
// A program: a named set of the nineteen stored parameter values.
#pragma once

#include <array>
#include <atomic>

#include "params/parameter_table.h"
#include "params/sizes.h"
#include "params/text_lengths.h"

namespace quellard {

inline constexpr int kNumPrograms = 16;

class QuellardProgram {
 public:
  // Knobs at 0.5, the selector at 1.0, named "Init".
  QuellardProgram();
  virtual ~QuellardProgram() = default;
  QuellardProgram(const QuellardProgram&) = delete;
  QuellardProgram& operator=(const QuellardProgram&) = delete;

  // Entry i-1 holds parameter i. Atomic, since a program change reads them while another thread
  // may be moving a knob; one value at a time is all that either needs.
  std::array<std::atomic<float>, kNumStoredValues> values;
  char name[kVstMaxProgNameLen];

  // Where a parameter is stored. parameter: 1..19.
  std::atomic<float>& value(int parameter) { return at(values, parameter - 1); }

  // Cuts a longer name to 23 bytes, never inside a UTF-8 sequence.
  void rename(const char* newName);

  // Writes the name, an unnamed program with its number: "Init 3". text: 24 characters or more.
  // number: 1..16.
  void writeNumberedName(int number, char* text) const;

  // Writes the bare name. text: 24 characters or more.
  void writeName(char* text) const;
};

// The effect's object holds these records in place of plain floats; hosts know that layout.
static_assert(sizeof(std::atomic<float>) == sizeof(float));

}  // namespace quellard

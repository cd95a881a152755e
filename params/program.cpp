// SPDX-License-Identifier: ISC
#include "params/program.h"

#include <cstdio>
#include <cstring>

#include "params/parameter_values.h"
#include "params/words.h"

namespace quellard {

QuellardProgram::QuellardProgram() : name{} {
  for (int parameter = 1; parameter <= kNumStoredValues; ++parameter) {
    value(parameter).store(defaultValue(parameter), std::memory_order_relaxed);
  }
  rename(kDefaultsName);
}

void QuellardProgram::rename(const char* newName) {
  std::size_t length = strnlen(newName, kVstMaxProgNameLen);
  if (length == kVstMaxProgNameLen) {
    length = kVstMaxProgNameLen - 1;
    // The analyzer does not know that strnlen has seen these bytes. NOLINTNEXTLINE(*CallAndMessage)
    while (length > 0 && continuesUtf8Sequence(newName[length])) --length;
  }
  std::memmove(name, newName, length);
  std::memset(name + length, 0, sizeof name - length);
}

void QuellardProgram::writeNumberedName(int number, char* text) const {
  if (std::strcmp(name, kDefaultsName) == 0) {
    std::snprintf(text, kVstMaxProgNameLen, "%s %d", kDefaultsName, number);
  } else {
    writeName(text);
  }
}

void QuellardProgram::writeName(char* text) const { std::strcpy(text, name); }

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Variables of this process's environment, which the modules that it loads see too.
#pragma once

#include <cstdlib>
#include <string>

namespace quellard::test {

inline void setVariable(const char* name, const std::string& value) {
#if defined(_WIN32)
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

inline void removeVariable(const char* name) {
#if defined(_WIN32)
  _putenv_s(name, "");
#else
  unsetenv(name);
#endif
}

}  // namespace quellard::test

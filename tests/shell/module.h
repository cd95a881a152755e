// SPDX-License-Identifier: ISC
// The built plug-in, loaded with dlopen() as a host does.
#pragma once

#include <dlfcn.h>

#include "tests/support/opened_effect.h"

namespace quellard::test {

// Null where the module does not export the name. The module stays loaded, since a sanitizer
// reports leaks in it at the end of the process.
inline Entry moduleEntry(const char* name) {
  static void* const module = dlopen(QUELLARD_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  return module != nullptr ? reinterpret_cast<Entry>(dlsym(module, name)) : nullptr;
}

}  // namespace quellard::test

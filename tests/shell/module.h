// SPDX-License-Identifier: ISC
// The built plug-in's entries.
#pragma once

#include "tests/support/loaded_module.h"
#include "tests/support/opened_effect.h"

namespace quellard::test {

inline Entry moduleEntry(const char* name) {
  return reinterpret_cast<Entry>(symbolOf(QUELLARD_PLUGIN_FILE, name));
}

}  // namespace quellard::test

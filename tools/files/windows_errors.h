// SPDX-License-Identifier: ISC
// What Windows says, as the numbers by which messages are chosen.
#pragma once

#include <system_error>
#include <windows.h>

namespace quellard {

// The errno value that is nearest to GetLastError().
inline int lastError() {
  const std::error_code code(static_cast<int>(GetLastError()), std::system_category());
  return code.default_error_condition().value();
}

}  // namespace quellard

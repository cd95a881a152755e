// SPDX-License-Identifier: ISC
// What a key means to the face.
#pragma once

#include <optional>
#include <windows.h>

#include "face/face.h"

namespace quellard {

// One of the two, or none for keys that the face has no use for.
struct KeyPress {
  std::optional<Key> key;
  char32_t character = 0;
};

// As WM_KEYDOWN brings it, while that is being delivered.
KeyPress pressOfKey(WPARAM key, LPARAM details);

}  // namespace quellard

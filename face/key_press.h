// SPDX-License-Identifier: ISC
// What a key of the keyboard means to the face.
#pragma once

#include <optional>

#include "face/face.h"

namespace quellard {

// One of the two, or none for keys that the face has no use for.
struct KeyPress {
  std::optional<Key> key;
  char32_t character = 0;
};

}  // namespace quellard

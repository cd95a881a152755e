// SPDX-License-Identifier: ISC
// What a key means to the face.
#pragma once

#include <windows.h>

#include "face/key_press.h"

namespace quellard {

// As WM_KEYDOWN brings it, while that is being delivered.
KeyPress pressOfKey(WPARAM key, LPARAM details);

}  // namespace quellard

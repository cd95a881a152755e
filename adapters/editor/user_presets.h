// SPDX-License-Identifier: ISC
// What a face finds in the user's folders. Nothing here throws: a face without it is still a face.
#pragma once

#include <vector>

#include "face/face_state.h"

namespace quellard {

struct FoundPresets {
  std::vector<FacePreset> presets;
  int unreadable = 0;  // files with a mistake
};

// "Init", the factory bank and the user's own presets.
FoundPresets foundPresets();

// How large the player made the face the last time, as a multiple of its usual size, for all
// formats alike: 1 before it was ever resized.
double rememberedZoom();
void rememberZoom(double zoom);

}  // namespace quellard

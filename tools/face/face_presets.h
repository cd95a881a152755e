// SPDX-License-Identifier: ISC
// Presets as a face lists them.
#pragma once

#include <vector>

#include "face/face_state.h"
#include "tools/settings/presets.h"

namespace quellard {

// "Init", then these.
inline std::vector<FacePreset> facePresetsOf(const std::vector<Preset>& presets) {
  std::vector<FacePreset> all = {factoryFacePresets().front()};
  for (const Preset& preset : presets) {
    all.push_back({preset.name, preset.description, preset.values, preset.isFactory});
  }
  return all;
}

}  // namespace quellard

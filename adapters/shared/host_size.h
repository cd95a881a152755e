// SPDX-License-Identifier: ISC
// The size that a host chooses for the window, limited to the largest face: some hosts pass any
// number on, and a picture of 32767 x 32767 pixels would take 4 GB.
#pragma once

#include <algorithm>

#include "adapters/editor/editor.h"

namespace quellard {

// size: positive.
inline PixelSize limitedToFace(const Editor& editor, PixelSize size) {
  constexpr int kBeyondAnyFace = 1 << 16;
  const PixelSize largest = editor.fit({kBeyondAnyFace, kBeyondAnyFace});
  return {std::min(size.width, largest.width), std::min(size.height, largest.height)};
}

}  // namespace quellard

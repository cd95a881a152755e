// SPDX-License-Identifier: ISC
// Paints a state of the face.
#pragma once

#include <span>
#include <vector>

#include "face/canvas.h"
#include "face/face_state.h"
#include "face/picture.h"

namespace quellard {

// Everything within the canvas's clip.
void paintFace(Canvas& canvas, const FaceState& state, std::span<const FacePreset> presets);

// A picture of the face that is kept up to date. Its scale is the largest at which the whole face
// fits; what is left over at the sides has the background's colour.
class FacePicture {
 public:
  static constexpr int kLargestSide = 8192;  // pixels

  // The size is limited to 1..kLargestSide. Everything is painted with the next repaint().
  void resize(int width, int height);

  // Paints where the state differs from the one painted before, and returns these areas: none where
  // nothing changed.
  std::vector<PixelRect> repaint(const FaceState& state, std::span<const FacePreset> presets);

  // Whether repaint() would paint nothing.
  bool isUpToDate(const FaceState& state) const { return !isStale_ && state == painted_; }
  // Whether the next repaint() paints everything. Until then the picture is black.
  bool isStale() const { return isStale_; }
  const Picture& picture() const { return picture_; }
  float scale() const { return scale_; }  // pixels a unit of the face
  // x, y: pixels.
  Point faceFromPixels(float x, float y) const {
    return {(x - origin_.x) / scale_, (y - origin_.y) / scale_};
  }

 private:
  Picture picture_;
  Font font_;
  float scale_ = 0.0F;
  Point origin_;
  bool isStale_ = true;
  FaceState painted_;
};

}  // namespace quellard

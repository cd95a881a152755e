// SPDX-License-Identifier: ISC
// Paints anti-aliased shapes and text into a picture at any scale. A shape is the set of points
// whose signed distance to its outline is negative. A pixel's coverage falls from 1 to 0 over one
// pixel across the outline or, for shadows and glows, over a softer edge.
#pragma once

#include <string_view>

#include "face/font.h"
#include "face/geometry.h"
#include "face/picture.h"

namespace quellard {

// Two colours, from the shape's top to its bottom; opacity changes with them.
struct Paint {
  Color top;
  Color bottom;

  constexpr Paint(Color color) : top(color), bottom(color) {}  // NOLINT(*-explicit-*)
  constexpr Paint(Color topColor, Color bottomColor) : top(topColor), bottom(bottomColor) {}
};

enum class Align { left, center, right };

struct TextStyle {
  float size = 11.0F;  // of the font, in units of the face
  Color color;
  FontFace face = FontFace::regular;
  Align align = Align::left;
  float spacing = 0.0F;  // added to each letter's advance
};

// All lengths are in units of the face; scale: pixels a unit. Only pixels within the clip are
// changed. Painting is a function of its arguments alone, so that any part of a picture can be
// painted again.
class Canvas {
 public:
  // The picture and the font must outlive the canvas. origin: where on the picture the face's 0, 0
  // lies, in pixels.
  Canvas(Picture& picture, Font& font, float scale, Point origin, PixelRect clip);

  // softness: the width of the edge; 0 is one pixel.
  void fill(const Rect& rect, float cornerRadius, const Paint& paint, float softness = 0.0F);
  void outline(const Rect& rect, float cornerRadius, float width, const Paint& paint);
  void fillCircle(Point center, float radius, const Paint& paint, float softness = 0.0F);
  // Round ends.
  void line(Point from, Point to, float width, const Paint& paint);
  // Part of a circle, clockwise from `from` to `to`, in turns from 12 o'clock, -0.5..0.5, from <
  // to. Round ends.
  void arc(Point center, float radius, float from, float to, float width, const Paint& paint);
  // at: on the baseline, at the text's left end, center or right end.
  void text(Point at, std::string_view utf8, const TextStyle& style);

  // In units of the face.
  float textWidth(std::string_view utf8, const TextStyle& style) const;

  // Whether a rectangle of the face has pixels that may be changed.
  bool shows(const Rect& rect) const;

  // The pixels that a rectangle of the face touches.
  static PixelRect pixelsOf(const Rect& rect, float scale, Point origin);

 private:
  template <typename Distance>
  void shade(const Rect& bounds, const Paint& paint, float softness, const Distance& distance);
  // Without the pixels of the middle, which is not empty.
  template <typename Distance>
  void shadeAround(const PixelRect& middle, const Rect& bounds, const Paint& paint,
                   const Distance& distance);
  void fillInside(const PixelRect& area, const Rect& bounds, const Paint& paint);
  Point pixel(Point point) const {
    return {point.x * scale_ + origin_.x, point.y * scale_ + origin_.y};
  }

  Picture& picture_;
  Font& font_;
  float scale_;
  Point origin_;
  PixelRect clip_;
};

}  // namespace quellard

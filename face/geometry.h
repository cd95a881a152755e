// SPDX-License-Identifier: ISC
// Points and rectangles: on the face in its own units, in a picture in pixels. x grows to the
// right, y downwards.
#pragma once

#include <algorithm>

namespace quellard {

struct Point {
  float x = 0.0F;
  float y = 0.0F;

  bool operator==(const Point&) const = default;
};

struct Rect {
  float x = 0.0F;
  float y = 0.0F;
  float width = 0.0F;
  float height = 0.0F;

  constexpr float right() const { return x + width; }
  constexpr float bottom() const { return y + height; }
  constexpr Point center() const { return {x + width / 2.0F, y + height / 2.0F}; }
  constexpr bool contains(Point point) const {
    return point.x >= x && point.x < right() && point.y >= y && point.y < bottom();
  }
  constexpr Rect grownBy(float margin) const {
    return {x - margin, y - margin, width + 2.0F * margin, height + 2.0F * margin};
  }
  // The smallest that holds both.
  constexpr Rect unitedWith(const Rect& other) const {
    const float left = std::min(x, other.x);
    const float top = std::min(y, other.y);
    return {left, top, std::max(right(), other.right()) - left,
            std::max(bottom(), other.bottom()) - top};
  }

  bool operator==(const Rect&) const = default;
};

constexpr Rect rectAround(Point center, float halfWidth, float halfHeight) {
  return {center.x - halfWidth, center.y - halfHeight, 2.0F * halfWidth, 2.0F * halfHeight};
}

struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
};

// Right and bottom lie just outside.
struct PixelRect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;

  constexpr int width() const { return right - left; }
  constexpr int height() const { return bottom - top; }
  constexpr bool isEmpty() const { return right <= left || bottom <= top; }
  constexpr PixelRect cutTo(const PixelRect& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
  }

  bool operator==(const PixelRect&) const = default;
};

}  // namespace quellard

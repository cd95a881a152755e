// SPDX-License-Identifier: ISC
#include "face/canvas.h"

#include <cmath>
#include <numbers>

namespace quellard {
namespace {

struct Blend {
  float red;
  float green;
  float blue;
  float opacity;
};

Blend between(const Color& top, const Color& bottom, float share) {
  const auto mixed = [share](auto from, auto to) {
    return static_cast<float>(from) + (static_cast<float>(to) - static_cast<float>(from)) * share;
  };
  return {mixed(top.red, bottom.red), mixed(top.green, bottom.green), mixed(top.blue, bottom.blue),
          mixed(top.opacity, bottom.opacity)};
}

// The paint's colour in a row whose middle is at y, of a shape between top and bottom.
Blend colorAt(const Paint& paint, float y, float top, float bottom) {
  const float share = bottom > top ? std::clamp((y - top) / (bottom - top), 0.0F, 1.0F) : 0.0F;
  return between(paint.top, paint.bottom, share);
}

std::uint32_t mixedChannel(std::uint32_t under, unsigned shift, float over, float opacity) {
  const auto below = static_cast<float>(under >> shift & 0xFFU);
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): never negative, and lround() is a call a pixel
  return static_cast<std::uint32_t>(below + (over - below) * opacity + 0.5F) << shift;
}

void blend(std::uint32_t& pixel, const Blend& color, float coverage) {
  const float opacity = color.opacity * coverage;
  if (opacity <= 0.0F) return;
  pixel = 0xFF000000U | mixedChannel(pixel, 16, color.red, opacity) |
          mixedChannel(pixel, 8, color.green, opacity) |
          mixedChannel(pixel, 0, color.blue, opacity);
}

// The distance to a rectangle with round corners whose middle is at 0, 0.
float distanceToRect(Point at, float halfWidth, float halfHeight, float cornerRadius) {
  const float x = std::fabs(at.x) - halfWidth + cornerRadius;
  const float y = std::fabs(at.y) - halfHeight + cornerRadius;
  if (x <= 0.0F || y <= 0.0F) return std::max(x, y) - cornerRadius;
  return std::sqrt(x * x + y * y) - cornerRadius;
}

}  // namespace

Canvas::Canvas(Picture& picture, Font& font, float scale, Point origin, PixelRect clip)
    : picture_(picture),
      font_(font),
      scale_(scale),
      origin_(origin),
      clip_(clip.cutTo(picture.bounds())) {}

PixelRect Canvas::pixelsOf(const Rect& rect, float scale, Point origin) {
  return {static_cast<int>(std::floor(rect.x * scale + origin.x)),
          static_cast<int>(std::floor(rect.y * scale + origin.y)),
          static_cast<int>(std::ceil(rect.right() * scale + origin.x)),
          static_cast<int>(std::ceil(rect.bottom() * scale + origin.y))};
}

bool Canvas::shows(const Rect& rect) const {
  return !pixelsOf(rect, scale_, origin_).cutTo(clip_).isEmpty();
}

// distance: of a pixel's middle to the outline, both in pixels.
template <typename Distance>
void Canvas::shade(const Rect& bounds, const Paint& paint, float softness,
                   const Distance& distance) {
  const float edge = std::max(softness * scale_, 1.0F);
  const PixelRect area =
      pixelsOf(bounds.grownBy(softness / 2.0F + 1.0F / scale_), scale_, origin_).cutTo(clip_);
  const float top = pixel({bounds.x, bounds.y}).y;
  const float bottom = pixel({bounds.x, bounds.bottom()}).y;
  for (int y = area.top; y < area.bottom; ++y) {
    const float middle = static_cast<float>(y) + 0.5F;
    const Blend color = colorAt(paint, middle, top, bottom);
    std::uint32_t* const row = picture_.row(y);
    for (int x = area.left; x < area.right; ++x) {
      const float far = distance({static_cast<float>(x) + 0.5F, middle});
      const float share = std::clamp(0.5F - far / edge, 0.0F, 1.0F);
      // A soft edge without corners in its slope.
      const float coverage = softness > 0.0F ? share * share * (3.0F - 2.0F * share) : share;
      blend(row[x], color, coverage);
    }
  }
}

template <typename Distance>
void Canvas::shadeAround(const PixelRect& middle, const Rect& bounds, const Paint& paint,
                         const Distance& distance) {
  const PixelRect whole = clip_;
  const std::array<PixelRect, 4> frame = {{
      {whole.left, whole.top, whole.right, middle.top},
      {whole.left, middle.top, middle.left, middle.bottom},
      {middle.right, middle.top, whole.right, middle.bottom},
      {whole.left, middle.bottom, whole.right, whole.bottom},
  }};
  for (const PixelRect& part : frame) {
    clip_ = part.cutTo(whole);
    shade(bounds, paint, 0.0F, distance);
  }
  clip_ = whole;
}

void Canvas::fillInside(const PixelRect& area, const Rect& bounds, const Paint& paint) {
  const float top = pixel({bounds.x, bounds.y}).y;
  const float bottom = pixel({bounds.x, bounds.bottom()}).y;
  for (int y = area.top; y < area.bottom; ++y) {
    const Blend color = colorAt(paint, static_cast<float>(y) + 0.5F, top, bottom);
    std::uint32_t* const row = picture_.row(y);
    if (color.opacity < 1.0F) {
      for (int x = area.left; x < area.right; ++x) blend(row[x], color, 1.0F);
    } else if (area.left < area.right) {
      std::uint32_t one = 0;
      blend(one, color, 1.0F);
      std::fill(row + area.left, row + area.right, one);
    }
  }
}

void Canvas::fill(const Rect& rect, float cornerRadius, const Paint& paint, float softness) {
  if (!shows(rect.grownBy(softness / 2.0F + 1.0F / scale_))) return;
  const Point center = pixel(rect.center());
  const float halfWidth = rect.width * scale_ / 2.0F;
  const float halfHeight = rect.height * scale_ / 2.0F;
  const auto distance = [&](Point at) {
    return distanceToRect({at.x - center.x, at.y - center.y}, halfWidth, halfHeight,
                          cornerRadius * scale_);
  };
  // The middle of a large area needs no distances: all of it is covered.
  const float margin = std::max(cornerRadius, softness / 2.0F) + 1.0F / scale_;
  const PixelRect middle = pixelsOf(rect.grownBy(-margin), scale_, origin_);
  if (softness > 0.0F || middle.cutTo(clip_).isEmpty()) {
    return shade(rect, paint, softness, distance);
  }
  shadeAround(middle, rect, paint, distance);
  fillInside(middle.cutTo(clip_), rect, paint);
}

void Canvas::outline(const Rect& rect, float cornerRadius, float width, const Paint& paint) {
  const Rect outer = rect.grownBy(width / 2.0F);
  if (!shows(outer)) return;
  const Point center = pixel(rect.center());
  const float margin = width / 2.0F + 1.0F / scale_ + cornerRadius;
  const PixelRect middle = pixelsOf(rect.grownBy(-margin), scale_, origin_);
  const auto distance = [&](Point at) {
    return std::fabs(distanceToRect({at.x - center.x, at.y - center.y}, rect.width * scale_ / 2.0F,
                                    rect.height * scale_ / 2.0F, cornerRadius * scale_)) -
           width * scale_ / 2.0F;
  };
  if (middle.isEmpty()) return shade(outer, paint, 0.0F, distance);
  shadeAround(middle, outer, paint, distance);
}

void Canvas::fillCircle(Point center, float radius, const Paint& paint, float softness) {
  const Rect bounds = rectAround(center, radius, radius);
  if (!shows(bounds.grownBy(softness / 2.0F + 1.0F / scale_))) return;
  const Point middle = pixel(center);
  shade(bounds, paint, softness, [&](Point at) {
    const float x = at.x - middle.x;
    const float y = at.y - middle.y;
    return std::sqrt(x * x + y * y) - radius * scale_;
  });
}

void Canvas::line(Point from, Point to, float width, const Paint& paint) {
  const float half = width / 2.0F;
  const Rect bounds = Rect{std::min(from.x, to.x), std::min(from.y, to.y), std::fabs(to.x - from.x),
                           std::fabs(to.y - from.y)}
                          .grownBy(half);
  if (!shows(bounds.grownBy(1.0F / scale_))) return;
  const Point begin = pixel(from);
  const Point delta = {(to.x - from.x) * scale_, (to.y - from.y) * scale_};
  const float length2 = std::max(delta.x * delta.x + delta.y * delta.y, 1e-6F);
  shade(bounds, paint, 0.0F, [&](Point at) {
    const Point there = {at.x - begin.x, at.y - begin.y};
    const float share = std::clamp((there.x * delta.x + there.y * delta.y) / length2, 0.0F, 1.0F);
    const float x = there.x - delta.x * share;
    const float y = there.y - delta.y * share;
    return std::sqrt(x * x + y * y) - half * scale_;
  });
}

// Turned so that the arc's middle points upwards, it lies at equal angles to both sides.
void Canvas::arc(Point center, float radius, float from, float to, float width,
                 const Paint& paint) {
  const Rect bounds = rectAround(center, radius + width / 2.0F, radius + width / 2.0F);
  if (!shows(bounds.grownBy(1.0F / scale_))) return;
  constexpr float kTurn = 2.0F * std::numbers::pi_v<float>;
  const float middle = (from + to) / 2.0F * kTurn;
  const float half = (to - from) / 2.0F * kTurn;
  const float sine = std::sin(middle);
  const float cosine = std::cos(middle);
  const float halfSine = std::sin(half);
  const float halfCosine = std::cos(half);
  const Point end = {halfSine * radius * scale_, -halfCosine * radius * scale_};
  const bool isSmall = half < kTurn / 4.0F;
  const Point at0 = pixel(center);
  shade(bounds, paint, 0.0F, [&](Point at) {
    const float x = at.x - at0.x;
    const float y = at.y - at0.y;
    const float across = std::fabs(x * cosine + y * sine);
    const float along = y * cosine - x * sine;
    // Within the arc's angle the circle is nearest, elsewhere its end.
    const float turned = across * halfCosine + along * halfSine;
    const bool within = isSmall ? turned <= 0.0F && along <= 0.0F : turned <= 0.0F || along <= 0.0F;
    const float dx = across - end.x;
    const float dy = along - end.y;
    const float away = within ? std::fabs(std::sqrt(x * x + y * y) - radius * scale_)
                              : std::sqrt(dx * dx + dy * dy);
    return away - width * scale_ / 2.0F;
  });
}

float Canvas::textWidth(std::string_view utf8, const TextStyle& style) const {
  return font_.width(utf8, style.face, style.size * scale_, style.spacing * scale_) / scale_;
}

// The baseline lies between two rows of pixels, which keeps horizontal strokes crisp; letters stand
// where they belong to a quarter of a pixel.
void Canvas::text(Point at, std::string_view utf8, const TextStyle& style) {
  const float size = style.size * scale_;
  const float spacing = style.spacing * scale_;
  Point pen = pixel(at);
  pen.y = std::round(pen.y);
  if (style.align != Align::left) {
    const float width = font_.width(utf8, style.face, size, spacing);
    pen.x -= style.align == Align::center ? width / 2.0F : width;
  }
  const Blend color = between(style.color, style.color, 0.0F);
  font_.layOut(utf8, style.face, size, spacing, pen, [&](const Glyph& glyph, int left, int top) {
    const PixelRect area =
        PixelRect{left, top, left + glyph.width, top + glyph.height}.cutTo(clip_);
    for (int y = area.top; y < area.bottom; ++y) {
      const std::uint8_t* const coverage = glyph.row(y - top);
      std::uint32_t* const row = picture_.row(y);
      for (int x = area.left; x < area.right; ++x) {
        blend(row[x], color, static_cast<float>(coverage[x - left]) / 255.0F);
      }
    }
  });
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Colours and a picture in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "face/geometry.h"
#include "params/sizes.h"

namespace quellard {

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  float opacity = 1.0F;  // 0..1

  // 0xRRGGBB.
  static constexpr Color hex(std::uint32_t digits, float opacity = 1.0F) {
    return {static_cast<std::uint8_t>(digits >> 16), static_cast<std::uint8_t>(digits >> 8),
            static_cast<std::uint8_t>(digits), opacity};
  }
  constexpr Color faded(float by) const { return {red, green, blue, opacity * by}; }

  bool operator==(const Color&) const = default;
};

// Opaque pixels as 0xFFRRGGBB, row by row from the top. New pixels are black.
class Picture {
 public:
  Picture() = default;
  Picture(int width, int height) { resize(width, height); }

  // Forgets what was painted. Sizes below 1 become 1. Allocates.
  void resize(int width, int height) {
    width_ = std::max(width, 1);
    height_ = std::max(height, 1);
    pixels_.assign(stride() * asSize(height_), 0xFF000000U);
  }

  int width() const { return width_; }
  int height() const { return height_; }
  PixelRect bounds() const { return {0, 0, width_, height_}; }

  // y: 0..height-1.
  std::uint32_t* row(int y) { return &pixels_[asSize(y) * stride()]; }
  const std::uint32_t* row(int y) const { return &pixels_[asSize(y) * stride()]; }

 private:
  std::size_t stride() const { return asSize(width_); }

  int width_ = 0;
  int height_ = 0;
  std::vector<std::uint32_t> pixels_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The face's own font, so that it looks the same on every machine: Latin, Greek and Cyrillic
// letters of DejaVu Sans, put into the program when it is built.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "face/geometry.h"
#include "params/sizes.h"

namespace quellard {

enum class FontFace : std::uint8_t { regular, bold };

// A letter's coverage, 0..255 a pixel.
struct Glyph {
  int width = 0;
  int height = 0;
  int left = 0;  // of the first column, from the pen
  int top = 0;   // of the first row, from the baseline; negative is above
  std::vector<std::uint8_t> pixels;

  // y: 0..height-1.
  const std::uint8_t* row(int y) const { return &pixels[asSize(y) * asSize(width)]; }
};

// Keeps each letter that it has drawn. For one thread at a time; everything may allocate. Letters
// that the font has not are drawn as a box, bytes that are no UTF-8 as a question mark.
class Font {
 public:
  Font();
  ~Font();
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;

  // In pixels. size: the em, in pixels. spacing: added after each letter but the last.
  float width(std::string_view utf8, FontFace face, float size, float spacing) const;

  // Calls draw(glyph, left, top) for each letter, with the pixel of its upper left corner.
  // pen: the beginning of the baseline.
  using Draw = std::function<void(const Glyph&, int left, int top)>;
  void layOut(std::string_view utf8, FontFace face, float size, float spacing, Point pen,
              const Draw& draw);

 private:
  struct Outlines;
  std::unique_ptr<Outlines> outlines_;
};

}  // namespace quellard

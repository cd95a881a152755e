// SPDX-License-Identifier: ISC
#include "face/font.h"

#include <array>
#include <cmath>
#include <map>
#include <stb/stb_truetype.h>
#include <tuple>

#include "face/font_data.h"
#include "params/words.h"

namespace quellard {
namespace {

constexpr int kSteps = 4;  // of a letter's place within a pixel
constexpr char32_t kNoCharacter = U'?';

// The next character of a text, which it shortens by as many bytes.
char32_t takeCharacter(std::string_view& utf8) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned first = byteAt(0);
  const std::size_t more = first < 0x80 ? 0 : first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first >= 0x80 && (first < 0xC2 || first > 0xF4 || utf8.size() <= more)) {
    utf8.remove_prefix(1);
    return kNoCharacter;
  }
  char32_t character = more == 0 ? first : first & (0x3FU >> more);
  for (std::size_t i = 1; i <= more; ++i) {
    if (!continuesUtf8Sequence(utf8[i])) {
      utf8.remove_prefix(i);
      return kNoCharacter;
    }
    character = character << 6 | (byteAt(i) & 0x3FU);
  }
  utf8.remove_prefix(more + 1);
  return character;
}

}  // namespace

struct Font::Outlines {
  using Key = std::tuple<FontFace, float, int, int>;  // size, step, index

  Outlines() {
    for (const FontFace face : {FontFace::regular, FontFace::bold}) {
      stbtt_InitFont(&of(face), fontData(face), 0);
    }
  }

  stbtt_fontinfo& of(FontFace face) { return fonts[static_cast<std::size_t>(face)]; }

  static float scaleOf(const stbtt_fontinfo& font, float size) {
    return stbtt_ScaleForMappingEmToPixels(&font, size);
  }

  // Calls place(index, x) for each letter and returns the width. x: of the pen, from 0.
  template <typename Place>
  float walk(std::string_view utf8, FontFace face, float size, float spacing, const Place& place) {
    const stbtt_fontinfo& font = of(face);
    const float scale = scaleOf(font, size);
    float x = 0.0F;
    int before = 0;
    while (!utf8.empty()) {
      const int index = stbtt_FindGlyphIndex(&font, static_cast<int>(takeCharacter(utf8)));
      if (x > 0.0F) {
        x += spacing + scale * static_cast<float>(stbtt_GetGlyphKernAdvance(&font, before, index));
      }
      place(index, x);
      int advance = 0;
      int bearing = 0;
      stbtt_GetGlyphHMetrics(&font, index, &advance, &bearing);
      x += scale * static_cast<float>(advance);
      before = index;
    }
    return x;
  }

  // step: how far right of a pixel's left edge the pen is, in 1/kSteps.
  const Glyph& glyph(FontFace face, float size, int step, int index) {
    const auto [at, isNew] = drawn.try_emplace(Key{face, size, step, index});
    Glyph& glyph = at->second;
    if (!isNew) return glyph;
    const stbtt_fontinfo& font = of(face);
    const float scale = scaleOf(font, size);
    const float shift = static_cast<float>(step) / kSteps;
    int right = 0;
    int bottom = 0;
    stbtt_GetGlyphBitmapBoxSubpixel(&font, index, scale, scale, shift, 0.0F, &glyph.left,
                                    &glyph.top, &right, &bottom);
    glyph.width = right - glyph.left;
    glyph.height = bottom - glyph.top;
    glyph.pixels.resize(asSize(glyph.width) * asSize(glyph.height));
    if (!glyph.pixels.empty()) {
      stbtt_MakeGlyphBitmapSubpixel(&font, glyph.pixels.data(), glyph.width, glyph.height,
                                    glyph.width, scale, scale, shift, 0.0F, index);
    }
    return glyph;
  }

  std::array<stbtt_fontinfo, 2> fonts{};
  std::map<Key, Glyph> drawn;
};

Font::Font() : outlines_(std::make_unique<Outlines>()) {}
Font::~Font() = default;

float Font::width(std::string_view utf8, FontFace face, float size, float spacing) const {
  return outlines_->walk(utf8, face, size, spacing, [](int, float) {});
}

void Font::layOut(std::string_view utf8, FontFace face, float size, float spacing, Point pen,
                  const Draw& draw) {
  // A window that is resized by hand would leave letters of a hundred sizes.
  constexpr std::size_t kMostGlyphs = 4096;
  if (outlines_->drawn.size() > kMostGlyphs) outlines_->drawn.clear();
  outlines_->walk(utf8, face, size, spacing, [&](int index, float x) {
    const int steps = static_cast<int>(std::lround((pen.x + x) * kSteps));
    const int step = (steps % kSteps + kSteps) % kSteps;
    const Glyph& glyph = outlines_->glyph(face, size, step, index);
    if (glyph.pixels.empty()) return;
    draw(glyph, (steps - step) / kSteps + glyph.left,
         static_cast<int>(std::lround(pen.y)) + glyph.top);
  });
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// VST3 writes texts in UTF-16; the amplifier's own are plain ASCII. Nothing here allocates.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <travesty/base.h>

namespace quellard {

inline constexpr std::size_t kWideText = sizeof(v3_str_128) / sizeof(std::int16_t);

// Cuts what does not fit before the terminator and fills up with zeros. to: size units.
inline void writeWide(std::int16_t* to, std::string_view text, std::size_t size = kWideText) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::fill(std::copy_n(text.begin(), length, to), to + size, std::int16_t{0});
}

// A text with its terminator. Nothing for letters that the amplifier does not use, and for a text
// that has no end within kWideText units.
inline std::optional<std::array<char, kWideText>> readWide(const std::int16_t* text) {
  std::array<char, kWideText> narrow{};
  for (std::size_t i = 0; i < kWideText; ++i) {
    if (text[i] < 0 || text[i] > 0x7F) return std::nullopt;
    narrow[i] = static_cast<char>(text[i]);
    if (text[i] == 0) return narrow;
  }
  return std::nullopt;
}

}  // namespace quellard

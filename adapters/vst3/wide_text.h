// SPDX-License-Identifier: ISC
// Conversion between VST3's UTF-16 and the amplifier's texts, which are ASCII. Nothing here
// allocates.
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

// Cuts a text that does not fit and fills the rest with zeros, at least one. to: `size` code units.
inline void writeWide(std::int16_t* to, std::string_view text, std::size_t size = kWideText) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::fill(std::copy_n(text.begin(), length, to), to + size, std::int16_t{0});
}

// The text as ASCII with its terminator. Nothing where it has other characters, or no terminator
// within kWideText code units.
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

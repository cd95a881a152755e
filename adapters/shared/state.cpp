// SPDX-License-Identifier: ISC
#include "adapters/shared/state.h"

#include <algorithm>
#include <bit>

namespace quellard {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'Q', 'L', 'R', 'D'};
constexpr std::uint16_t kVersion = 1;

// Numbers are little-endian whatever the machine.
template <typename Number>
std::uint8_t* put(std::uint8_t* to, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i) {
    *to++ = static_cast<std::uint8_t>(number >> (8 * i));
  }
  return to;
}

template <typename Number>
Number take(const std::uint8_t*& from) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = static_cast<Number>(number | Number{*from++} << (8 * i));
  }
  return number;
}

// False for NaN, too.
bool isSetting(float value) { return value >= 0.0F && value <= 1.0F; }

}  // namespace

StateBytes encodeState(const StateValues& values) {
  StateBytes bytes{};
  std::uint8_t* to = std::copy(kMagic.begin(), kMagic.end(), bytes.data());
  to = put(to, kVersion);
  to = put(to, std::uint16_t{kNumStoredValues});
  for (const float value : values) to = put(to, std::bit_cast<std::uint32_t>(value));
  put(to, crc32({bytes.data(), to}));
  return bytes;
}

std::optional<StateValues> decodeState(std::span<const std::uint8_t> bytes) {
  if (bytes.size() != kStateSize) return std::nullopt;
  const std::uint8_t* from = bytes.data();
  if (!std::equal(kMagic.begin(), kMagic.end(), from)) return std::nullopt;
  from += kMagic.size();
  if (take<std::uint16_t>(from) != kVersion) return std::nullopt;
  if (take<std::uint16_t>(from) != kNumStoredValues) return std::nullopt;

  StateValues values{};
  for (float& value : values) value = std::bit_cast<float>(take<std::uint32_t>(from));
  if (take<std::uint32_t>(from) != crc32(bytes.first(kStateSize - 4))) return std::nullopt;
  if (!std::all_of(values.begin(), values.end(), isSetting)) return std::nullopt;
  return values;
}

std::uint32_t crc32(std::span<const std::uint8_t> bytes) {
  constexpr std::uint32_t kPolynomial = 0xEDB88320;
  std::uint32_t crc = ~std::uint32_t{0};
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? kPolynomial : 0);
  }
  return ~crc;
}

}  // namespace quellard

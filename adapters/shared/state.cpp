// SPDX-License-Identifier: ISC
#include "adapters/shared/state.h"

#include <algorithm>
#include <bit>

#include "params/sizes.h"

namespace quellard {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'Q', 'L', 'R', 'D'};
constexpr std::uint16_t kParametersOnly = 1;  // version 1: always nineteen values
constexpr std::uint16_t kFurtherValues = 2;   // version 2: and, if there are more, the rig's

constexpr std::size_t kHeaderSize = stateSize(0) - sizeof(std::uint32_t);
constexpr std::size_t kSumSize = sizeof(std::uint32_t);

// Numbers are little-endian whatever the machine.
template <typename Number>
std::uint8_t* put(std::uint8_t* to, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i) {
    *to++ = static_cast<std::uint8_t>(number >> (8 * i));
  }
  return to;
}

template <typename Number>
Number get(const std::uint8_t*& from) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = static_cast<Number>(number | Number{*from++} << (8 * i));
  }
  return number;
}

// How many values follow the header; nothing where there is no header, or where the count does not
// fit its version or the length of the block.
std::optional<std::size_t> countOfValues(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < stateSize(0)) return std::nullopt;
  const std::uint8_t* from = bytes.data();
  if (!std::equal(kMagic.begin(), kMagic.end(), from)) return std::nullopt;
  from += kMagic.size();
  const auto version = get<std::uint16_t>(from);
  const std::size_t count = get<std::uint16_t>(from);
  const std::size_t most = version == kParametersOnly ? kNumStoredValues : kMostStateValues;
  if (version != kParametersOnly && version != kFurtherValues) return std::nullopt;
  if (count < kNumStoredValues || count > most || bytes.size() != stateSize(count)) {
    return std::nullopt;
  }
  return count;
}

// False for NaN, too.
bool isParameterValue(float value) { return value >= 0.0F && value <= 1.0F; }

// Up to the last one that is not neutral.
int countToStore(const HostedValues& values) {
  int count = kNumHostedValues;
  while (count > kNumStoredValues && values[count] == neutralValue(count)) --count;
  return count;
}

}  // namespace

// Without a value of the rig to store, version 1 is written, which all releases can read.
StateBytes encodeState(const HostedValues& values) {
  const int count = countToStore(values);
  StateBytes block{.size = stateSize(asSize(count))};
  std::uint8_t* to = std::copy(kMagic.begin(), kMagic.end(), block.buffer.data());
  to = put(to, count > kNumStoredValues ? kFurtherValues : kParametersOnly);
  to = put(to, static_cast<std::uint16_t>(count));
  for (int index = 1; index <= count; ++index) {
    to = put(to, std::bit_cast<std::uint32_t>(values[index]));
  }
  put(to, crc32({block.buffer.data(), to}));
  return block;
}

std::optional<HostedValues> decodeState(std::span<const std::uint8_t> bytes) {
  const std::optional<std::size_t> count = countOfValues(bytes);
  if (!count.has_value()) return std::nullopt;
  const std::uint8_t* from = bytes.data() + kHeaderSize;
  std::array<float, kMostStateValues> values{};
  for (std::size_t i = 0; i < *count; ++i) {
    values[i] = std::bit_cast<float>(get<std::uint32_t>(from));
  }
  if (get<std::uint32_t>(from) != crc32(bytes.first(bytes.size() - kSumSize))) return std::nullopt;
  if (!std::all_of(values.begin(), values.end(), isParameterValue)) return std::nullopt;
  HostedValues known = defaultHostedValues();
  std::copy_n(values.begin(), std::min<std::size_t>(*count, kNumHostedValues), known.begin());
  known[kBypassParameter] = isBypassed(known[kBypassParameter]) ? 1.0F : 0.0F;
  return known;
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

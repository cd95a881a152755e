// SPDX-License-Identifier: ISC
// The settings as a block of bytes that hosts keep in their projects. docs/state.md describes it
// byte by byte; tests/adapters/data holds one of every version, and each must load for ever.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "params/parameter_values.h"

namespace quellard {

// Bytes of a block with this many values.
constexpr std::size_t stateSize(std::size_t values) { return 8 + 4 * values + 4; }

inline constexpr std::size_t kMostStateValues = 64;  // that a block may hold
inline constexpr std::size_t kMostStateBytes = stateSize(kMostStateValues);

struct State {
  ParameterValues values{};
  bool bypass = false;

  friend bool operator==(const State&, const State&) = default;
};

struct StateBytes {
  std::array<std::uint8_t, kMostStateBytes> room{};
  std::size_t size = 0;

  std::span<const std::uint8_t> bytes() const { return std::span(room).first(size); }
};

// The block of the lowest version that holds the state. Any thread; neither allocates.
StateBytes encodeState(const State& state);

// Nothing for bytes that are no state of this amplifier, or a damaged one, or one of a later
// version: the caller then keeps what it has.
std::optional<State> decodeState(std::span<const std::uint8_t> bytes);

// The same through a host's stream, which may take and give any number of bytes at a time.
// write(from, size): how many it took. read(to, room): how many it gave, 0 at its end. Negative: an
// error. False and nothing where the stream fails or ends early, or brings more than a state.
template <typename Write>
bool writeState(const State& state, const Write& write) {
  StateBytes block = encodeState(state);
  std::size_t done = 0;
  while (done < block.size) {
    const std::int64_t written = write(&block.room[done], block.size - done);
    if (written <= 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

template <typename Read>
std::optional<State> readState(const Read& read) {
  std::array<std::uint8_t, kMostStateBytes + 1> bytes{};
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::int64_t got = read(&bytes[done], bytes.size() - done);
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return decodeState({bytes.data(), done});
}

// CRC-32 as in zlib and Ethernet (reflected polynomial 0xEDB88320). Written out here because a
// plug-in that hosts load by the dozen should not bring a library for eight lines.
std::uint32_t crc32(std::span<const std::uint8_t> bytes);

}  // namespace quellard

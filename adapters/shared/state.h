// SPDX-License-Identifier: ISC
// The amplifier's state as the block of bytes that hosts keep in their projects. docs/state.md
// describes it byte by byte. tests/adapters/data holds a block of every version, and each later
// release must load them all.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "params/sizes.h"
#include "rig/rig_parameters.h"

namespace quellard {

// Bytes of a block with this many values: header, values, checksum.
constexpr std::size_t stateSize(std::size_t values) { return 8 + 4 * values + 4; }

inline constexpr std::size_t kMostStateValues = 64;  // in one block
inline constexpr std::size_t kMostStateBytes = stateSize(kMostStateValues);

struct StateBytes {
  std::array<std::uint8_t, kMostStateBytes> buffer{};
  std::size_t size = 0;

  std::span<const std::uint8_t> bytes() const { return std::span(buffer).first(size); }
};

// The block of the lowest version that holds the state. Any thread; neither allocates.
StateBytes encodeState(const HostedValues& values);

// Returns nothing for bytes that are not a state of this amplifier, are damaged, or are of a later
// version: the caller then keeps what it has.
std::optional<HostedValues> decodeState(std::span<const std::uint8_t> bytes);

// The same through a host's stream, which may write and read any number of bytes at a time.
// write(from, size) and read(to, size) return the bytes that were transferred; 0 is the end,
// negative an error. False, or nothing, where the stream fails or ends early, or holds more than a
// state.
template <typename Write>
bool writeState(const HostedValues& values, const Write& write) {
  StateBytes block = encodeState(values);
  std::size_t done = 0;
  while (done < block.size) {
    const std::int64_t written = write(&block.buffer[done], block.size - done);
    if (written <= 0) return false;
    done += asSize(written);
  }
  return true;
}

template <typename Read>
std::optional<HostedValues> readState(const Read& read) {
  std::array<std::uint8_t, kMostStateBytes + 1> bytes{};
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::int64_t got = read(&bytes[done], bytes.size() - done);
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    done += asSize(got);
  }
  return decodeState({bytes.data(), done});
}

// CRC-32 as in zlib and Ethernet (reflected polynomial 0xEDB88320). Written out here, so that the
// plug-ins need no library for eight lines.
std::uint32_t crc32(std::span<const std::uint8_t> bytes);

}  // namespace quellard

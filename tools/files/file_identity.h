// SPDX-License-Identifier: ISC
// Whether two names are of one file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>

namespace quellard {

// Identifies a file, whatever its name: its disk and its number there.
using FileIdentity = std::pair<std::uint64_t, std::uint64_t>;

struct Identified {
  FileIdentity identity;
  bool readOnce;  // a pipe
};

// standardStream: the descriptor that "-" and the like mean. Nothing for devices such as a terminal
// or /dev/null, which may be used several times.
std::optional<Identified> identify(const std::filesystem::path& path, int standardStream);

// A path that equals another's where both name the same file, whether or not it exists: some
// systems take capital and small letters for the same.
std::filesystem::path comparableName(const std::filesystem::path& path);

}  // namespace quellard

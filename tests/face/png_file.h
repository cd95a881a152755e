// SPDX-License-Identifier: ISC
// Pictures as PNG files: by libpng, on Windows by the system.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace quellard {

using Bytes = std::vector<std::uint8_t>;  // red, green, blue

bool writePng(const std::filesystem::path& file, const Bytes& bytes, int width, int height);

// Empty where the file is missing or has another size.
Bytes readPng(const std::filesystem::path& file, int width, int height);

}  // namespace quellard

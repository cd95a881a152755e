// SPDX-License-Identifier: ISC
// SHA-256 digests in hexadecimal, as sha256sum prints them. [any thread]
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quellard {

std::string sha256(std::string_view bytes);

// Of a file's bytes. Throws FileError when it cannot be read, Interrupted.
std::string sha256OfFile(const std::filesystem::path& file);

}  // namespace quellard

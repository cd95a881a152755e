// SPDX-License-Identifier: ISC
// A file that one process at a time appends to.
#pragma once

#include <filesystem>
#include <string_view>

#include "tools/files/file_descriptor.h"

namespace quellard {

// Opens or makes it; none where another process has it. Throws FileError.
FileDescriptor openLocked(const std::filesystem::path& file);

// In one piece. file: for the message. Throws FileError.
void append(const FileDescriptor& to, std::string_view text, const std::filesystem::path& file);

// Takes its name away, while it is open.
void removeLocked(const std::filesystem::path& file);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// A file that one process at a time appends to.
#pragma once

#include <filesystem>

#include "tools/files/file_descriptor.h"

namespace quellard {

// Opens or makes it; none where another process has it. Throws FileError.
FileDescriptor openLocked(const std::filesystem::path& file);

// Takes its name away, while it is open.
void removeLocked(const std::filesystem::path& file);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Unnamed files. They disappear when they are closed, also when the process is killed.
#pragma once

#include <filesystem>

#include "tools/files/file_descriptor.h"

namespace quellard {

// Creates an unnamed file in a folder, for reading and writing, with the permissions of the umask;
// none where the file system does not support that.
FileDescriptor openUnnamedIn(const std::filesystem::path& folder);

// A hidden name with 128 random bits, which is unique even if several machines or containers write
// into the same folder.
std::filesystem::path temporaryNameIn(const std::filesystem::path& folder);

// Removes files with such names from a folder: what killed processes left where the file system has
// no unnamed files. Not while another process may be writing there.
void removeTemporaryFilesIn(const std::filesystem::path& folder);

// Creates an unnamed file for temporary data, in $TMPDIR, /var/tmp or /tmp. Throws FileError.
FileDescriptor openSpool();

}  // namespace quellard

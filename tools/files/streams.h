// SPDX-License-Identifier: ISC
// Standard input and output by their names, and pipes and devices.
#pragma once

#include <filesystem>

#include "tools/files/file_descriptor.h"

namespace quellard {

// Whether a name means standard input: "-", "/dev/stdin" and the like.
bool isStandardInput(const std::filesystem::path& path);

// Whether a name means standard output: "-", "/dev/stdout" and the like.
bool isStandardOutput(const std::filesystem::path& path);

// Whether the path is standard output, a pipe or a device.
bool isStream(const std::filesystem::path& path);

// Opens a file, a stream or standard input for reading, without waiting for the writer of a pipe:
// waitToRead() does that. None with the reason in errno, which is EISDIR for a folder.
FileDescriptor openInput(const std::filesystem::path& path);

// Opens a stream or standard output for writing. None with the reason in errno, which is ENXIO as
// long as a pipe has no reader.
FileDescriptor openStream(const std::filesystem::path& path);

// Why a stream cannot be written, as an errno value; 0 where nothing is known against it.
int writeAccessError(const std::filesystem::path& stream);

// Waits until a pipe or device can be read, or written. Throws Interrupted when a signal arrives,
// also if another thread receives it.
void waitToRead(const FileDescriptor& file);
void waitToWrite(const FileDescriptor& file);

}  // namespace quellard

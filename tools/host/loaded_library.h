// SPDX-License-Identifier: ISC
// Loading a library as the system does it.
#pragma once

#include <filesystem>
#include <string>

namespace quellard {

// What a library for the system is called, and the program that runs.
std::filesystem::path libraryName(const char* stem);
std::filesystem::path programFile();

// Null where the file cannot be loaded; why: as the end of a sentence.
void* openLibrary(const std::filesystem::path& file, std::string& why);
void closeLibrary(void* library);
void* symbolIn(void* library, const char* name);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The command's errors. main() turns each into one line on stderr and an exit status. Messages are
// made one line at once, since a name from a file may contain a zero byte, at which what() would
// end.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace quellard {

// A text as one line without effect on a terminal, for messages that contain names of files:
// control characters, marks of writing direction and bytes that are not UTF-8 become "\n" or
// "\x1b".
std::string oneLine(std::string_view text);

// Whether all bytes are UTF-8.
bool isUtf8(std::string_view text);

// A wrong command line, or a wrong value on it or in a text file: exit status 2.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message) : std::runtime_error(oneLine(message)) {}
};

// An error with a file, the disk or the plug-in: exit status 1.
class FileError : public std::runtime_error {
 public:
  explicit FileError(const std::string& message) : std::runtime_error(oneLine(message)) {}
};

// A signal that interrupt.h watches has arrived. The command cleans up, then ends by the signal.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted") {}
};

// The meaning of an errno value as the end of a sentence: "the disk is full". [any thread], unlike
// strerror().
std::string systemMessage(int error);
std::string systemMessage(const std::error_code& error);

// Throws FileError: "cannot write a.wav: the disk is full". error: an errno value.
[[noreturn]] void failWriting(const std::filesystem::path& file, int error);

// The message of any exception; those of the standard library are reworded.
std::string explanation(const std::exception& error);

}  // namespace quellard

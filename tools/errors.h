// SPDX-License-Identifier: ISC
// The ways in which the command ends badly. main() turns each into one line on stderr and an exit
// status; everything below it throws. What they say is one line from the start: a name from a file
// may hold a zero byte, at which what() would end.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace quellard {

// A text as one line that no terminal obeys, for messages that hold the names of files: control
// characters, marks of writing direction and bytes that are not UTF-8 appear as "\n" or "\x1b".
std::string oneLine(std::string_view text);

// The command line, or a value on it or in an automation file, makes no sense: exit status 2.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message) : std::runtime_error(oneLine(message)) {}
};

// A file, the disk or the plug-in does not do what was asked of it: exit status 1.
class FileError : public std::runtime_error {
 public:
  explicit FileError(const std::string& message) : std::runtime_error(oneLine(message)) {}
};

// One of the signals that interrupt.h watches arrived. The command cleans up, then dies of it.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted") {}
};

// What an errno value means for the file that the sentence is about: "the disk is full". Any
// thread, unlike strerror.
std::string systemMessage(int error);

// The reason of any exception for people: the command's own as they are, the libraries' reworded.
std::string explanation(const std::exception& error);

}  // namespace quellard

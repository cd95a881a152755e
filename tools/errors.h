// SPDX-License-Identifier: ISC
// The ways in which the command ends badly. main() turns each into one line on stderr and an exit
// status; everything below it throws.
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace quellard {

// The command line, or a value on it or in an automation file, makes no sense: exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file, the disk or the plug-in does not do what was asked of it: exit status 1.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What an errno value means: "No space left on device". Any thread, unlike strerror.
inline std::string systemMessage(int error) { return std::generic_category().message(error); }

// SIGINT or SIGTERM arrived. The command cleans up, then dies of that signal.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted") {}
};

}  // namespace quellard

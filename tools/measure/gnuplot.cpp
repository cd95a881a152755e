// SPDX-License-Identifier: ISC
#include "tools/measure/gnuplot.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/common/errors.h"
#include "tools/common/interrupt.h"

#if defined(__APPLE__)
extern char** environ;
#endif

namespace quellard {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void fail(const char* what, int error) {
  throw FileError(fmt::format("{}: {}", what, systemMessage(error)));
}

// A file without a name, which disappears when it is closed.
File scriptFile(const std::string& script) {
  File file(std::tmpfile());
  if (file == nullptr) fail("cannot make a temporary file", errno);
  std::fwrite(script.data(), 1, script.size(), file.get());
  if (std::fflush(file.get()) != 0) fail("cannot write a temporary file", errno);
  if (std::fseek(file.get(), 0, SEEK_SET) != 0) fail("cannot read a temporary file", errno);
  return file;
}

[[noreturn]] void failWithoutGnuplot() {
  throw FileError("cannot draw: the program gnuplot is missing (apt-get install gnuplot-nox)");
}

pid_t spawnGnuplot(int input, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::array<char, 8> name = {"gnuplot"};
  std::array<char*, 2> arguments = {name.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawnp(&child, name.data(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error == ENOENT) failWithoutGnuplot();
  if (error != 0) fail("cannot run gnuplot", error);
  return child;
}

void copyAll(std::FILE* from, OutputFile& to) {
  std::array<char, 65536> buffer = {};
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), from)) {
    to.write(buffer.data(), static_cast<std::int64_t>(got));
  }
}

}  // namespace

void runGnuplot(const std::string& script, OutputFile& picture) {
  const File input = scriptFile(script);
  std::array<int, 2> ends = {};
  if (pipe(ends.data()) != 0) fail("cannot run gnuplot", errno);
  for (int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
  const File readEnd(fdopen(ends[0], "rb"));
  File writeEnd(fdopen(ends[1], "wb"));
  const pid_t child = spawnGnuplot(fileno(input.get()), ends[1]);
  writeEnd.reset();  // otherwise reading would not end with gnuplot's output
  copyAll(readEnd.get(), picture);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  throwIfInterrupted();
  // What a child ends with that found no program, where no error comes back, as under an emulator.
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) failWithoutGnuplot();
  if (status != 0 || picture.size() == 0) throw FileError("gnuplot could not draw the picture");
}

}  // namespace quellard

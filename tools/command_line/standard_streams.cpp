// SPDX-License-Identifier: ISC
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "tools/command_line/command_line.h"

namespace quellard {

void holdStandardStreams() {
  // Reading for output and writing for input, so that using the stream is an error.
  for (const auto& [number, mode] :
       {std::pair(STDIN_FILENO, O_WRONLY), std::pair(STDOUT_FILENO, O_RDONLY),
        std::pair(STDERR_FILENO, O_WRONLY)}) {
    if (fcntl(number, F_GETFD) >= 0) continue;
    const int opened = open("/dev/null", mode);
    if (opened >= 0 && opened != number) close(opened);
  }
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/common/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>
#include <utility>

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

bool isTerminal(int descriptor) { return isatty(descriptor) != 0; }

}  // namespace quellard

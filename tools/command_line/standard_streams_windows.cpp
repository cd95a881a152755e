// SPDX-License-Identifier: ISC
// Texts are UTF-8 on the console as elsewhere, and their lines end as everywhere else.
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "tools/command_line/command_line.h"

namespace quellard {
namespace {

UINT codePageBefore = 0;

void restoreCodePage() { SetConsoleOutputCP(codePageBefore); }

}  // namespace

// A console keeps its setting after the program's end.
void holdStandardStreams() {
  codePageBefore = GetConsoleOutputCP();
  if (codePageBefore != 0 && SetConsoleOutputCP(CP_UTF8) != 0) std::atexit(restoreCodePage);
  for (std::FILE* const stream : {stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
}

}  // namespace quellard

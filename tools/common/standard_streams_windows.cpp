// SPDX-License-Identifier: ISC
// Texts are UTF-8 on the console as elsewhere, and their lines end as everywhere else.
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <io.h>
#include <windows.h>

#include "tools/common/standard_streams.h"

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

// The C library takes the device NUL for one, too.
bool isTerminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != 0;
}

}  // namespace quellard

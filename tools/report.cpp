// SPDX-License-Identifier: ISC
#include "tools/report.h"

#include <fmt/format.h>

#include "tools/command_line/command_line.h"
#include "tools/common/errors.h"

namespace quellard {

int report(const std::string& message, int status) {
  const std::string line = fmt::format("quellard: {}\n", oneLine(message));
  std::fwrite(line.data(), 1, line.size(), stderr);
  return status;
}

void print(const std::string& text, std::FILE* to) {
  if (to == stdout) return printOut(text);
  std::fwrite(text.data(), 1, text.size(), to);
}

}  // namespace quellard

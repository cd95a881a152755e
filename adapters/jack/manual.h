// SPDX-License-Identifier: ISC
// The texts of quellard-jack's manual page beside its options.
#pragma once

#include "tools/command_line/program_pages.h"

namespace quellard {

ManualTexts jackManual();

}  // namespace quellard

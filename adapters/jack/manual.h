// SPDX-License-Identifier: ISC
// What the manual page of quellard-jack says beside its options.
#pragma once

#include "tools/program_pages.h"

namespace quellard {

ManualTexts jackManual();

}  // namespace quellard

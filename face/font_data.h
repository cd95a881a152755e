// SPDX-License-Identifier: ISC
// The font files, as the build cuts them to the letters that are needed.
#pragma once

#include "face/font.h"

namespace quellard {

const unsigned char* fontData(FontFace face);

}  // namespace quellard

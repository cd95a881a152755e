// SPDX-License-Identifier: ISC
// A picture as the bytes of a PNG file: by libpng, on Windows by the system's own encoder.
#pragma once

#include <string>

#include "face/picture.h"

namespace quellard {

// Empty where it fails.
std::string encodedPng(const Picture& picture);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The library that reads the font, compiled once.
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb/stb_truetype.h>

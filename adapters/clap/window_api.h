// SPDX-License-Identifier: ISC
// CLAP's name for the window system of this build.
#pragma once

#include <clap/ext/gui.h>

namespace quellard {

#if defined(_WIN32)
inline constexpr const char* kClapWindowApi = CLAP_WINDOW_API_WIN32;
#else
inline constexpr const char* kClapWindowApi = CLAP_WINDOW_API_X11;
#endif

}  // namespace quellard

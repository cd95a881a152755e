// SPDX-License-Identifier: ISC
// What the options of a render may be at most.
#pragma once

namespace quellard {

inline constexpr int kLongestBlock = 1 << 20;  // frames
inline constexpr int kMostChannels = 1024;     // of the audio, as in files
inline constexpr int kMostThreads = 256;       // renders at the same time
inline constexpr double kLongestTail_s = 24 * 3600;

}  // namespace quellard

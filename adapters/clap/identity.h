// SPDX-License-Identifier: ISC
// The ids that CLAP hosts store in projects. They never change.
#pragma once

namespace quellard {

inline constexpr char kClapMonoId[] = "org.quellard.amplifier";
inline constexpr char kClapStereoId[] = "org.quellard.amplifier-stereo";
inline constexpr char kClapVendor[] = "Quellard";

}  // namespace quellard

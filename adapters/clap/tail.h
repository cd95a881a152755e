// SPDX-License-Identifier: ISC
// CLAP's tail extension: how long the output goes on after the input has fallen silent. The CLAP
// headers in Debian's dpf-source lack it, so its table is declared here.
#pragma once

#include <clap/plugin.h>

namespace quellard {

inline constexpr char kTailExtension[] = "clap.tail";

struct ClapTail {
  // In frames at the active rate. [main thread, audio thread]
  std::uint32_t(CLAP_ABI* get)(const clap_plugin_t* plugin);
};

extern const ClapTail kClapTail;

}  // namespace quellard

// SPDX-License-Identifier: ISC
// How long the amplifier sounds on after its input has fallen silent. The tail extension is a
// published part of CLAP that the headers of Debian's dpf-source leave out; its table is declared
// here.
#pragma once

#include <clap/plugin.h>

namespace quellard {

inline constexpr char kTailExtension[] = "clap.tail";

struct ClapTail {
  // In samples at the active rate. [main thread, audio thread]
  std::uint32_t(CLAP_ABI* get)(const clap_plugin_t* plugin);
};

extern const ClapTail kClapTail;

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Audio ports (one input and one output with a channel for each side), latency and tail.
#include "adapters/clap/clap_plugin.h"
#include "adapters/clap/tail.h"
#include "params/parameter_text.h"

namespace quellard {
namespace {

// Input and output may be the same buffer, and may have different precisions.
bool getPort(const clap_plugin_t* plugin, std::uint32_t index, bool isInput,
             clap_audio_port_info_t* info) {
  if (index != 0 || info == nullptr) return false;
  const int sides = ClapPlugin::of(plugin).amp.sides();
  *info = {};
  copyText(info->name, isInput ? "Guitar" : "Amplifier", CLAP_NAME_SIZE - 1);
  info->flags =
      CLAP_AUDIO_PORT_IS_MAIN | CLAP_AUDIO_PORT_SUPPORTS_64BITS | CLAP_AUDIO_PORT_PREFERS_64BITS;
  info->channel_count = static_cast<std::uint32_t>(sides);
  info->port_type = sides == HostedAmp::kMono ? CLAP_PORT_MONO : CLAP_PORT_STEREO;
  info->in_place_pair = info->id;
  return true;
}

}  // namespace

constexpr clap_plugin_audio_ports_t kClapAudioPorts = {
    .count = [](const clap_plugin_t*, bool /*isInput*/) { return std::uint32_t{1}; },
    .get = getPort,
};

constexpr clap_plugin_latency_t kClapLatency = {
    .get = [](const clap_plugin_t*) { return std::uint32_t{0}; },
};

constexpr ClapTail kClapTail = {
    .get =
        [](const clap_plugin_t* plugin) {
          return HostedAmp::tailFrames(ClapPlugin::of(plugin).amp.rate());
        },
};

}  // namespace quellard

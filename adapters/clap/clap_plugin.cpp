// SPDX-License-Identifier: ISC
#include "adapters/clap/clap_plugin.h"

#include <cstring>
#include <limits>
#include <memory>

#include "adapters/clap/gui.h"
#include "adapters/clap/presets.h"
#include "adapters/clap/tail.h"
#include "adapters/shared/event_split.h"

namespace quellard {
namespace {

constexpr std::uint32_t kMostFrames = std::numeric_limits<std::int32_t>::max();

AudioChannels channelsOf(const clap_audio_buffer_t* ports, std::uint32_t count) {
  if (ports == nullptr || count == 0) return {};
  return {.floats = ports->data32,
          .doubles = ports->data64,
          .count = static_cast<int>(ports->channel_count)};
}

void playBlock(HostedAmp& amp, const clap_process_t& block) {
  const AudioChannels in = channelsOf(block.audio_inputs, block.audio_inputs_count);
  const AudioChannels out = channelsOf(block.audio_outputs, block.audio_outputs_count);
  const clap_input_events_t* events = block.in_events;
  const auto timeOf = [&](std::uint32_t i) -> std::optional<std::uint32_t> {
    const clap_event_header_t* event = events->get(events, i);
    if (!isParameterEvent(event)) return std::nullopt;
    return event->time;
  };
  const auto apply = [&](std::uint32_t i) { applyEvent(amp, *events->get(events, i)); };
  const auto play = [&](std::uint32_t begin, std::uint32_t end) {
    amp.play(in, out, static_cast<int>(begin), static_cast<int>(end));
  };
  splitAtEvents(block.frames_count, events != nullptr ? events->size(events) : 0, timeOf, apply,
                play);
}

}  // namespace

const clap_plugin_t* ClapPlugin::create(const clap_host_t* host, const ClapVariant& variant) {
  std::unique_ptr<ClapPlugin> plugin(new ClapPlugin(host, variant));
  return &plugin.release()->plugin_;
}

// A window that is still open calls the host, which may call the plug-in: both while it is whole.
ClapPlugin::~ClapPlugin() { gui.reset(); }

ClapPlugin& ClapPlugin::of(const clap_plugin_t* plugin) {
  return *static_cast<ClapPlugin*>(plugin->plugin_data);
}

ClapPlugin::ClapPlugin(const clap_host_t* clapHost, const ClapVariant& variant)
    : amp(variant.sides), host(clapHost), plugin_{} {
  plugin_.desc = &variant.descriptor;
  plugin_.plugin_data = this;
  plugin_.init = [](const clap_plugin_t*) { return true; };
  plugin_.destroy = [](const clap_plugin_t* plugin) {
    const std::unique_ptr<ClapPlugin> last(&of(plugin));
  };
  plugin_.activate = activate;
  plugin_.deactivate = [](const clap_plugin_t* plugin) { of(plugin).active_ = false; };
  plugin_.start_processing = [](const clap_plugin_t* plugin) { return of(plugin).active_; };
  plugin_.stop_processing = [](const clap_plugin_t*) {};
  plugin_.reset = [](const clap_plugin_t* plugin) { of(plugin).amp.reset(); };
  plugin_.process = process;
  plugin_.get_extension = extension;
  plugin_.on_main_thread = [](const clap_plugin_t*) {};
}

// prepare() builds new effects, so that audio starts from silence.
bool ClapPlugin::activate(const clap_plugin_t* plugin, double rate, std::uint32_t /*minFrames*/,
                          std::uint32_t maxFrames) try {
  if (maxFrames > kMostFrames) return false;
  ClapPlugin& self = of(plugin);
  self.active_ = self.amp.prepare(rate, static_cast<int>(maxFrames));
  return self.active_;
} catch (...) {
  return false;
}

clap_process_status ClapPlugin::process(const clap_plugin_t* plugin, const clap_process_t* block) {
  ClapPlugin& self = of(plugin);
  if (!self.active_ || block == nullptr || block->frames_count > kMostFrames) {
    return CLAP_PROCESS_ERROR;
  }
  sendMoves(self.handMoves, block->out_events);
  playBlock(self.amp, *block);
  if (block->audio_outputs != nullptr && block->audio_outputs_count > 0) {
    block->audio_outputs->constant_mask = 0;
  }
  // The host may stop processing when the output is quiet. While bypassed, the output does not show
  // whether the amplifier is: it has to decay first, or its last note would be heard when the
  // bypass is released.
  return self.amp.bypassed() ? CLAP_PROCESS_TAIL : CLAP_PROCESS_CONTINUE_IF_NOT_QUIET;
}

const void* ClapPlugin::extension(const clap_plugin_t*, const char* id) {
  struct Offer {
    const char* id;
    const void* table;
  };
  static constexpr std::array kOffers = {
      Offer{CLAP_EXT_PARAMS, &kClapParams},      Offer{CLAP_EXT_AUDIO_PORTS, &kClapAudioPorts},
      Offer{CLAP_EXT_LATENCY, &kClapLatency},    Offer{CLAP_EXT_STATE, &kClapState},
      Offer{kTailExtension, &kClapTail},         Offer{kPresetLoadExtension, &kClapPresetLoad},
      Offer{kPresetLoadDraft, &kClapPresetLoad},
  };
  if (id == nullptr) return nullptr;
  for (const Offer& offer : kOffers) {
    if (std::strcmp(id, offer.id) == 0) return offer.table;
  }
  return clapGuiExtension(id);
}

void ClapPlugin::reportMovedValues() const {
  const auto* params = hostExtension<clap_host_params_t>(CLAP_EXT_PARAMS);
  if (params != nullptr && params->rescan != nullptr) {
    params->rescan(host, CLAP_PARAM_RESCAN_VALUES);
  }
}

void ClapPlugin::askForFlush() const {
  const auto* params = hostExtension<clap_host_params_t>(CLAP_EXT_PARAMS);
  if (params != nullptr && params->request_flush != nullptr) params->request_flush(host);
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// VST3's component: one input and one output bus with a channel for each side, and activation.
#include "adapters/vst3/vst3_plugin.h"
#include "adapters/vst3/wide_text.h"

namespace quellard {
namespace {

bool isBus(std::int32_t media, std::int32_t direction, std::int32_t bus) {
  return media == V3_AUDIO && (direction == V3_INPUT || direction == V3_OUTPUT) && bus == 0;
}

// The controller is the component itself.
v3_result getControllerClass(void*, v3_tuid) { return V3_NOT_IMPLEMENTED; }

v3_result setIoMode(void*, std::int32_t) { return V3_NOT_IMPLEMENTED; }

std::int32_t getBusCount(void*, std::int32_t media, std::int32_t direction) {
  return isBus(media, direction, 0) ? 1 : 0;
}

v3_result getBusInfo(void* self, std::int32_t media, std::int32_t direction, std::int32_t bus,
                     v3_bus_info* info) {
  if (!isBus(media, direction, bus) || info == nullptr) return V3_INVALID_ARG;
  *info = {};
  info->media_type = media;
  info->direction = direction;
  info->channel_count = Vst3Plugin::of(self).amp.sides();
  writeWide(info->bus_name, direction == V3_INPUT ? "Guitar" : "Amplifier");
  info->bus_type = V3_MAIN;
  info->flags = V3_DEFAULT_ACTIVE;
  return V3_OK;
}

// Every input channel leads to the output channel of the same number.
v3_result getRouting(void*, v3_routing_info* input, v3_routing_info* output) {
  if (input == nullptr || output == nullptr) return V3_INVALID_ARG;
  if (!isBus(input->media_type, V3_INPUT, input->bus_idx)) return V3_INVALID_ARG;
  *output = *input;
  return V3_OK;
}

// Nothing to do: an inactive bus has no buffers, which reads as silence.
v3_result activateBus(void*, std::int32_t media, std::int32_t direction, std::int32_t bus,
                      v3_bool /*state*/) {
  return isBus(media, direction, bus) ? V3_OK : V3_INVALID_ARG;
}

// prepare() builds new effects, so that audio starts from silence.
v3_result setActive(void* self, v3_bool state) try {
  Vst3Plugin& plugin = Vst3Plugin::of(self);
  if (state == 0) plugin.active = false;
  if (state == 0 || plugin.active) return V3_OK;
  if (!plugin.amp.prepare(plugin.setup.sample_rate, plugin.setup.max_block_size)) {
    return V3_NOT_INITIALIZED;
  }
  plugin.active = true;
  return V3_OK;
} catch (...) {
  return V3_NOMEM;
}

}  // namespace

// In the order of v3_component.
constexpr v3_component_cpp kVst3Component = {
    kVst3Unknown<Vst3Plugin>,
    kVst3Base,
    {getControllerClass, setIoMode, getBusCount, getBusInfo, getRouting, activateBus, setActive,
     loadState, saveState},
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The functions that LV2 hosts call.
#include <cstring>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <memory>

#include "adapters/lv2/lv2_plugin.h"

namespace quellard {
namespace {

// Null where the host does not offer the feature.
template <typename Data>
const Data* findFeature(const LV2_Feature* const* features, const char* uri) {
  for (; features != nullptr && *features != nullptr; ++features) {
    if (std::strcmp((*features)->URI, uri) == 0) return static_cast<const Data*>((*features)->data);
  }
  return nullptr;
}

// The longest block that the host announces, in frames.
int longestBlock(const LV2_Feature* const* features) {
  const auto* map = findFeature<LV2_URID_Map>(features, LV2_URID__map);
  const auto* option = findFeature<LV2_Options_Option>(features, LV2_OPTIONS__options);
  if (map == nullptr || option == nullptr) return Lv2Plugin::kUnannouncedFrames;
  const LV2_URID length = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
  const LV2_URID integer = map->map(map->handle, LV2_ATOM__Int);
  for (; option->key != 0; ++option) {
    if (option->key != length || option->type != integer || option->value == nullptr) continue;
    const auto frames = *static_cast<const std::int32_t*>(option->value);
    if (frames > 0) return frames;
  }
  return Lv2Plugin::kUnannouncedFrames;
}

// Hosts may be written in C, so no exception may leave this function.
template <std::size_t kVariant>
LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char*,
                       const LV2_Feature* const* features) try {
  return std::make_unique<Lv2Plugin>(kLv2Variants[kVariant], rate, longestBlock(features))
      .release();
} catch (...) {
  return nullptr;
}

Lv2Plugin& of(LV2_Handle handle) { return *static_cast<Lv2Plugin*>(handle); }

template <std::size_t kVariant>
constexpr LV2_Descriptor kDescriptor = {
    .URI = kLv2Variants[kVariant].uri,
    .instantiate = instantiate<kVariant>,
    .connect_port = [](LV2_Handle plugin, std::uint32_t port,
                       void* data) { of(plugin).connect(port, data); },
    .activate = [](LV2_Handle plugin) { of(plugin).activate(); },
    .run = [](LV2_Handle plugin, std::uint32_t frames) { of(plugin).run(frames); },
    .deactivate = nullptr,
    .cleanup = [](LV2_Handle plugin) { const std::unique_ptr<Lv2Plugin> last(&of(plugin)); },
    .extension_data = nullptr,
};

}  // namespace
}  // namespace quellard

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
  if (index == 0) return &quellard::kDescriptor<0>;
  if (index == 1) return &quellard::kDescriptor<1>;
  return nullptr;
}

// SPDX-License-Identifier: ISC
// The functions that LV2 hosts call.
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <memory>

#include "adapters/lv2/features.h"
#include "adapters/lv2/lv2_plugin.h"

namespace quellard {
namespace {

// The longest block that the host announces, in frames.
int longestBlock(const LV2_Feature* const* features) {
  const auto* frames =
      findOption<std::int32_t>(features, LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int);
  return frames != nullptr && *frames > 0 ? *frames : Lv2Plugin::kUnannouncedFrames;
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

// SPDX-License-Identifier: ISC
// The module's entry: a factory for the mono and the stereo plug-in, and one for presets.
#include <array>
#include <cstring>

#include "adapters/clap/clap_plugin.h"
#include "adapters/clap/identity.h"
#include "adapters/clap/presets.h"

namespace quellard {
namespace {

std::array kMonoFeatures = {CLAP_PLUGIN_FEATURE_AUDIO_EFFECT, CLAP_PLUGIN_FEATURE_DISTORTION,
                            CLAP_PLUGIN_FEATURE_MONO, static_cast<const char*>(nullptr)};
std::array kStereoFeatures = {CLAP_PLUGIN_FEATURE_AUDIO_EFFECT, CLAP_PLUGIN_FEATURE_DISTORTION,
                              CLAP_PLUGIN_FEATURE_STEREO, static_cast<const char*>(nullptr)};

ClapVariant variant(int sides, const char* id, const char* name, const char* description,
                    const char** features) {
  return {.descriptor = {.clap_version = CLAP_VERSION,
                         .id = id,
                         .name = name,
                         .vendor = kClapVendor,
                         .url = "",
                         .manual_url = "",
                         .support_url = "",
                         .version = QUELLARD_VERSION,
                         .description = description,
                         .features = features},
          .sides = sides};
}

const std::array kVariants = {
    variant(HostedAmp::kMono, kClapMonoId, "Quellard", "Three-channel guitar amplifier",
            kMonoFeatures.data()),
    variant(HostedAmp::kStereo, kClapStereoId, "Quellard Stereo",
            "Three-channel guitar amplifier, one for each side", kStereoFeatures.data()),
};

const clap_plugin_descriptor_t* descriptorAt(const clap_plugin_factory_t*, std::uint32_t index) {
  return index < kVariants.size() ? &kVariants[index].descriptor : nullptr;
}

const clap_plugin_t* createPlugin(const clap_plugin_factory_t*, const clap_host_t* host,
                                  const char* id) try {
  if (host == nullptr || id == nullptr || !clap_version_is_compatible(host->clap_version)) {
    return nullptr;
  }
  for (const ClapVariant& variant : kVariants) {
    if (std::strcmp(id, variant.descriptor.id) == 0) return ClapPlugin::create(host, variant);
  }
  return nullptr;
} catch (...) {
  return nullptr;
}

constexpr clap_plugin_factory_t kPluginFactory = {
    .get_plugin_count =
        [](const clap_plugin_factory_t*) { return static_cast<std::uint32_t>(kVariants.size()); },
    .get_plugin_descriptor = descriptorAt,
    .create_plugin = createPlugin,
};

const void* factory(const char* id) {
  if (id == nullptr) return nullptr;
  if (std::strcmp(id, CLAP_PLUGIN_FACTORY_ID) == 0) return &kPluginFactory;
  const bool presets =
      std::strcmp(id, kPresetDiscovery) == 0 || std::strcmp(id, kPresetDiscoveryDraft) == 0;
  return presets ? &kClapPresetFactory : nullptr;
}

}  // namespace
}  // namespace quellard

extern "C" CLAP_EXPORT const clap_plugin_entry_t clap_entry = {
    .clap_version = CLAP_VERSION,
    .init = [](const char* /*path*/) { return true; },
    .deinit = [] {},
    .get_factory = quellard::factory,
};

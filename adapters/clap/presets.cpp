// SPDX-License-Identifier: ISC
#include "adapters/clap/presets.h"

#include <cstring>
#include <memory>

#include "adapters/clap/clap_plugin.h"
#include "adapters/clap/identity.h"
#include "params/sizes.h"

namespace quellard {
namespace {

bool sameText(const char* a, const char* b) { return a != nullptr && std::strcmp(a, b) == 0; }

const ClapHostPresetLoad* hostPresetLoad(const ClapPlugin& plugin) {
  const auto* table = plugin.hostExtension<ClapHostPresetLoad>(kPresetLoadExtension);
  return table != nullptr ? table : plugin.hostExtension<ClapHostPresetLoad>(kPresetLoadDraft);
}

bool loadPreset(const clap_plugin_t* plugin, std::uint32_t kind, const char* location,
                const char* loadKey) {
  ClapPlugin& self = ClapPlugin::of(plugin);
  const ClapHostPresetLoad* host = hostPresetLoad(self);
  const FactoryPreset* preset =
      kind == kPresetInPlugin && loadKey != nullptr ? findFactoryPreset(loadKey) : nullptr;
  if (preset == nullptr) {
    if (host != nullptr && host->onError != nullptr) {
      host->onError(self.host, kind, location, loadKey, 0, "not in the factory bank");
    }
    return false;
  }
  self.amp.setValues(presetValues(*preset));
  self.shownPreset = 1 + static_cast<int>(preset - kFactoryBank.data());  // behind "Init"
  self.reportMovedValues();
  if (host != nullptr && host->loaded != nullptr) {
    host->loaded(self.host, kind, location, loadKey);
  }
  return true;
}

constexpr ClapPresetProviderDescriptor kDescriptor = {
    .version = CLAP_VERSION,
    .id = "org.quellard.factory-bank",
    .name = "Quellard factory bank",
    .vendor = kClapVendor,
};

constexpr ClapPresetLocation kBankLocation = {
    .flags = kPresetIsFactoryContent,
    .name = "Factory bank",
    .kind = kPresetInPlugin,
    .location = nullptr,
};

// Keywords for the host's browser; CLAP's own are in lower case.
constexpr std::array<const char*, kNumChannels> kFeatures = {"clean", "vintage", "modern"};

void describe(const FactoryPreset& preset, const ClapPresetReceiver& to) {
  for (const char* id : {kClapMonoId, kClapStereoId}) {
    const ClapPresetPluginId plugin = {.abi = "clap", .id = id};
    to.addPluginId(&to, &plugin);
  }
  to.setFlags(&to, kPresetIsFactoryContent);
  to.addCreator(&to, kClapVendor);
  to.setDescription(&to, preset.description);
  to.addFeature(&to, at(kFeatures, preset.channel));
}

bool listBank(const ClapPresetProvider*, std::uint32_t kind, const char* /*location*/,
              const ClapPresetReceiver* receiver) {
  if (kind != kPresetInPlugin || receiver == nullptr) return false;
  for (const FactoryPreset& preset : kFactoryBank) {
    if (!receiver->beginPreset(receiver, preset.name, preset.name)) break;
    describe(preset, *receiver);
  }
  return true;
}

// The preset provider of one indexer, the host's object to which the bank is declared.
struct Provider {
  explicit Provider(const ClapPresetIndexer* indexer)
      : table{.descriptor = &kDescriptor,
              .data = this,
              .init = init,
              .destroy = destroy,
              .metadata = listBank,
              .extension = [](const ClapPresetProvider*, const char*) -> const void* {
                return nullptr;
              }},
        host(indexer) {}

  static Provider* of(const ClapPresetProvider* provider) {
    return static_cast<Provider*>(provider->data);
  }
  static bool init(const ClapPresetProvider* provider) {
    const ClapPresetIndexer* host = of(provider)->host;
    return host->declareLocation(host, &kBankLocation);
  }
  static void destroy(const ClapPresetProvider* provider) {
    const std::unique_ptr<Provider> last(of(provider));
  }

  ClapPresetProvider table;
  const ClapPresetIndexer* host;
};

const ClapPresetProvider* createProvider(const ClapPresetFactory*, const ClapPresetIndexer* indexer,
                                         const char* id) try {
  if (indexer == nullptr || !sameText(id, kDescriptor.id)) return nullptr;
  auto provider = std::make_unique<Provider>(indexer);
  return &provider.release()->table;
} catch (...) {
  return nullptr;
}

}  // namespace

void reportPreset(const ClapPlugin& plugin, const FactoryPreset& preset) {
  const ClapHostPresetLoad* host = hostPresetLoad(plugin);
  if (host != nullptr && host->loaded != nullptr) {
    host->loaded(plugin.host, kPresetInPlugin, nullptr, preset.name);
  }
}

constexpr ClapPresetLoad kClapPresetLoad = {.fromLocation = loadPreset};

constexpr ClapPresetFactory kClapPresetFactory = {
    .count = [](const ClapPresetFactory*) { return std::uint32_t{1}; },
    .descriptor = [](const ClapPresetFactory*, std::uint32_t index)
        -> const ClapPresetProviderDescriptor* { return index == 0 ? &kDescriptor : nullptr; },
    .create = createProvider,
};

}  // namespace quellard

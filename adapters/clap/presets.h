// SPDX-License-Identifier: ISC
// The factory bank for CLAP's preset discovery and preset loading. The CLAP headers in Debian's
// dpf-source lack these two parts, so their tables are declared here, as far as the plug-in needs
// them. The order of the members is that of CLAP's interface.
#pragma once

#include <clap/plugin.h>

#include "params/factory_bank.h"

namespace quellard {

class ClapPlugin;

// Both parts were first published as drafts with the same tables, and hosts still ask for those
// names.
inline constexpr char kPresetLoadExtension[] = "clap.preset-load/2";
inline constexpr char kPresetLoadDraft[] = "clap.preset-load.draft/2";
inline constexpr char kPresetDiscovery[] = "clap.preset-discovery-factory/2";
inline constexpr char kPresetDiscoveryDraft[] = "clap.preset-discovery-factory/draft-2";

// Where a preset is stored: in a file, or in the plug-in, which has no location string.
enum PresetLocationKind : std::uint32_t { kPresetInFile = 0, kPresetInPlugin = 1 };
enum PresetFlags : std::uint32_t { kPresetIsFactoryContent = 1U << 0 };

struct ClapPresetLoad {
  // loadKey: the preset at the location; here its name. [main thread]
  bool(CLAP_ABI* fromLocation)(const clap_plugin_t* plugin, std::uint32_t kind,
                               const char* location, const char* loadKey);
};

// The host's part of the same extension.
struct ClapHostPresetLoad {
  void(CLAP_ABI* onError)(const clap_host_t* host, std::uint32_t kind, const char* location,
                          const char* loadKey, std::int32_t osError, const char* message);
  void(CLAP_ABI* loaded)(const clap_host_t* host, std::uint32_t kind, const char* location,
                         const char* loadKey);
};

struct ClapPresetPluginId {
  const char* abi;
  const char* id;
};

// The host's object that a provider describes its presets to.
struct ClapPresetReceiver {
  void* data;
  void(CLAP_ABI* onError)(const ClapPresetReceiver* receiver, std::int32_t osError,
                          const char* message);
  // False: the host wants no more presets.
  bool(CLAP_ABI* beginPreset)(const ClapPresetReceiver* receiver, const char* name,
                              const char* loadKey);
  void(CLAP_ABI* addPluginId)(const ClapPresetReceiver* receiver, const ClapPresetPluginId* id);
  void(CLAP_ABI* setSoundpackId)(const ClapPresetReceiver* receiver, const char* id);
  void(CLAP_ABI* setFlags)(const ClapPresetReceiver* receiver, std::uint32_t flags);
  void(CLAP_ABI* addCreator)(const ClapPresetReceiver* receiver, const char* creator);
  void(CLAP_ABI* setDescription)(const ClapPresetReceiver* receiver, const char* description);
  void(CLAP_ABI* setTimestamps)(const ClapPresetReceiver* receiver, std::uint64_t created,
                                std::uint64_t modified);
  void(CLAP_ABI* addFeature)(const ClapPresetReceiver* receiver, const char* feature);
  void(CLAP_ABI* addExtraInfo)(const ClapPresetReceiver* receiver, const char* key,
                               const char* value);
};

struct ClapPresetLocation {
  std::uint32_t flags;
  const char* name;
  std::uint32_t kind;
  const char* location;
};

struct ClapPresetIndexer {
  clap_version_t version;
  const char* name;
  const char* vendor;
  const char* url;
  const char* hostVersion;
  void* data;
  bool(CLAP_ABI* declareFiletype)(const ClapPresetIndexer* indexer, const void* filetype);
  bool(CLAP_ABI* declareLocation)(const ClapPresetIndexer* indexer,
                                  const ClapPresetLocation* location);
  bool(CLAP_ABI* declareSoundpack)(const ClapPresetIndexer* indexer, const void* soundpack);
  const void*(CLAP_ABI* extension)(const ClapPresetIndexer* indexer, const char* id);
};

struct ClapPresetProviderDescriptor {
  clap_version_t version;
  const char* id;
  const char* name;
  const char* vendor;
};

struct ClapPresetProvider {
  const ClapPresetProviderDescriptor* descriptor;
  void* data;
  bool(CLAP_ABI* init)(const ClapPresetProvider* provider);
  void(CLAP_ABI* destroy)(const ClapPresetProvider* provider);
  bool(CLAP_ABI* metadata)(const ClapPresetProvider* provider, std::uint32_t kind,
                           const char* location, const ClapPresetReceiver* receiver);
  const void*(CLAP_ABI* extension)(const ClapPresetProvider* provider, const char* id);
};

struct ClapPresetFactory {
  std::uint32_t(CLAP_ABI* count)(const ClapPresetFactory* factory);
  const ClapPresetProviderDescriptor*(CLAP_ABI* descriptor)(const ClapPresetFactory* factory,
                                                            std::uint32_t index);
  const ClapPresetProvider*(CLAP_ABI* create)(const ClapPresetFactory* factory,
                                              const ClapPresetIndexer* indexer, const char* id);
};

// Tells the host that the plug-in's window has loaded this preset. [main thread]
void reportPreset(const ClapPlugin& plugin, const FactoryPreset& preset);

extern const ClapPresetLoad kClapPresetLoad;
extern const ClapPresetFactory kClapPresetFactory;

}  // namespace quellard

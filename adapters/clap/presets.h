// SPDX-License-Identifier: ISC
// The factory bank as CLAP hosts browse and load it. Preset discovery and preset loading are
// published parts of CLAP that the headers of Debian's dpf-source leave out; their tables are
// declared here as far as the plug-in needs them, in the published order, since hosts know that.
#pragma once

#include <clap/plugin.h>

namespace quellard {

// Both parts were first published under a draft's name, which hosts still ask for; the tables are
// the same.
inline constexpr char kPresetLoadExtension[] = "clap.preset-load/2";
inline constexpr char kPresetLoadDraft[] = "clap.preset-load.draft/2";
inline constexpr char kPresetDiscovery[] = "clap.preset-discovery-factory/2";
inline constexpr char kPresetDiscoveryDraft[] = "clap.preset-discovery-factory/draft-2";

// Where a preset lives: in a file, or inside the plug-in, whose location has no name.
enum PresetLocationKind : std::uint32_t { kPresetInFile = 0, kPresetInPlugin = 1 };
enum PresetFlags : std::uint32_t { kPresetIsFactoryContent = 1U << 0 };

struct ClapPresetLoad {
  // loadKey: which of the presets at the location; here its name. [main thread]
  bool(CLAP_ABI* fromLocation)(const clap_plugin_t* plugin, std::uint32_t kind,
                               const char* location, const char* loadKey);
};

// The host's side, under the extension's names.
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

// What a provider tells about the presets at a location.
struct ClapPresetReceiver {
  void* data;
  void(CLAP_ABI* onError)(const ClapPresetReceiver* receiver, std::int32_t osError,
                          const char* message);
  // False: the host wants no more.
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

extern const ClapPresetLoad kClapPresetLoad;
extern const ClapPresetFactory kClapPresetFactory;

}  // namespace quellard

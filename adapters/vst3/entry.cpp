// SPDX-License-Identifier: ISC
// The module's entry: a factory for the mono and the stereo plug-in.
#include <array>
#include <cstring>
#include <travesty/factory.h>

#include "adapters/vst3/identity.h"
#include "adapters/vst3/vst3_plugin.h"
#include "adapters/vst3/wide_text.h"
#include "params/parameter_text.h"
#include "params/sizes.h"

namespace quellard {
namespace {

struct Vst3Class {
  const std::uint8_t* id;
  int sides;
  const char* name;
  const char* subCategories;
};

constexpr std::array kClasses = {
    Vst3Class{kVst3MonoClass, HostedAmp::kMono, "Quellard", "Fx|Distortion|Mono"},
    Vst3Class{kVst3StereoClass, HostedAmp::kStereo, "Quellard Stereo", "Fx|Distortion|Stereo"},
};

constexpr char kCategory[] = "Audio Module Class";
constexpr char kVst3Version[] = "VST 3.7";
constexpr std::int32_t kUnicode = 1 << 4;
constexpr std::int32_t kManyInstances = 0x7FFFFFFF;

template <std::size_t size>
void fill(char (&to)[size], const char* text) {
  copyText(to, text, int{size} - 1);
}

template <std::size_t size>
void fill(std::int16_t (&to)[size], const char* text) {
  writeWide(to, text, size);
}

const Vst3Class* classAt(std::int32_t index) {
  const bool isClass = index >= 0 && index < static_cast<std::int32_t>(kClasses.size());
  return isClass ? &at(kClasses, index) : nullptr;
}

// What the three records of a class have in common.
template <typename Info>
void describe(const Vst3Class& described, Info& info) {
  info = {};
  std::memcpy(info.class_id, described.id, sizeof(v3_tuid));
  info.cardinality = kManyInstances;
  fill(info.category, kCategory);
  fill(info.name, described.name);
}

// No flags: component and controller are one object, which no host can part.
template <typename Info>
void describeFully(const Vst3Class& described, Info& info) {
  describe(described, info);
  fill(info.sub_categories, described.subCategories);
  fill(info.vendor, kVst3Vendor);
  fill(info.version, QUELLARD_VERSION);
  fill(info.sdk_version, kVst3Version);
}

v3_result getFactoryInfo(void*, v3_factory_info* info) {
  if (info == nullptr) return V3_INVALID_ARG;
  *info = {};
  fill(info->vendor, kVst3Vendor);
  info->flags = kUnicode;
  return V3_OK;
}

std::int32_t countClasses(void*) { return static_cast<std::int32_t>(kClasses.size()); }

v3_result getClass(void*, std::int32_t index, v3_class_info* info) {
  const Vst3Class* found = classAt(index);
  if (found == nullptr || info == nullptr) return V3_INVALID_ARG;
  describe(*found, *info);
  return V3_OK;
}

template <typename Info>
v3_result getFullClass(void*, std::int32_t index, Info* info) {
  const Vst3Class* found = classAt(index);
  if (found == nullptr || info == nullptr) return V3_INVALID_ARG;
  describeFully(*found, *info);
  return V3_OK;
}

v3_result createInstance(void*, const v3_tuid classId, const v3_tuid interface, void** object) try {
  if (classId == nullptr || interface == nullptr || object == nullptr) return V3_INVALID_ARG;
  *object = nullptr;
  for (const Vst3Class& each : kClasses) {
    if (v3_tuid_match(classId, each.id)) return Vst3Plugin::create(each.sides, interface, object);
  }
  return V3_NO_INTERFACE;
} catch (...) {
  return V3_NOMEM;
}

v3_result query(void* self, const v3_tuid interface, void** object) {
  if (interface == nullptr || object == nullptr) return V3_INVALID_ARG;
  *object = nullptr;
  for (const std::uint8_t* offered :
       {v3_funknown_iid, v3_plugin_factory_iid, v3_plugin_factory_2_iid, v3_plugin_factory_3_iid}) {
    if (v3_tuid_match(interface, offered)) *object = self;
  }
  return *object != nullptr ? V3_OK : V3_NO_INTERFACE;
}

// There is one factory, as long as the module is loaded.
std::uint32_t keep(void*) { return 1; }

constexpr v3_plugin_factory_cpp kFactory = {
    {.query_interface = query, .ref = keep, .unref = keep},
    {.get_factory_info = getFactoryInfo,
     .num_classes = countClasses,
     .get_class_info = getClass,
     .create_instance = createInstance},
    {.get_class_info_2 = getFullClass<v3_class_info_2>},
    {.get_class_info_utf16 = getFullClass<v3_class_info_3>,
     .set_host_context = [](void*, v3_funknown**) -> v3_result { return V3_OK; }},
};

// The object that hosts get: a pointer to the table, and no state.
const void* factoryObject = &kFactory;

}  // namespace
}  // namespace quellard

extern "C" {

__attribute__((visibility("default"))) bool ModuleEntry(void* /*module*/) { return true; }
__attribute__((visibility("default"))) bool ModuleExit() { return true; }
__attribute__((visibility("default"))) v3_plugin_factory** GetPluginFactory() {
  return static_cast<v3_plugin_factory**>(static_cast<void*>(&quellard::factoryObject));
}

}  // extern "C"

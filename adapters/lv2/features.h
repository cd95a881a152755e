// SPDX-License-Identifier: ISC
// What an LV2 host offers to a new plug-in or window.
#pragma once

#include <cstring>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

namespace quellard {

// A feature's data; null where the host does not offer it, or offers no data with it.
template <typename Data>
const Data* findFeature(const LV2_Feature* const* features, const char* uri) {
  for (; features != nullptr && *features != nullptr; ++features) {
    if (std::strcmp((*features)->URI, uri) == 0) return static_cast<const Data*>((*features)->data);
  }
  return nullptr;
}

// The value of an option of this type; null where the host gives none.
template <typename Value>
const Value* findOption(const LV2_Feature* const* features, const char* keyUri,
                        const char* typeUri) {
  const auto* map = findFeature<LV2_URID_Map>(features, LV2_URID__map);
  const auto* option = findFeature<LV2_Options_Option>(features, LV2_OPTIONS__options);
  if (map == nullptr || option == nullptr) return nullptr;
  const LV2_URID key = map->map(map->handle, keyUri);
  const LV2_URID type = map->map(map->handle, typeUri);
  for (; option->key != 0; ++option) {
    if (option->key == key && option->type == type && option->value != nullptr) {
      return static_cast<const Value*>(option->value);
    }
  }
  return nullptr;
}

}  // namespace quellard

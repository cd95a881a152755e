// SPDX-License-Identifier: ISC
#include "shell/entry.h"

#include <memory>
#include <new>

#include "shell/quellard.h"

namespace quellard {
namespace {

// Null where the host or the effect fails, whatever the failure.
AEffect* createEffect(audioMasterCallback host) try {
  if (host == nullptr || host(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0) {
    return nullptr;
  }
  AudioEffect* effect = createPluginFilter(host);
  return effect != nullptr ? effect->getAeffect() : nullptr;
} catch (...) {
  return nullptr;
}

}  // namespace

// By new, since the callback of the record's dispatcher deletes it at effClose.
AudioEffect* createPluginFilter(audioMasterCallback host) {
  return new (std::nothrow) Quellard(host);
}

Orv_TypeIF* openInterface(audioMasterCallback host) {
  std::unique_ptr<Orv_TypeIF> interface(new (std::nothrow) Orv_TypeIF);
  if (interface == nullptr) return nullptr;
  AEffect* record = createEffect(host);
  if (record == nullptr) return nullptr;
  // The record leads to the effect, which effClose deletes. NOLINTNEXTLINE(*NewDeleteLeaks)
  interface->effect = static_cast<AudioEffect*>(record->object)->getAeffect();
  return interface.release();
}

}  // namespace quellard

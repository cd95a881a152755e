// SPDX-License-Identifier: ISC
// What the host of this amplifier knows beyond VST 2.4: the object that the entry hands out. The
// host releases it through its virtual destructor and reads the record from it, so its layout
// (one virtual table pointer, one pointer) is part of the interface.
#pragma once

#include "shell/vst2.h"

namespace quellard {

struct Orv_TypeIF {
  // Releases the interface object alone; the effect is closed through effClose, before or after.
  virtual ~Orv_TypeIF() = default;

  AEffect* effect = nullptr;
};
static_assert(sizeof(Orv_TypeIF) == 2 * sizeof(void*));

}  // namespace quellard

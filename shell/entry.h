// SPDX-License-Identifier: ISC
// Creates effects, as the entries of the module do.
#pragma once

#include "shell/orv_type.h"

namespace quellard {

// What the exported entries do: asks the host for its version and creates one effect. Null, with
// nothing left behind, where the host has no callback or no version, or where memory is short. The
// host releases the interface object through its destructor and the effect through effClose, in
// whichever order. Host's thread.
Orv_TypeIF* openInterface(audioMasterCallback host);

// Null where memory for the object is short; its constructor may throw std::bad_alloc.
AudioEffect* createPluginFilter(audioMasterCallback host);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The parameter-properties record as the host extension knows it: the published record and a
// trailer of two bytes. The virtual operation fills it whole; hosts that come through the
// dispatcher pass the published record alone and get just that.
#pragma once

#include "shell/vst2.h"

namespace quellard {

struct ExtendedParameterProperties {
  VstParameterProperties published;
  unsigned char trailer[2];  // the first byte is set to 1
};

inline constexpr std::size_t kExtendedPropertiesSize = 154;  // without the struct's padding
static_assert(offsetof(ExtendedParameterProperties, trailer) + 2 == kExtendedPropertiesSize);

}  // namespace quellard

// SPDX-License-Identifier: ISC
// A host whose callback records every call.
#pragma once

#include <tuple>
#include <vector>

#include "shell/vst2.h"

namespace quellard::test {

using HostCall = std::tuple<AEffect*, std::int32_t, std::int32_t, std::intptr_t, void*, float>;

inline std::vector<HostCall> hostCalls;
inline std::intptr_t hostVersion = kVstVersion;  // the answer to audioMasterVersion
inline std::intptr_t hostAnswer = 0;             // the answer to every other call

inline std::intptr_t recordingHost(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                   std::intptr_t value, void* ptr, float opt) {
  hostCalls.emplace_back(effect, opcode, index, value, ptr, opt);
  return opcode == audioMasterVersion ? hostVersion : hostAnswer;
}

}  // namespace quellard::test

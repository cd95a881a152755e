// SPDX-License-Identifier: ISC
#include "rig/rig_parameters.h"

namespace quellard {

Title hostedTitle(int index) {
  switch (index) {
    case kBypassParameter: return {"Bypass"};
    case kInputParameter: return {"Input"};
    case kGateParameter: return {"Gate"};
    case kOutputParameter: return {"Output"};
    default: return parameterTitle(index);
  }
}

}  // namespace quellard

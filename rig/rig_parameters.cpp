// SPDX-License-Identifier: ISC
#include "rig/rig_parameters.h"

#include <string_view>

namespace quellard {

Title hostedTitle(int index) {
  const RigParameterInfo* const info = rigParameterInfo(index);
  if (info == nullptr) return parameterTitle(index);
  Title title{};
  std::string_view(info->title).copy(title.data(), title.size() - 1);
  return title;
}

}  // namespace quellard

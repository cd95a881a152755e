// SPDX-License-Identifier: ISC
#include "adapters/shared/state.h"

#include <algorithm>

#include "adapters/vst3/vst3_plugin.h"

namespace quellard {

v3_result saveState(void* self, v3_bstream** stream) {
  if (stream == nullptr) return V3_INVALID_ARG;
  const auto write = [&](std::uint8_t* from, std::size_t size) -> std::int64_t {
    std::int32_t done = 0;
    const auto most = static_cast<std::int32_t>(size);
    const v3_result result = v3_cpp_obj(stream)->write(stream, from, most, &done);
    return result == V3_OK ? done : -1;
  };
  return writeState(Vst3Plugin::of(self).shownState(), write) ? V3_OK : V3_INTERNAL_ERR;
}

// At the end of a stream some hosts report 0 bytes and others an error, so both are the end.
v3_result loadState(void* self, v3_bstream** stream) {
  if (stream == nullptr) return V3_INVALID_ARG;
  const auto read = [&](std::uint8_t* to, std::size_t size) -> std::int64_t {
    std::int32_t got = 0;
    const auto most = static_cast<std::int32_t>(size);
    const v3_result result = v3_cpp_obj(stream)->read(stream, to, most, &got);
    return result == V3_OK ? std::min(got, most) : 0;
  };
  const std::optional<State> state = readState(read);
  if (!state.has_value()) return V3_FALSE;
  Vst3Plugin::of(self).load(*state);
  return V3_OK;
}

}  // namespace quellard

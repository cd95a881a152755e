// SPDX-License-Identifier: ISC
#include "adapters/shared/state.h"

#include <algorithm>

#include "adapters/vst3/vst3_plugin.h"

namespace quellard {
namespace {

using Transfer = v3_result(V3_API*)(void* self, void* bytes, std::int32_t size, std::int32_t* done);

// Calls read or write of a host's stream: how many bytes it has transferred, nothing where it
// fails.
std::optional<std::int32_t> transfer(Transfer function, v3_bstream** stream, std::uint8_t* bytes,
                                     std::size_t size) {
  std::int32_t done = 0;
  const auto most = static_cast<std::int32_t>(size);
  if (function(stream, bytes, most, &done) != V3_OK) return std::nullopt;
  return std::min(done, most);
}

}  // namespace

v3_result saveState(void* self, v3_bstream** stream) {
  if (stream == nullptr) return V3_INVALID_ARG;
  const auto write = [&](std::uint8_t* from, std::size_t size) -> std::int64_t {
    return transfer(v3_cpp_obj(stream)->write, stream, from, size).value_or(-1);
  };
  return writeState(Vst3Plugin::of(self).shownValues(), write) ? V3_OK : V3_INTERNAL_ERR;
}

// At the end of a stream some hosts report 0 bytes and others an error, so both are the end.
v3_result loadState(void* self, v3_bstream** stream) {
  if (stream == nullptr) return V3_INVALID_ARG;
  const auto read = [&](std::uint8_t* to, std::size_t size) -> std::int64_t {
    return transfer(v3_cpp_obj(stream)->read, stream, to, size).value_or(0);
  };
  const std::optional<HostedValues> values = readState(read);
  if (!values.has_value()) return V3_FALSE;
  Vst3Plugin::of(self).load(*values);
  return V3_OK;
}

}  // namespace quellard

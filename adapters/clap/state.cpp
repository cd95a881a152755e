// SPDX-License-Identifier: ISC
// A host's stream may take and give any number of bytes at a time.
#include "adapters/shared/state.h"

#include <array>

#include "adapters/clap/clap_plugin.h"

namespace quellard {
namespace {

bool save(const clap_plugin_t* plugin, const clap_ostream_t* stream) {
  if (stream == nullptr) return false;
  const StateBytes bytes = encodeState(ClapPlugin::of(plugin).amp.values());
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::int64_t written = stream->write(stream, &bytes[done], bytes.size() - done);
    if (written <= 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

// Reads to the end of the stream, with room for one byte too many: a longer state is not ours.
bool load(const clap_plugin_t* plugin, const clap_istream_t* stream) {
  if (stream == nullptr) return false;
  std::array<std::uint8_t, kStateSize + 1> bytes{};
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::int64_t got = stream->read(stream, &bytes[done], bytes.size() - done);
    if (got < 0) return false;
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  const std::optional<StateValues> values = decodeState({bytes.data(), done});
  if (!values.has_value()) return false;
  ClapPlugin& self = ClapPlugin::of(plugin);
  self.amp.setValues(*values);
  self.reportMovedValues();
  return true;
}

}  // namespace

constexpr clap_plugin_state_t kClapState = {.save = save, .load = load};

}  // namespace quellard

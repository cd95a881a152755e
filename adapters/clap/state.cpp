// SPDX-License-Identifier: ISC
#include "adapters/shared/state.h"

#include "adapters/clap/clap_plugin.h"

namespace quellard {
namespace {

bool save(const clap_plugin_t* plugin, const clap_ostream_t* stream) {
  if (stream == nullptr) return false;
  const HostedAmp& amp = ClapPlugin::of(plugin).amp;
  return writeState(amp.hostedValues(), [&](const std::uint8_t* from, std::size_t size) {
    return stream->write(stream, from, size);
  });
}

bool load(const clap_plugin_t* plugin, const clap_istream_t* stream) {
  if (stream == nullptr) return false;
  const std::optional<HostedValues> values =
      readState([&](std::uint8_t* to, std::size_t size) { return stream->read(stream, to, size); });
  if (!values.has_value()) return false;
  ClapPlugin& self = ClapPlugin::of(plugin);
  self.amp.setHostedValues(*values);
  self.shownPreset = -1;
  self.reportMovedValues();
  return true;
}

}  // namespace

constexpr clap_plugin_state_t kClapState = {.save = save, .load = load};

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "adapters/jack/amp_client.h"

#include <algorithm>
#include <cmath>
#include <jack/midiport.h>
#include <stdexcept>
#include <utility>

#include "adapters/shared/event_split.h"
#include "params/parameter_values.h"
#include "params/sizes.h"
#include "tools/common/errors.h"
#include "tools/settings/cabinet_file.h"

namespace quellard {
namespace {

constexpr std::size_t kAllPorts = 1000;

void raisePeak(std::atomic<float>& peak, const float* samples, jack_nframes_t frames) {
  float highest = peak;
  for (jack_nframes_t i = 0; i < frames; ++i) highest = std::max(highest, std::fabs(samples[i]));
  peak = highest;
}

// JACK's own error messages are switched off: about a missing server it prints six lines.
jack_client_t* open(const std::string& name) {
  jack_set_error_function([](const char*) {});
  if (name.empty() || name.size() >= asSize(jack_client_name_size())) {
    throw std::runtime_error("JACK takes no name like '" + name + "'");
  }
  jack_client_t* client = jack_client_open(name.c_str(), JackNoStartServer, nullptr);
  if (client == nullptr) throw std::runtime_error("no JACK server is running");
  return client;
}

}  // namespace

AmpClient::AmpClient(const std::string& name, int sides)
    : amp_(sides), client_(open(name), jack_client_close) {
  inputs_ = addAudioPorts("in", JackPortIsInput);
  outputs_ = addAudioPorts("out", JackPortIsOutput);
  setPresets({}, "");
  midi_ = addPort("midi", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput);
}

jack_port_t* AmpClient::addPort(const std::string& name, const char* type, unsigned long flags) {
  jack_port_t* port = jack_port_register(client_.get(), name.c_str(), type, flags, 0);
  if (port == nullptr) throw std::runtime_error("JACK gives no port");
  return port;
}

AmpClient::Ports AmpClient::addAudioPorts(const std::string& name, unsigned long flags) {
  if (amp_.sides() == HostedAmp::kMono) return {addPort(name, JACK_DEFAULT_AUDIO_TYPE, flags)};
  return {addPort(name + "_left", JACK_DEFAULT_AUDIO_TYPE, flags),
          addPort(name + "_right", JACK_DEFAULT_AUDIO_TYPE, flags)};
}

void AmpClient::start(bool connect) {
  if (!amp_.prepare(rate(), kLongestPeriod)) throw std::runtime_error("JACK has no sample rate");
  loadChosenCabinet();
  mute_.prepare(rate());
  tuner_.prepare(rate());
  jack_set_process_callback(
      client_.get(),
      [](jack_nframes_t frames, void* self) {
        static_cast<AmpClient*>(self)->play(frames);
        return 0;
      },
      this);
  jack_set_xrun_callback(
      client_.get(),
      [](void* self) {
        ++static_cast<AmpClient*>(self)->xruns_;
        return 0;
      },
      this);
  jack_on_shutdown(
      client_.get(), [](void* self) { static_cast<AmpClient*>(self)->serverIsGone_ = true; }, this);
  if (jack_activate(client_.get()) != 0) throw std::runtime_error("JACK does not start");
  connects_ = connect;
  if (connect) connectToInterface();
}

// The choice stays, as the file may be there the next time.
void AmpClient::loadChosenCabinet() {
  cabinetFault_.clear();
  if (cabinet_.file.empty()) return;
  try {
    loadCabinet(cabinet_, amp_.rate(), amp_.sides(), amp_.cabinet());
  } catch (const std::exception& fault) {
    cabinetFault_ = explanation(fault) + "; playing without a cabinet";
  }
}

void AmpClient::setCabinet(CabinetChoice choice) {
  if (amp_.rate() > 0.0) loadCabinet(choice, amp_.rate(), amp_.sides(), amp_.cabinet());
  cabinetFault_.clear();
  cabinet_ = std::move(choice);
}

bool AmpClient::followRate() {
  if (serverIsGone_ || amp_.rate() == static_cast<double>(rate())) return false;
  jack_deactivate(client_.get());
  start(connects_);
  return true;
}

bool AmpClient::isHeard() const { return jack_port_connected(outputs_[0]) > 0; }

// A mono amplifier is connected to both outputs.
void AmpClient::connectToInterface() {
  const bool mono = amp_.sides() == HostedAmp::kMono;
  const std::size_t outputs = mono ? 2 : 1;
  for (std::size_t side = 0; side < asSize(amp_.sides()); ++side) {
    connectAll(JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, inputs_[side], side, 1);
    connectAll(JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, outputs_[side], side, outputs);
  }
  connectAll(JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, midi_, 0, kAllPorts);
}

// Connects a port of this client to at most `most` of the interface's ports of a type and
// direction, beginning with number `first`. There may be fewer.
void AmpClient::connectAll(const char* type, unsigned long flags, jack_port_t* own,
                           std::size_t first, std::size_t most) {
  const std::unique_ptr<const char*, void (*)(void*)> ports(
      jack_get_ports(client_.get(), nullptr, type, flags | JackPortIsPhysical), jack_free);
  const char* const name = jack_port_name(own);
  for (std::size_t i = 0; ports && ports.get()[i] != nullptr; ++i) {
    if (i < first || i >= first + most) continue;
    const char* const other = ports.get()[i];
    const bool theirsIsSource = (flags & JackPortIsOutput) != 0;
    jack_connect(client_.get(), theirsIsSource ? other : name, theirsIsSource ? name : other);
  }
}

void AmpClient::setPresets(std::vector<Preset> presets, const std::string& current) {
  const auto found = std::ranges::find(presets, current, &Preset::name);
  lastPreset_ = found != presets.end() ? asSize(found - presets.begin()) : kNoPreset;
  allPresets_.push_back(std::make_unique<const std::vector<Preset>>(std::move(presets)));
  presets_ = allPresets_.back().get();
}

void AmpClient::loadPreset(std::size_t index) {
  const std::vector<Preset>& all = presets();
  if (index >= all.size()) return;
  amp_.setValues(all[index].values);
  lastPreset_ = index;
}

const Preset* AmpClient::lastPreset() const {
  const std::size_t last = lastPreset_;
  return last < presets().size() ? &presets()[last] : nullptr;
}

std::optional<MidiAction> AmpClient::actionOf(void* midi, std::uint32_t event) const {
  jack_midi_event_t message{};
  if (jack_midi_event_get(&message, midi, event) != 0) return std::nullopt;
  return midiAction({message.buffer, message.size}, channelFromSelect(amp_.value(kTypeParameter)),
                    presets().size());
}

void AmpClient::apply(const MidiAction& action) {
  if (action.preset >= 0) return loadPreset(asSize(action.preset));
  amp_.setValue(action.parameter, action.value);
}

// [audio thread] Clock and active-sensing messages, which some devices send all the time, are left
// out of the panel's MIDI indicator.
void AmpClient::noteMidi(void* midi) {
  constexpr unsigned kFirstSystemMessage = 0xF0;
  for (std::uint32_t event = 0; event < jack_midi_get_event_count(midi); ++event) {
    jack_midi_event_t message{};
    if (jack_midi_event_get(&message, midi, event) != 0 || message.size == 0) continue;
    if (message.buffer[0] >= kFirstSystemMessage) continue;
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bytes = bytes << 8 | (i < message.size ? message.buffer[i] : 0U);
    }
    lastMidi_ = bytes;
    ++midiCount_;
  }
}

// [audio thread]
void AmpClient::play(jack_nframes_t frames) {
  std::array<float*, HostedAmp::kStereo> in{};
  std::array<float*, HostedAmp::kStereo> out{};
  const auto sides = asSize(amp_.sides());
  for (std::size_t i = 0; i < sides; ++i) {
    in[i] = static_cast<float*>(jack_port_get_buffer(inputs_[i], frames));
    out[i] = static_cast<float*>(jack_port_get_buffer(outputs_[i], frames));
    raisePeak(inputPeak_, in[i], frames);
  }
  if (tunes_) tuner_.push(in[0], static_cast<int>(frames));
  void* const midi = jack_port_get_buffer(midi_, frames);
  splitAtEvents(
      frames, jack_midi_get_event_count(midi),
      [&](std::uint32_t event) -> std::optional<std::uint32_t> {
        if (!actionOf(midi, event)) return std::nullopt;
        jack_midi_event_t message{};
        jack_midi_event_get(&message, midi, event);
        return message.time;
      },
      [&](std::uint32_t event) {
        if (const auto action = actionOf(midi, event)) apply(*action);
      },
      [&](std::uint32_t begin, std::uint32_t end) {
        amp_.play({.floats = in.data(), .count = amp_.sides()},
                  {.floats = out.data(), .count = amp_.sides()}, static_cast<int>(begin),
                  static_cast<int>(end));
      });
  noteMidi(midi);
  mute_.process(out.data(), amp_.sides(), frames);
  for (std::size_t i = 0; i < sides; ++i) raisePeak(outputPeak_, out[i], frames);
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The amplifier as a JACK client with audio ports, a MIDI input, level meters and an xrun counter.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <jack/jack.h>
#include <memory>
#include <string>
#include <vector>

#include "adapters/jack/midi_map.h"
#include "adapters/jack/mute.h"
#include "rig/hosted_amp.h"
#include "rig/tuner.h"
#include "tools/settings/cabinet_choice.h"
#include "tools/settings/presets.h"

namespace quellard {

class AmpClient {
 public:
  // The longest period of JACK: buffers of this length fit after every change of the period.
  static constexpr int kLongestPeriod = 8192;

  // Connects to a running server; silent until start(). name: of the client; JACK appends a number
  // to one that is taken. Throws std::runtime_error where there is no server, or for a name that is
  // empty or too long.
  AmpClient(const std::string& name, int sides);

  // Starts to play with the values of amp(). connect: also connects the interface's first inputs,
  // its first two outputs and all MIDI inputs. Throws std::runtime_error.
  void start(bool connect);

  // To be polled: PipeWire may change the sample rate while clients play. Then starts again with
  // the same values; connections that start() did not make are lost. Whether it did so.
  bool followRate();

  bool isHeard() const;  // whether an output is connected

  HostedAmp& amp() { return amp_; }

  // Chooses a cabinet: for start(), or to crossfade to it now. Throws FileError for a file that is
  // no cabinet; then the one before plays on. [main thread]
  void setCabinet(CabinetChoice choice);
  const CabinetChoice& cabinet() const { return cabinet_; }
  // Why start() plays without the cabinet that was chosen, "" where it plays with it.
  const std::string& cabinetFault() const { return cabinetFault_; }

  // Sets the presets for loadPreset() and MIDI program changes. current: the name of the one that
  // the present values come from, "" for none. Earlier lists are kept until the client is
  // destroyed, since the audio thread may be reading one. [main thread]
  void setPresets(std::vector<Preset> presets, const std::string& current);
  const std::vector<Preset>& presets() const { return *presets_; }

  // [any thread] An index beyond the presets does nothing.
  void loadPreset(std::size_t index);
  // The values come from none of them. [any thread]
  void forgetPreset() { lastPreset_ = kNoPreset; }
  const Preset* lastPreset() const;  // one of presets(); null before the first

  // Mutes the outputs. [main thread]
  void setMuted(bool muted) {
    muted_ = muted;
    mute_.set(muted_ || tunes_);
  }
  bool muted() const { return muted_; }

  // Mutes the outputs and passes the first input to tuner(), which begins anew. [main thread]
  void setTuning(bool tunes) {
    if (tunes) tuner_.clear();
    tunes_ = tunes;
    mute_.set(muted_ || tunes_);
  }
  bool isTuning() const { return tunes_; }
  Tuner& tuner() { return tuner_; }

  // The largest magnitude of a sample since the last call; full scale is 1.
  float takeInputPeak() { return inputPeak_.exchange(0.0F); }
  float takeOutputPeak() { return outputPeak_.exchange(0.0F); }
  unsigned xruns() const { return xruns_; }
  // The number of MIDI messages received on any channel, and the last one: its first byte in bits
  // 16 to 23, the others below.
  unsigned midiCount() const { return midiCount_; }
  std::uint32_t lastMidi() const { return lastMidi_; }
  bool serverIsGone() const { return serverIsGone_; }

  std::string name() const { return jack_get_client_name(client_.get()); }
  unsigned rate() const { return jack_get_sample_rate(client_.get()); }    // Hz
  unsigned period() const { return jack_get_buffer_size(client_.get()); }  // frames

 private:
  static constexpr std::size_t kNoPreset = SIZE_MAX;
  using Ports = std::array<jack_port_t*, HostedAmp::kStereo>;

  jack_port_t* addPort(const std::string& name, const char* type, unsigned long flags);
  Ports addAudioPorts(const std::string& name, unsigned long flags);
  void connectToInterface();
  void connectAll(const char* type, unsigned long flags, jack_port_t* own, std::size_t first,
                  std::size_t most);

  void loadChosenCabinet();
  void play(jack_nframes_t frames);
  void noteMidi(void* midi);
  std::optional<MidiAction> actionOf(void* midi, std::uint32_t event) const;
  void apply(const MidiAction& action);

  HostedAmp amp_;
  Mute mute_;
  Tuner tuner_;
  bool muted_ = false;
  std::atomic<bool> tunes_ = false;
  std::vector<std::unique_ptr<const std::vector<Preset>>> allPresets_;  // the newest is the last
  std::atomic<const std::vector<Preset>*> presets_ = nullptr;
  Ports inputs_{};
  Ports outputs_{};
  jack_port_t* midi_ = nullptr;
  bool connects_ = false;
  CabinetChoice cabinet_;
  std::string cabinetFault_;
  std::atomic<float> inputPeak_ = 0.0F;
  std::atomic<float> outputPeak_ = 0.0F;
  std::atomic<unsigned> xruns_ = 0;
  std::atomic<unsigned> midiCount_ = 0;
  std::atomic<std::uint32_t> lastMidi_ = 0;
  std::atomic<std::size_t> lastPreset_ = kNoPreset;
  std::atomic<bool> serverIsGone_ = false;
  // The last member: it is destroyed first, so that JACK makes no call into what is destroyed.
  std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> client_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The amplifier as a JACK client: guitar in, amplifier out, MIDI in, levels and xruns to look at.
#pragma once

#include <array>
#include <atomic>
#include <jack/jack.h>
#include <memory>
#include <string>

#include "adapters/jack/midi_map.h"
#include "rig/hosted_amp.h"

namespace quellard {

class AmpClient {
 public:
  // The longest period that JACK knows, so that a change of it needs no new buffers.
  static constexpr int kLongestPeriod = 8192;

  // Connects to a running server, silent until start(). name: of the client; JACK numbers a taken
  // one. Throws std::runtime_error where there is no server, or for a name that is empty or too
  // long.
  AmpClient(const std::string& name, int sides);

  // Begins to play with the settings that amp() has. With connect, the first inputs of the
  // interface go in, the amplifier goes to its first two outputs, and every MIDI input is listened
  // to.
  void start(bool connect);

  // PipeWire changes its rate while clients play. To be called now and then: begins anew where it
  // has, with the settings as they are; other connections than start()'s are then lost.
  void followRate();

  bool isHeard() const;  // whether an output is connected

  // Parameters may be moved on any thread.
  HostedAmp& amp() { return amp_; }

  // [any thread] index: 0..11.
  void loadPreset(int index);
  int lastPreset() const { return lastPreset_; }  // -1 before the first

  // The highest sample since the last call, 1 is full scale.
  float takeInputPeak() { return inputPeak_.exchange(0.0F); }
  float takeOutputPeak() { return outputPeak_.exchange(0.0F); }
  unsigned xruns() const { return xruns_; }
  bool serverIsGone() const { return serverIsGone_; }

  std::string name() const { return jack_get_client_name(client_.get()); }
  unsigned rate() const { return jack_get_sample_rate(client_.get()); }    // Hz
  unsigned period() const { return jack_get_buffer_size(client_.get()); }  // frames

 private:
  using Ports = std::array<jack_port_t*, HostedAmp::kStereo>;

  jack_port_t* addPort(const std::string& name, const char* type, unsigned long flags);
  Ports addAudioPorts(const std::string& name, unsigned long flags);
  void connectToInterface();
  void connectAll(const char* type, unsigned long flags, jack_port_t* own, std::size_t first,
                  std::size_t most);

  void play(jack_nframes_t frames);
  std::optional<MidiAction> actionOf(void* midi, std::uint32_t event) const;
  void apply(const MidiAction& action);

  HostedAmp amp_;
  Ports inputs_{};
  Ports outputs_{};
  jack_port_t* midi_ = nullptr;
  bool connects_ = false;
  std::atomic<float> inputPeak_ = 0.0F;
  std::atomic<float> outputPeak_ = 0.0F;
  std::atomic<unsigned> xruns_ = 0;
  std::atomic<int> lastPreset_ = -1;
  std::atomic<bool> serverIsGone_ = false;
  // Last, so that JACK stops calling before anything else goes.
  std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> client_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// The amplifier as a CLAP plug-in, mono or stereo. The C callbacks that a host sees are grouped as
// CLAP groups them: life cycle and audio (clap_plugin.cpp), parameters, ports, state, presets, the
// window (gui.h). They only convert arguments and call the amplifier. Threads are CLAP's: the audio
// thread calls process, reset, start and stop, and flush while active; the main thread calls the
// rest.
#pragma once

#include <atomic>
#include <clap/entry.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/latency.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/plugin-factory.h>
#include <memory>

#include "adapters/clap/hand_moves.h"
#include "rig/hosted_amp.h"

namespace quellard {

// One entry of the factory.
struct ClapVariant {
  clap_plugin_descriptor_t descriptor;
  int sides;
};

class ClapGui;

class ClapPlugin {
 public:
  // Owned by the host until destroy(). May throw std::bad_alloc.
  static const clap_plugin_t* create(const clap_host_t* host, const ClapVariant& variant);
  static ClapPlugin& of(const clap_plugin_t* plugin);

  ClapPlugin(const ClapPlugin&) = delete;
  ClapPlugin& operator=(const ClapPlugin&) = delete;
  ~ClapPlugin();

  HostedAmp amp;
  HandMoves handMoves;
  std::atomic<int> shownPreset = -1;  // by the window, also while it is closed: a place in its list
  const clap_host_t* const host;
  // Between the host's create and destroy, shared with the calls that are under way: a host may
  // destroy the window from within one. Declared last, since it uses the others to its end.
  std::shared_ptr<ClapGui> gui;

  // The host's part of an extension, null where it has none. [main thread]
  template <typename Table>
  const Table* hostExtension(const char* id) const {
    if (host == nullptr || host->get_extension == nullptr) return nullptr;
    return static_cast<const Table*>(host->get_extension(host, id));
  }
  // Tells the host that the plug-in itself has changed values. [main thread]
  void reportMovedValues() const;
  // Asks the host to take the moves by hand, also while it lets an idle track sleep. [main thread]
  void askForFlush() const;

 private:
  ClapPlugin(const clap_host_t* host, const ClapVariant& variant);

  static bool activate(const clap_plugin_t* plugin, double rate, std::uint32_t minFrames,
                       std::uint32_t maxFrames);
  static clap_process_status process(const clap_plugin_t* plugin, const clap_process_t* block);
  static const void* extension(const clap_plugin_t* plugin, const char* id);

  clap_plugin_t plugin_;
  bool active_ = false;
};

// Whether the event sets a parameter, and the setting of it. Unknown ids and NaN are ignored.
bool isParameterEvent(const clap_event_header_t* event);
void applyEvent(HostedAmp& amp, const clap_event_header_t& event);
// Gives the host what hands have moved since, as events at the beginning of a block. Null: the host
// takes no events.
void sendMoves(HandMoves& moves, const clap_output_events_t* to);

// The extensions.
extern const clap_plugin_params_t kClapParams;
extern const clap_plugin_audio_ports_t kClapAudioPorts;
extern const clap_plugin_latency_t kClapLatency;
extern const clap_plugin_state_t kClapState;

}  // namespace quellard

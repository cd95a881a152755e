// SPDX-License-Identifier: ISC
// The amplifier as a VST3 plug-in, mono or stereo: component, processor, controller and units in
// one object. The tables of functions that a host sees are grouped as VST3 groups them, one file
// each; they translate and call the amplifier.
//
// Threads are VST3's: process and the processing state belong to the audio thread, everything else
// to the main thread. A host tells every move twice: the controller, whenever it comes to it, so
// that the player sees it, and the processor, in a block, at its frame. So there are two sets of
// values: what plays, in the amplifier, and what is shown and saved, here. A controller that moved
// the amplifier would set it back in the middle of an automation, to what was shown a while ago.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <travesty/audio_processor.h>
#include <travesty/component.h>
#include <travesty/edit_controller.h>
#include <travesty/unit.h>

#include "adapters/shared/state.h"
#include "adapters/vst3/identity.h"
#include "rig/hosted_amp.h"

namespace quellard {

class Vst3Plugin;

// One of the plug-in's interfaces. Hosts hold its address, find the table of functions through its
// first member and pass the address to each of them; the second is for us.
struct Vst3Face {
  const void* functions;
  Vst3Plugin* plugin;
};

class Vst3Plugin {
 public:
  // An amplifier behind this interface, owned by its references, of which the caller has the first.
  // May throw std::bad_alloc.
  static v3_result create(int sides, const v3_tuid interface, void** object);
  // Whose face a host has called.
  static Vst3Plugin& of(void* face) { return *static_cast<Vst3Face*>(face)->plugin; }

  Vst3Plugin(const Vst3Plugin&) = delete;
  Vst3Plugin& operator=(const Vst3Plugin&) = delete;
  ~Vst3Plugin();

  // Every face's first functions. [any thread]
  static v3_result query(void* face, const v3_tuid interface, void** object);
  static std::uint32_t ref(void* face);
  static std::uint32_t unref(void* face);
  // The amplifier is ready as soon as it is made, so these may come in any order and number.
  static v3_result initialize(void* face, v3_funknown** context);
  static v3_result terminate(void* face);

  HostedAmp amp;
  v3_process_setup setup{};              // the last that was accepted; a rate of 0 before the first
  std::atomic<bool> active = false;      // blocks are played
  std::atomic<bool> startsAnew = false;  // the next block does
  int selectedUnit = kVst3RootUnit;

  // What hosts see and save. [any thread]
  float shown(v3_param_id id) const { return shown_[id].load(std::memory_order_relaxed); }
  State shownState() const;

  // A move within a block: is played and shown. [audio thread]
  void moveInBlock(v3_param_id id, double normalised);
  // Tells the host of values that have changed behind its back, through what a block gives back.
  // [audio thread]
  void tellThrough(v3_param_changes** changes);
  // A move that the controller hears of: is shown, and played while no block could bring it. [main
  // thread] So are the next two.
  void moveShown(v3_param_id id, double normalised);
  // Plays and shows a state, and tells the host.
  void load(const State& state);
  // Whom to tell; null for nobody.
  void setHandler(v3_component_handler** handler);

 private:
  explicit Vst3Plugin(int sides);

  void play(v3_param_id id, float value);
  bool show(v3_param_id id, float value);  // true where other values have changed with it
  void showValues(const ParameterValues& values);
  void tellHost();

  Vst3Face component_;
  Vst3Face processor_;
  Vst3Face controller_;
  Vst3Face units_;
  Vst3Face contextNeeds_;
  std::atomic<std::uint32_t> references_ = 1;
  v3_component_handler** handler_ = nullptr;
  bool takesCallsBack_ = true;
  std::array<std::atomic<float>, kNumVst3Parameters> shown_{};
  std::atomic<int> playedProgram_ = 0;
  std::atomic<bool> untold_ = false;  // values have changed that the host does not know of
};

// What each interface begins with.
inline constexpr v3_funknown kVst3Unknown = {
    .query_interface = Vst3Plugin::query,
    .ref = Vst3Plugin::ref,
    .unref = Vst3Plugin::unref,
};
inline constexpr v3_plugin_base kVst3Base = {
    .initialize = Vst3Plugin::initialize,
    .terminate = Vst3Plugin::terminate,
};

// Of component and controller alike. [main thread]
v3_result saveState(void* self, v3_bstream** stream);
v3_result loadState(void* self, v3_bstream** stream);

extern const v3_component_cpp kVst3Component;
extern const v3_audio_processor_cpp kVst3Processor;
extern const v3_edit_controller_cpp kVst3Controller;
extern const v3_unit_information_cpp kVst3Units;
extern const v3_process_context_requirements_cpp kVst3ContextNeeds;

}  // namespace quellard

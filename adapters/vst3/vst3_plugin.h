// SPDX-License-Identifier: ISC
// The amplifier as a VST3 plug-in, mono or stereo: component, processor, controller and units in
// one object, and a view (view.h) for each of its windows. The functions that a host sees are
// grouped as VST3 groups them, one file each; they only convert arguments and call the amplifier.
//
// Threads are VST3's: process and the processing state belong to the audio thread, everything else
// to the main thread. A host reports every move twice: to the controller, at some time, for
// display, and to the processor, in a block, at its frame. So there are two sets of values: those
// that play, in the amplifier, and those that are shown and saved, here. A controller that set the
// amplifier's values would, in the middle of an automation, set them back to what was shown a while
// ago.
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
#include "adapters/vst3/object.h"
#include "rig/hosted_amp.h"

namespace quellard {

class Vst3Plugin : public Vst3Object<Vst3Plugin> {
 public:
  // A new plug-in, as this interface of it. The caller owns the first reference. May throw
  // std::bad_alloc.
  static v3_result create(int sides, const v3_tuid iid, void** object);

  Vst3Plugin(const Vst3Plugin&) = delete;
  Vst3Plugin& operator=(const Vst3Plugin&) = delete;
  ~Vst3Plugin();

  std::array<Offer, 7> offers();
  static std::uint32_t unref(void* interface);  // [any thread]
  // The same for a view, which needs the plug-in to its end. [main thread]
  void addReference() { ++references_; }
  void removeReference() { unref(&component_); }
  // The plug-in is ready as soon as it is created, so these may come in any order and number.
  static v3_result initialize(void* interface, v3_funknown** context);
  static v3_result terminate(void* interface);

  HostedAmp amp;
  v3_process_setup setup{};              // the last that was accepted; a rate of 0 before the first
  std::atomic<bool> active = false;      // between activation and deactivation
  std::atomic<bool> startsAnew = false;  // the next block starts from silence
  int selectedUnit = kVst3RootUnit;
  std::atomic<int> shownPreset = -1;  // by a view, also while it is closed: a place in its list

  // The values that hosts see and save. [any thread]
  float shown(v3_param_id id) const { return shown_[id].load(std::memory_order_relaxed); }
  HostedValues shownValues() const;

  // A move from a block: changes the value that plays and the one that is shown. [audio thread]
  void moveInBlock(v3_param_id id, double normalised);
  // Reports values that the plug-in itself has changed, through a block's outgoing changes. [audio
  // thread]
  void tellThrough(v3_param_changes** changes);
  // A move that the controller gets: changes the value that is shown, and while inactive, when no
  // block could bring it, also the one that plays. [main thread]
  void moveShown(v3_param_id id, double normalised);
  // A move by hand: begin, any number of values, end. It is shown at once, and the host brings it
  // to the processor; without a handler, it is played from here. These calls reach the host also
  // where tellHost() must not, since a hand does not move while a state or a program is loaded.
  // [main thread]
  void beginMove(v3_param_id id);
  void moveByHand(v3_param_id id, float value);
  void endMove(v3_param_id id);
  // The program whose values a hand has just moved to: shows and reports it as a move. The host
  // brings it to the processor behind those moves, where it must not set the knobs again.
  // program: 0..kNumListedPrograms-1. [main thread]
  void chooseByHand(int program);
  // How many windows are open; while there are any, the amplifier measures its levels. [main
  // thread]
  void countWindows(int more);
  // Plays and shows a state, and reports it to the host. [main thread]
  void load(const HostedValues& values);
  // The host's object to report to; null for none. [main thread]
  void setHandler(v3_component_handler** handler);

 private:
  explicit Vst3Plugin(int sides);

  void play(v3_param_id id, float value);
  bool show(v3_param_id id, float value);  // true where other values have changed with it
  void tellHost();

  Interface component_;
  Interface processor_;
  Interface controller_;
  Interface units_;
  Interface contextNeeds_;
  v3_component_handler** handler_ = nullptr;
  bool mayCallBack_ = true;
  int windows_ = 0;
  std::array<std::atomic<float>, kNumVst3Parameters> shown_{};
  std::atomic<int> playedProgram_ = 0;
  std::atomic<bool> hasUnreportedValues_ = false;  // values changed that the host does not know of
};

// The second functions of component and controller.
inline constexpr v3_plugin_base kVst3Base = {
    .initialize = Vst3Plugin::initialize,
    .terminate = Vst3Plugin::terminate,
};

// Shared by component and controller. [main thread]
v3_result saveState(void* self, v3_bstream** stream);
v3_result loadState(void* self, v3_bstream** stream);

extern const v3_component_cpp kVst3Component;
extern const v3_audio_processor_cpp kVst3Processor;
extern const v3_edit_controller_cpp kVst3Controller;
extern const v3_unit_information_cpp kVst3Units;
extern const v3_process_context_requirements_cpp kVst3ContextNeeds;

}  // namespace quellard

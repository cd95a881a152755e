// SPDX-License-Identifier: ISC
// VST3's view: the face in the host's window, kept alive by the run loop that the host's frame
// offers on Linux, or by a timer of our own. One object with the view, its scale and what the run
// loop calls; it keeps the plug-in, so that either may be released first. [main thread]
#pragma once

#include <travesty/view.h>

#include "adapters/vst3/vst3_plugin.h"

#ifdef QUELLARD_FACE

#include "adapters/editor/editor.h"
#include "adapters/editor/ticker.h"
#include "adapters/shared/amp_target.h"
#include "adapters/shared/host_size.h"
#include "adapters/shared/program_list.h"

namespace quellard {

// Shows what the controller shows, and moves it.
class Vst3Target final : public AmpTarget {
 public:
  explicit Vst3Target(Vst3Plugin& plugin)
      : AmpTarget(plugin.amp, plugin.shownPreset), plugin_(plugin) {}

  float value(int parameter) const override { return plugin_.shown(idOf(parameter)); }
  void beginMove(int parameter) override { plugin_.beginMove(idOf(parameter)); }
  void move(int parameter, float value) override { plugin_.moveByHand(idOf(parameter), value); }
  void endMove(int parameter) override { plugin_.endMove(idOf(parameter)); }
  // The user's own presets, behind the programs, are none.
  void presetChosen(int preset) override {
    if (isListedProgram(preset)) plugin_.chooseByHand(preset);
  }

 private:
  static v3_param_id idOf(int parameter) { return static_cast<v3_param_id>(parameter); }

  Vst3Plugin& plugin_;
};

class Vst3View : public Vst3Object<Vst3View> {
 public:
  // May throw std::bad_alloc.
  static v3_plugin_view** create(Vst3Plugin& plugin);

  Vst3View(const Vst3View&) = delete;
  Vst3View& operator=(const Vst3View&) = delete;
  ~Vst3View();

  std::array<Offer, 5> offers();
  static std::uint32_t unref(void* interface);

  Editor& editor() { return editor_; }
  // The host has chosen this size.
  void setSize(PixelSize size) { editor_.setSize(limitedToFace(editor_, size)); }
  v3_result attach(std::uintptr_t parent);
  void remove();
  void setFrame(v3_plugin_frame** frame);
  // Called by the run loop, or by the timer.
  void tick();

 private:
  explicit Vst3View(Vst3Plugin& plugin);

  bool startLoop();
  bool startHostsLoop();
  void stopLoop();
  bool askForSize(PixelSize size);
  v3_event_handler** eventHandler();
  v3_timer_handler** timerHandler();

  Vst3Plugin& plugin_;
  Interface view_;
  Interface scale_;
  Interface events_;
  Interface timer_;
  v3_plugin_frame** frame_ = nullptr;
  v3_run_loop** loop_ = nullptr;  // while it calls this view
  Ticker ticker_;                 // does it where the host has none
  bool isRunning_ = false;        // one of the two
  Vst3Target target_;
  Editor editor_;
};

// Null for another name than "editor", and without memory.
v3_plugin_view** createVst3View(Vst3Plugin& plugin, const char* name);

}  // namespace quellard

#else

namespace quellard {

inline v3_plugin_view** createVst3View(Vst3Plugin& /*plugin*/, const char* /*name*/) {
  return nullptr;
}

}  // namespace quellard

#endif

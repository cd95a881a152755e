// SPDX-License-Identifier: ISC
// CLAP's window: inside the host's window or beside it, kept alive by the host's timer or by one of
// our own. Without a face in this build, or any timer, there is none. [main thread]
#pragma once

#ifdef QUELLARD_FACE

#include <clap/ext/gui.h>
#include <clap/ext/timer-support.h>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "adapters/clap/clap_plugin.h"
#include "adapters/editor/editor.h"
#include "adapters/editor/ticker.h"
#include "adapters/shared/amp_target.h"
#include "adapters/shared/host_size.h"

namespace quellard {

// Moves by hand are heard at once, and reach the host with the next block or flush.
class ClapTarget final : public AmpTarget {
 public:
  explicit ClapTarget(ClapPlugin& plugin)
      : AmpTarget(plugin.amp, plugin.shownPreset), plugin_(plugin) {}

  void beginMove(int parameter) override;
  void move(int parameter, float value) override;
  void endMove(int parameter) override;
  void presetChosen(int preset) override;

 private:
  ClapPlugin& plugin_;
};

class ClapGui {
 public:
  // Null where the host cannot keep a window alive.
  static std::shared_ptr<ClapGui> create(ClapPlugin& plugin, bool isFloating);
  ~ClapGui();
  ClapGui(const ClapGui&) = delete;
  ClapGui& operator=(const ClapGui&) = delete;

  bool isFloating() const { return isFloating_; }
  Editor& editor() { return editor_; }
  // The host has chosen this size.
  void setSize(PixelSize size) { editor_.setSize(limitedToFace(editor_, size)); }
  bool open(std::uintptr_t parent);  // 0: beside the host's window
  bool show();
  bool hide();
  void setTitle(const char* title);
  bool setTransientFor(std::uintptr_t window);  // false for a window inside the host's
  void tick(clap_id timer);
  // The host destroys it: nothing more is shown, and the host is called no longer.
  void end();

 private:
  ClapGui(ClapPlugin& plugin, const clap_host_timer_support_t* hostTimer, bool isFloating);

  bool start();
  void stop();
  bool askForSize(PixelSize size) const;

  ClapPlugin& plugin_;
  const clap_host_timer_support_t* const hostTimer_;  // null: the ticker does it
  const clap_host_gui_t* const hostGui_;
  const bool isFloating_;
  bool wasClosed_ = false;        // by the player, in this tick
  std::optional<clap_id> timer_;  // CLAP_INVALID_ID: the ticker
  Ticker ticker_;
  std::uintptr_t transientFor_ = 0;
  std::string title_ = "Quellard";
  ClapTarget target_;
  Editor editor_;
};

// The table of the extension with this id, null for others.
const void* clapGuiExtension(const char* id);

}  // namespace quellard

#else

namespace quellard {

class ClapGui {};
inline const void* clapGuiExtension(const char* /*id*/) { return nullptr; }

}  // namespace quellard

#endif

// SPDX-License-Identifier: ISC
// The window of the VST 2.4 effect, inside the host's, which calls it idle. In builds without a
// face there is none. [main thread]
#pragma once

#include <atomic>
#include <cstdint>

#include "shell/vst2.h"

namespace quellard {

// A window's corners in pixels, in the layout of the published interface.
struct Vst2Rect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};
static_assert(sizeof(Vst2Rect) == 8);

}  // namespace quellard

#ifdef QUELLARD_FACE

#include <memory>
#include <optional>

#include "adapters/editor/editor.h"
#include "adapters/shared/amp_target.h"

namespace quellard {

// Moves by hand are heard at once; the host is told by the parameter's number. The bypass has none,
// so the host is told to look again, as when a program is chosen.
class Vst2Target final : public AmpTarget {
 public:
  Vst2Target(HostedAmp& amp, AEffect& record, audioMasterCallback host,
             std::atomic<std::int32_t>& program, std::atomic<int>& preset)
      : AmpTarget(amp, preset), record_(record), host_(host), program_(program) {}

  void beginMove(int parameter) override;
  void move(int parameter, float value) override;
  void endMove(int parameter) override;
  void presetChosen(int preset) override;

 private:
  void tell(std::int32_t opcode, int parameter, float value);
  void updateHost();

  AEffect& record_;
  audioMasterCallback host_;
  std::atomic<std::int32_t>& program_;
};

class Vst2Editor {
 public:
  static constexpr std::int32_t kFlags = effFlagsHasEditor;

  // All of them outlive the editor. program: the one that the host is shown. preset: the one that
  // the face shows. title: of the plug-in.
  Vst2Editor(HostedAmp& amp, AEffect& record, audioMasterCallback host,
             std::atomic<std::int32_t>& program, std::atomic<int>& preset, const char* title);
  ~Vst2Editor() { close(); }
  Vst2Editor(const Vst2Editor&) = delete;
  Vst2Editor& operator=(const Vst2Editor&) = delete;

  // Answers the opcodes of an editor: 1, or 0 where it cannot, and to all others.
  std::intptr_t answer(std::int32_t opcode, void* ptr);

 private:
  // The size of the window, also of one that is to be opened. The host may read it until it asks
  // again. False for null.
  bool tellSize(Vst2Rect** rect);
  // parent: the host's window. False for null, and without a display.
  bool open(void* parent);
  void close();
  void idle();
  Editor& editor();
  bool askForSize(PixelSize size);

  HostedAmp& amp_;
  AEffect& record_;
  audioMasterCallback host_;
  const char* title_;
  Vst2Rect rect_{};
  std::optional<PixelSize> asked_;  // while the host answers whether it agrees to this size
  Vst2Target target_;
  // From the first question for its size until it is closed. Shared with a call that is under way:
  // a host may close the window from within one.
  std::shared_ptr<Editor> editor_;
};

}  // namespace quellard

#else

namespace quellard {

class HostedAmp;

class Vst2Editor {
 public:
  static constexpr std::int32_t kFlags = 0;

  Vst2Editor(HostedAmp& /*amp*/, AEffect& /*record*/, audioMasterCallback /*host*/,
             std::atomic<std::int32_t>& /*program*/, std::atomic<int>& /*preset*/,
             const char* /*title*/) {}
  std::intptr_t answer(std::int32_t /*opcode*/, void* /*ptr*/) { return 0; }
};

}  // namespace quellard

#endif

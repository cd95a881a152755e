// SPDX-License-Identifier: ISC
// The window of the LV2 plug-ins. It lies in a module of its own and knows the amplifier by its
// ports alone: the host carries values both ways. [the host's main thread]
#pragma once

#include <lv2/ui/ui.h>
#include <string>

#include "adapters/editor/editor.h"
#include "adapters/lv2/identity.h"

namespace quellard {

// What the host does for the window.
struct Lv2UiHost {
  LV2UI_Write_Function write = nullptr;
  LV2UI_Controller controller = nullptr;
  const LV2UI_Resize* resize = nullptr;  // null: not offered; also the next
  const LV2UI_Touch* touch = nullptr;
};

// The amplifier as its ports are known here.
class Lv2Target final : public FaceTarget {
 public:
  Lv2Target(int sides, const Lv2UiHost& host) : sides_(sides), host_(host) {}

  // A port has this value: a parameter's, or one that reports levels. Others are ignored, as is
  // NaN.
  void adopt(std::uint32_t port, float control);

  float value(int parameter) const override { return values_[parameter]; }
  // The host sends them after the window has been opened.
  bool hasValues() const override { return hasValues_; }
  void beginMove(int parameter) override { touch(parameter, true); }
  void move(int parameter, float value) override;
  void endMove(int parameter) override { touch(parameter, false); }
  FaceLevels levels() override { return levels_; }

 private:
  void touch(int parameter, bool isHeld) const;
  void adoptReport(std::uint32_t report, float control);

  int sides_;
  Lv2UiHost host_;
  HostedValues values_ = defaultHostedValues();
  bool hasValues_ = false;
  FaceLevels levels_;
};

class Lv2Ui {
 public:
  // title: of a window that stands for itself. scale: the host's, 0 where it gives none.
  Lv2Ui(const Lv2Variant& variant, const Lv2UiHost& host, std::string title, double scale);
  Lv2Ui(const Lv2Ui&) = delete;
  Lv2Ui& operator=(const Lv2Ui&) = delete;
  ~Lv2Ui() = default;

  // parent: the host's window; 0 for a window that stands for itself, which show() shows. False
  // without a display.
  bool open(std::uintptr_t parent);
  std::uintptr_t windowId() const { return editor_.windowId(); }

  void portEvent(std::uint32_t port, float control) { target_.adopt(port, control); }
  // False once the window is closed or gone.
  bool idle();
  bool show();
  void hide() { editor_.hide(); }
  // The host wants this size. False for one that is not positive.
  bool setSize(PixelSize size);

 private:
  bool askForSize(PixelSize size) const;

  Lv2UiHost host_;
  std::string title_;
  bool isFloating_ = false;
  bool isClosed_ = false;  // by the player
  Lv2Target target_;
  Editor editor_;
};

}  // namespace quellard

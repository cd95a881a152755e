// SPDX-License-Identifier: ISC
#include "adapters/lv2/ui.h"

#include <cmath>
#include <utility>

#include "adapters/shared/host_size.h"
#include "params/decibels.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

constexpr std::uint32_t kFloatProtocol = 0;

// The bypass is the port "enabled", turned round.
float controlOf(int parameter, float value) {
  const float control = controlFromValue(parameter, value);
  return parameter == kBypassParameter ? 1.0F - control : control;
}

}  // namespace

void Lv2Target::adopt(std::uint32_t port, float control) {
  if (std::isnan(control)) return;
  if (port == lv2EnabledPort(sides_)) {
    values_[kBypassParameter] = control <= 0.0F ? 1.0F : 0.0F;
  } else if (const int parameter = lv2ParameterOf(port, sides_); parameter != 0) {
    values_[parameter] = valueFromControl(parameter, control);
    hasValues_ = true;
  } else {
    adoptReport(port - lv2ReportPort(0, sides_), control);
  }
}

void Lv2Target::adoptReport(std::uint32_t report, float control) {
  const double gain = gainFromDecibels(static_cast<double>(control));
  const float peak = control > kLv2LowestPeak_db ? static_cast<float>(gain) : 0.0F;
  switch (report) {
    case kLv2InputPeak: levels_.inputPeak = peak; return;
    case kLv2OutputPeak: levels_.outputPeak = peak; return;
    case kLv2GateOpen: levels_.gateIsOpen = control > 0.0F; return;
    default: return;
  }
}

void Lv2Target::move(int parameter, float value) {
  values_[parameter] = value;
  hasValues_ = true;
  const float control = controlOf(parameter, value);
  host_.write(host_.controller, lv2PortOf(parameter, sides_), sizeof control, kFloatProtocol,
              &control);
}

void Lv2Target::touch(int parameter, bool isHeld) const {
  if (host_.touch == nullptr || host_.touch->touch == nullptr) return;
  host_.touch->touch(host_.touch->handle, lv2PortOf(parameter, sides_), isHeld);
}

Lv2Ui::Lv2Ui(const Lv2Variant& variant, const Lv2UiHost& host, std::string title, double scale)
    : host_(host), title_(std::move(title)), target_(variant.sides, host), editor_(target_) {
  editor_.setScale(scale);
  editor_.onResize([this](PixelSize size) { return isFloating_ || askForSize(size); });
  editor_.onClose([this] { isClosed_ = true; });
}

bool Lv2Ui::open(std::uintptr_t parent) {
  isFloating_ = parent == 0;
  if (!editor_.open(parent, title_)) return false;
  if (isFloating_) return true;
  editor_.show();
  askForSize(editor_.size());
  return true;
}

bool Lv2Ui::idle() { return editor_.idle() && !isClosed_; }

bool Lv2Ui::show() {
  isClosed_ = false;
  if (!editor_.isOpen() && !open(0)) return false;
  editor_.show();
  return true;
}

bool Lv2Ui::setSize(PixelSize size) {
  if (size.width < 1 || size.height < 1) return false;
  editor_.setSize(limitedToFace(editor_, size));
  return true;
}

// Without the feature, the window's own size says it to the host.
bool Lv2Ui::askForSize(PixelSize size) const {
  if (host_.resize == nullptr || host_.resize->ui_resize == nullptr) return true;
  return host_.resize->ui_resize(host_.resize->handle, size.width, size.height) == 0;
}

}  // namespace quellard

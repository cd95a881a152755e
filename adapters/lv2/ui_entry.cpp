// SPDX-License-Identifier: ISC
// The functions that LV2 hosts call for the window.
#include <lv2/atom/atom.h>
#include <memory>

#include "adapters/lv2/features.h"
#include "adapters/lv2/ui.h"

namespace quellard {
namespace {

const Lv2Variant* variantOf(const char* uri) {
  for (const Lv2Variant& variant : kLv2Variants) {
    if (uri != nullptr && std::strcmp(variant.uri, uri) == 0) return &variant;
  }
  return nullptr;
}

std::unique_ptr<Lv2Ui> build(const Lv2Variant& variant, LV2UI_Write_Function write,
                             LV2UI_Controller controller, const LV2_Feature* const* features) {
  const Lv2UiHost host = {.write = write,
                          .controller = controller,
                          .resize = findFeature<LV2UI_Resize>(features, LV2_UI__resize),
                          .touch = findFeature<LV2UI_Touch>(features, LV2_UI__touch)};
  const auto* title = findOption<char>(features, LV2_UI__windowTitle, LV2_ATOM__String);
  const auto* scale = findOption<float>(features, LV2_UI__scaleFactor, LV2_ATOM__Float);
  return std::make_unique<Lv2Ui>(variant, host, title != nullptr ? title : variant.name,
                                 scale != nullptr ? static_cast<double>(*scale) : 0.0);
}

// Hosts may be written in C, so no exception may leave these functions.
LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char* pluginUri, const char*,
                         LV2UI_Write_Function write, LV2UI_Controller controller,
                         LV2UI_Widget* widget, const LV2_Feature* const* features) try {
  const Lv2Variant* const variant = variantOf(pluginUri);
  if (variant == nullptr || write == nullptr || widget == nullptr) return nullptr;
  const auto* parent = findFeature<void>(features, LV2_UI__parent);
  auto ui = build(*variant, write, controller, features);
  if (!ui->open(reinterpret_cast<std::uintptr_t>(parent))) return nullptr;
  *widget = reinterpret_cast<LV2UI_Widget>(ui->windowId());
  return ui.release();
} catch (...) {
  return nullptr;
}

Lv2Ui& of(LV2UI_Handle handle) { return *static_cast<Lv2Ui*>(handle); }

// Each calls call(ui); 0 is success.
template <typename Call>
int answer(LV2UI_Handle handle, const Call& call) {
  try {
    return call(of(handle)) ? 0 : 1;
  } catch (...) {
    return 1;
  }
}

void portEvent(LV2UI_Handle handle, std::uint32_t port, std::uint32_t size, std::uint32_t protocol,
               const void* buffer) {
  if (protocol != 0 || size != sizeof(float) || buffer == nullptr) return;
  of(handle).portEvent(port, *static_cast<const float*>(buffer));
}

int idle(LV2UI_Handle handle) {
  return answer(handle, [](Lv2Ui& ui) { return ui.idle(); });
}
int show(LV2UI_Handle handle) {
  return answer(handle, [](Lv2Ui& ui) { return ui.show(); });
}
int hide(LV2UI_Handle handle) {
  return answer(handle, [](Lv2Ui& ui) {
    ui.hide();
    return true;
  });
}
int resize(LV2UI_Feature_Handle handle, int width, int height) {
  return answer(handle, [&](Lv2Ui& ui) { return ui.setSize({width, height}); });
}

const void* extensionData(const char* uri) {
  static constexpr LV2UI_Idle_Interface kIdle = {.idle = idle};
  static constexpr LV2UI_Show_Interface kShow = {.show = show, .hide = hide};
  static constexpr LV2UI_Resize kResize = {.handle = nullptr, .ui_resize = resize};
  if (uri == nullptr) return nullptr;
  if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &kIdle;
  if (std::strcmp(uri, LV2_UI__showInterface) == 0) return &kShow;
  return std::strcmp(uri, LV2_UI__resize) == 0 ? &kResize : nullptr;
}

constexpr LV2UI_Descriptor kDescriptor = {
    .URI = kLv2UiUri,
    .instantiate = instantiate,
    .cleanup = [](LV2UI_Handle handle) { const std::unique_ptr<Lv2Ui> last(&of(handle)); },
    .port_event = portEvent,
    .extension_data = extensionData,
};

}  // namespace
}  // namespace quellard

LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(std::uint32_t index) {
  return index == 0 ? &quellard::kDescriptor : nullptr;
}

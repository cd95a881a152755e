// SPDX-License-Identifier: ISC
// VST3's edit controller: parameters as a host shows, types and moves them.
#include <cmath>

#include "adapters/vst3/parameters.h"
#include "adapters/vst3/view.h"
#include "adapters/vst3/vst3_plugin.h"
#include "adapters/vst3/wide_text.h"

namespace quellard {
namespace {

// The controller has no state of its own: the component's holds everything.
v3_result noState(void*, v3_bstream**) { return V3_NOT_IMPLEMENTED; }

std::int32_t getCount(void*) { return kNumVst3Parameters; }

v3_result getInfo(void*, std::int32_t index, v3_param_info* info) {
  if (index < 0 || index >= kNumVst3Parameters || info == nullptr) return V3_INVALID_ARG;
  describeParameter(static_cast<v3_param_id>(index), *info);
  return V3_OK;
}

v3_result getText(void*, v3_param_id id, double normalised, v3_str_128 text) {
  if (!isVst3Parameter(id) || std::isnan(normalised) || text == nullptr) return V3_INVALID_ARG;
  writeValueText(id, keptValue(id, normalised), text);
  return V3_OK;
}

v3_result getValueOfText(void*, v3_param_id id, std::int16_t* text, double* normalised) {
  if (!isVst3Parameter(id) || text == nullptr || normalised == nullptr) return V3_INVALID_ARG;
  const auto words = readWide(text);
  if (!words.has_value()) return V3_FALSE;
  const std::optional<float> value = valueFromWords(id, words->data());
  if (!value.has_value()) return V3_FALSE;
  *normalised = static_cast<double>(*value);
  return V3_OK;
}

double toPlain(void*, v3_param_id id, double normalised) {
  return isVst3Parameter(id) ? plainFromNormalised(id, normalised) : 0.0;
}

double toNormalised(void*, v3_param_id id, double plain) {
  return isVst3Parameter(id) ? normalisedFromPlain(id, plain) : 0.0;
}

double getValue(void* self, v3_param_id id) {
  return isVst3Parameter(id) ? static_cast<double>(Vst3Plugin::of(self).shown(id)) : 0.0;
}

v3_result setValue(void* self, v3_param_id id, double normalised) {
  if (!isVst3Parameter(id) || std::isnan(normalised)) return V3_INVALID_ARG;
  Vst3Plugin::of(self).moveShown(id, normalised);
  return V3_OK;
}

v3_result setHandler(void* self, v3_component_handler** handler) {
  Vst3Plugin::of(self).setHandler(handler);
  return V3_OK;
}

v3_plugin_view** createView(void* self, const char* name) {
  return createVst3View(Vst3Plugin::of(self), name);
}

}  // namespace

// In the order of v3_edit_controller.
constexpr v3_edit_controller_cpp kVst3Controller = {
    kVst3Unknown<Vst3Plugin>,
    kVst3Base,
    {loadState, noState, noState, getCount, getInfo, getText, getValueOfText, toPlain, toNormalised,
     getValue, setValue, setHandler, createView},
};

}  // namespace quellard

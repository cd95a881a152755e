// SPDX-License-Identifier: ISC
#include "adapters/vst3/vst3_plugin.h"

#include <memory>
#include <optional>
#include <string_view>
#include <travesty/host.h>

#include "adapters/shared/program_list.h"
#include "adapters/vst3/parameters.h"
#include "adapters/vst3/wide_text.h"

namespace quellard {
namespace {

// Ardour 7 holds a lock while it loads a program or a state, and takes it again when the plug-in
// calls it back: a deadlock. It gets new values through the next block instead.
bool deadlocksWhenCalledBack(v3_funknown** context) {
  v3_host_application** host = nullptr;
  v3_str_128 name{};
  if (context == nullptr) return false;
  if (v3_cpp_obj_query_interface(context, v3_host_application_iid, &host) != V3_OK) return false;
  const bool isNamed = v3_cpp_obj(host)->get_name(host, name) == V3_OK;
  v3_cpp_obj_unref(host);
  const auto words = readWide(name);
  return isNamed && words.has_value() && std::string_view(words->data()) == "Ardour";
}

}  // namespace

v3_result Vst3Plugin::create(int sides, const v3_tuid iid, void** object) {
  std::unique_ptr<Vst3Plugin> plugin(new Vst3Plugin(sides));
  Interface* const interface = &plugin.release()->component_;
  const v3_result result = query(interface, iid, object);
  unref(interface);
  return result;  // NOLINT(*NewDeleteLeaks): the object's references own it, not a pointer here
}

Vst3Plugin::Vst3Plugin(int sides)
    : amp(sides),
      component_{&kVst3Component, this},
      processor_{&kVst3Processor, this},
      controller_{&kVst3Controller, this},
      units_{&kVst3Units, this},
      contextNeeds_{&kVst3ContextNeeds, this} {
  for (v3_param_id id = 0; id < shown_.size(); ++id) show(id, defaultValue(id));
}

Vst3Plugin::~Vst3Plugin() { setHandler(nullptr); }

std::array<Vst3Plugin::Offer, 7> Vst3Plugin::offers() {
  return {{{v3_funknown_iid, &component_},
           {v3_plugin_base_iid, &component_},
           {v3_component_iid, &component_},
           {v3_audio_processor_iid, &processor_},
           {v3_edit_controller_iid, &controller_},
           {v3_unit_information_iid, &units_},
           {v3_process_context_requirements_iid, &contextNeeds_}}};
}

std::uint32_t Vst3Plugin::unref(void* interface) {
  Vst3Plugin& self = of(interface);
  const std::uint32_t left = --self.references_;
  if (left == 0) const std::unique_ptr<Vst3Plugin> last(&self);
  return left;
}

v3_result Vst3Plugin::initialize(void* interface, v3_funknown** context) {
  of(interface).mayCallBack_ = !deadlocksWhenCalledBack(context);
  return V3_OK;
}

v3_result Vst3Plugin::terminate(void* interface) {
  Vst3Plugin& self = of(interface);
  self.active = false;
  self.setHandler(nullptr);
  return V3_OK;
}

void Vst3Plugin::moveInBlock(v3_param_id id, double normalised) {
  const float value = keptValue(id, normalised);
  play(id, value);
  if (show(id, value)) hasUnreportedValues_ = true;
}

void Vst3Plugin::moveShown(v3_param_id id, double normalised) {
  const float value = keptValue(id, normalised);
  const bool programChanged = show(id, value);
  if (!active) play(id, value);
  if (programChanged) tellHost();
}

void Vst3Plugin::beginMove(v3_param_id id) {
  if (handler_ != nullptr) v3_cpp_obj(handler_)->begin_edit(handler_, id);
}

void Vst3Plugin::moveByHand(v3_param_id id, float value) {
  const auto normalised = static_cast<double>(value);
  moveShown(id, normalised);
  if (handler_ == nullptr) return play(id, keptValue(id, normalised));
  v3_cpp_obj(handler_)->perform_edit(handler_, id, normalised);
}

void Vst3Plugin::endMove(v3_param_id id) {
  if (handler_ != nullptr) v3_cpp_obj(handler_)->end_edit(handler_, id);
}

void Vst3Plugin::chooseByHand(int program) {
  const double normalised = normalisedFromPlain(kVst3Program, program);
  const float value = keptValue(kVst3Program, normalised);
  if (shown_[kVst3Program].exchange(value) == value) return;
  playedProgram_ = program;
  if (handler_ == nullptr) return;
  beginMove(kVst3Program);
  v3_cpp_obj(handler_)->perform_edit(handler_, kVst3Program, normalised);
  endMove(kVst3Program);
}

void Vst3Plugin::countWindows(int more) {
  windows_ += more;
  amp.measureLevels(windows_ > 0);
}

HostedValues Vst3Plugin::shownValues() const {
  HostedValues values;
  v3_param_id id = 0;
  for (float& value : values) value = shown(++id);
  return values;
}

// The host is shown the program that has these values, if there is one.
void Vst3Plugin::load(const HostedValues& values) {
  amp.setHostedValues(values);
  shownPreset = -1;
  std::copy(values.begin(), values.end(), shown_.begin() + 1);
  if (const std::optional<int> program = listedProgramWith(amp.values())) {
    playedProgram_ = *program;
    shown_[kVst3Program] = keptValue(kVst3Program, normalisedFromPlain(kVst3Program, *program));
  }
  tellHost();
}

// Only a change of the program sets the knobs: hosts send a parameter's value again, at every start
// for instance, and that must not undo the moves since the program was chosen.
void Vst3Plugin::play(v3_param_id id, float value) {
  if (id != kVst3Program) return amp.setValue(static_cast<int>(id), value);
  const int program = stepOf(id, value);
  if (playedProgram_.exchange(program) != program) amp.setValues(listedProgramValues(program));
}

bool Vst3Plugin::show(v3_param_id id, float value) {
  const bool changed = shown_[id].exchange(value) != value;
  if (!changed || id != kVst3Program) return false;
  shownPreset = stepOf(id, value);
  const ParameterValues values = listedProgramValues(stepOf(id, value));
  std::copy(values.begin(), values.end(), shown_.begin() + 1);
  return true;
}

void Vst3Plugin::setHandler(v3_component_handler** handler) {
  if (handler != nullptr) v3_cpp_obj_ref(handler);
  if (handler_ != nullptr) v3_cpp_obj_unref(handler_);
  handler_ = handler;
}

void Vst3Plugin::tellThrough(v3_param_changes** changes) {
  if (changes == nullptr || !hasUnreportedValues_.exchange(false)) return;
  for (v3_param_id id = 0; id < shown_.size(); ++id) {
    std::int32_t index = 0;
    v3_param_value_queue** queue = v3_cpp_obj(changes)->add_param_data(changes, &id, &index);
    if (queue != nullptr)
      v3_cpp_obj(queue)->add_point(queue, 0, static_cast<double>(shown(id)), &index);
  }
}

void Vst3Plugin::tellHost() {
  if (handler_ == nullptr || !mayCallBack_) {
    hasUnreportedValues_ = true;
    return;
  }
  v3_cpp_obj(handler_)->restart_component(handler_, V3_RESTART_PARAM_VALUES_CHANGED);
}

}  // namespace quellard

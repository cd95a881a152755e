// SPDX-License-Identifier: ISC
// The framework's VST3 wrapper, compiled as it is, with the few of its answers put right that lose
// something: a state may be damaged or come in pieces, moves may come in a block without frames,
// the tail is not 0, knobs read like the amplifier's, and a bus that is not there has no
// description. The wrapper's objects are tables of functions, so it takes no more than an exchange
// of pointers when a component is made.
#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include "adapters/shared/state.h"
#include "adapters/shared/value_text.h"
#include "adapters/vst3/framework.h"
#include "rig/hosted_amp.h"

// The wrapper's entry, to be called by our own.
#define GetPluginFactory wrappedPluginFactory
#include <DistrhoPluginMain.cpp>
#undef GetPluginFactory

namespace quellard {
namespace {

// The framework's own parameters come first.
bool isAmplifiers(v3_param_id id) {
  return id >= kVst3InternalParameterCount && id < kVst3InternalParameterCount + kNumStoredValues;
}
int indexOf(v3_param_id id) { return static_cast<int>(id) - kVst3InternalParameterCount + 1; }
v3_param_id idOf(int index) {
  return static_cast<v3_param_id>(kVst3InternalParameterCount + index - 1);
}

// Null before the host has initialised the component.
template <typename Object>
PluginVst3* wrapped(void* self) {
  return (*static_cast<Object**>(self))->vst3;
}

float valueOf(PluginVst3& plugin, v3_param_id id, double normalised) {
  const double control = plugin.normalizedParameterToPlain(id, normalised);
  return valueFromControl(indexOf(id), static_cast<float>(control));
}

// --- The state: the same bytes in every format.

v3_result V3_API getState(void* self, v3_bstream** stream) {
  PluginVst3* plugin = wrapped<dpf_component>(self);
  if (plugin == nullptr) return V3_NOT_INITIALIZED;
  State state{};
  for (int index = 1; index <= kNumStoredValues; ++index) {
    const v3_param_id id = idOf(index);
    state.values[static_cast<std::size_t>(index - 1)] =
        valueOf(*plugin, id, plugin->getParameterNormalized(id));
  }
  const bool written = writeState(state, [&](std::uint8_t* from, std::size_t size) {
    std::int32_t done = 0;
    const v3_result result =
        v3_cpp_obj(stream)->write(stream, from, static_cast<std::int32_t>(size), &done);
    return result == V3_OK ? done : -1;
  });
  return written ? V3_OK : V3_INTERNAL_ERR;
}

// What the wrapper reads: names and values, each ended by a zero.
struct WrapperState {
  const v3_funknown* unknown = &table.base;  // first, as a host's object would have it
  std::string text;

  struct Table {
    v3_funknown base;
    v3_bstream stream;
  };
  static const Table table;
  static v3_result V3_API read(void* self, void* to, std::int32_t room, std::int32_t* done) {
    std::string& text = static_cast<WrapperState*>(self)->text;
    *done = static_cast<std::int32_t>(
        text.copy(static_cast<char*>(to), static_cast<std::size_t>(room)));
    text.erase(0, static_cast<std::size_t>(*done));
    return V3_OK;
  }

  explicit WrapperState(const StateValues& values) {
    add("__dpf_parameters_begin__");
    for (int index = 1; index <= kNumStoredValues; ++index) {
      const auto i = static_cast<std::size_t>(index);
      add(kParameters[i].symbol);
      std::array<char, 32> number{};
      const auto control = static_cast<double>(controlFromValue(index, values[i - 1]));
      char* const end = number.data() + number.size();
      add({number.data(), std::to_chars(number.data(), end, control).ptr});
    }
    add("__dpf_parameters_end__");
    add("\xfe");
  }
  void add(std::string_view word) { text.append(word).push_back('\0'); }
};
const WrapperState::Table WrapperState::table = {{}, {read, nullptr, nullptr, nullptr}};

// The wrapper would take from a damaged state what it can read, and reads numbers as the program's
// language writes them.
v3_result V3_API setState(void* self, v3_bstream** stream) try {
  PluginVst3* plugin = wrapped<dpf_component>(self);
  if (plugin == nullptr) return V3_NOT_INITIALIZED;
  const auto stored = readState([&](std::uint8_t* to, std::size_t room) -> std::int64_t {
    std::int32_t got = 0;
    const v3_result result =
        v3_cpp_obj(stream)->read(stream, to, static_cast<std::int32_t>(room), &got);
    return result == V3_OK ? got : 0;  // hosts answer the end in either way
  });
  if (!stored.has_value()) return V3_FALSE;
  WrapperState state(stored->values);
  const ScopedSafeLocale plainNumbers;
  return plugin->setState(static_cast<v3_bstream**>(static_cast<void*>(&state)));
} catch (...) {
  return V3_NOMEM;
}

// --- Audio.

// The last point of every queue, as there are no frames in between.
void takeMoves(PluginVst3& plugin, v3_param_changes** moves) {
  const std::int32_t queues = moves != nullptr ? v3_cpp_obj(moves)->get_param_count(moves) : 0;
  for (std::int32_t i = 0; i < queues; ++i) {
    v3_param_value_queue** queue = v3_cpp_obj(moves)->get_param_data(moves, i);
    if (queue == nullptr) continue;
    const v3_param_id id = v3_cpp_obj(queue)->get_param_id(queue);
    const std::int32_t points = v3_cpp_obj(queue)->get_point_count(queue);
    std::int32_t offset = 0;
    double normalised = 0.0;
    if (!isAmplifiers(id) || points < 1) continue;
    if (v3_cpp_obj(queue)->get_point(queue, points - 1, &offset, &normalised) != V3_OK) continue;
    plugin._setNormalizedPluginParameterValue(id - kVst3InternalParameterCount, normalised);
  }
}

// Hosts send moves in a block without frames while nothing is played; the wrapper would forget
// them.
v3_result V3_API process(void* self, v3_process_data* data) {
  if (data->nframes > 0) return dpf_audio_processor::process(self, data);
  PluginVst3* plugin = wrapped<dpf_audio_processor>(self);
  if (plugin == nullptr) return V3_NOT_INITIALIZED;
  takeMoves(*plugin, data->input_params);
  return V3_OK;
}

std::uint32_t V3_API getTailSamples(void* self) {
  PluginVst3* plugin = wrapped<dpf_audio_processor>(self);
  return plugin != nullptr ? HostedAmp::tailFrames(plugin->getSampleRate()) : 0;
}

// --- Buses, of which the wrapper describes and switches any number.

bool isBus(void* self, std::int32_t media, std::int32_t direction, std::int32_t bus) {
  return bus >= 0 && bus < dpf_component::get_bus_count(self, media, direction);
}

v3_result V3_API getBusInfo(void* self, std::int32_t media, std::int32_t direction,
                            std::int32_t bus, v3_bus_info* info) {
  if (!isBus(self, media, direction, bus)) return V3_INVALID_ARG;
  return dpf_component::get_bus_info(self, media, direction, bus, info);
}

v3_result V3_API activateBus(void* self, std::int32_t media, std::int32_t direction,
                             std::int32_t bus, v3_bool state) {
  if (!isBus(self, media, direction, bus)) return V3_INVALID_ARG;
  return dpf_component::activate_bus(self, media, direction, bus, state);
}

// Another arrangement is declined, which is no error.
v3_result V3_API setBusArrangements(void* self, v3_speaker_arrangement* inputs, std::int32_t ins,
                                    v3_speaker_arrangement* outputs, std::int32_t outs) {
  const v3_result result =
      dpf_audio_processor::set_bus_arrangements(self, inputs, ins, outputs, outs);
  return result == V3_INTERNAL_ERR ? V3_FALSE : result;
}

// --- Parameters.

// The wrapper hides its list of programs, which hosts then must not change, and calls it
// automatable, though it does not look for it in a block.
v3_result V3_API getParameterInfo(void* self, std::int32_t number, v3_param_info* info) {
  const v3_result result = dpf_edit_controller::get_parameter_info(self, number, info);
  if (result == V3_OK && number == kVst3InternalParameterProgram) {
    info->flags = V3_PARAM_IS_LIST | V3_PARAM_PROGRAM_CHANGE;
  }
  return result;
}

v3_result V3_API getText(void* self, v3_param_id id, double normalised, v3_str_128 text) {
  PluginVst3* plugin = wrapped<dpf_edit_controller>(self);
  if (plugin == nullptr || !isAmplifiers(id)) {
    return dpf_edit_controller::get_parameter_string_for_value(self, id, normalised, text);
  }
  if (!(normalised >= 0.0 && normalised <= 1.0)) return V3_INVALID_ARG;
  strncpy_utf16(text, valueText(indexOf(id), valueOf(*plugin, id, normalised)).data(), 128);
  return V3_OK;
}

v3_result V3_API getValue(void* self, v3_param_id id, std::int16_t* text, double* normalised) {
  if (!isAmplifiers(id)) {
    return dpf_edit_controller::get_parameter_value_for_string(self, id, text, normalised);
  }
  const ScopedUTF8String word(text);
  const std::optional<float> value = valueFromText(indexOf(id), static_cast<const char*>(word));
  if (!value.has_value()) return V3_FALSE;
  *normalised = static_cast<double>(*value);
  return V3_OK;
}

// --- How these get into the wrapper's tables.

// The wrapper makes a component's processor and controller when they are first asked for.
v3_result V3_API queryInterface(void* self, const v3_tuid interface, void** object) {
  const v3_result result = dpf_component::query_interface_component(self, interface, object);
  dpf_component& component = **static_cast<dpf_component**>(self);
  if (dpf_audio_processor* processor = component.processor) {
    processor->proc.process = process;
    processor->proc.get_tail_samples = getTailSamples;
    processor->proc.set_bus_arrangements = setBusArrangements;
  }
  if (dpf_edit_controller* controller = component.controller) {
    controller->ctrl.get_parameter_info = getParameterInfo;
    controller->ctrl.get_parameter_string_for_value = getText;
    controller->ctrl.get_parameter_value_for_string = getValue;
  }
  return result;
}

v3_result V3_API createInstance(void* self, const v3_tuid classId, const v3_tuid interface,
                                void** object) {
  const v3_result result = dpf_factory::create_instance(self, classId, interface, object);
  if (result != V3_OK) return result;
  dpf_component& component = **static_cast<dpf_component**>(*object);
  component.query_interface = queryInterface;
  component.comp.get_bus_info = getBusInfo;
  component.comp.activate_bus = activateBus;
  component.comp.set_state = setState;
  component.comp.get_state = getState;
  return result;
}

}  // namespace
}  // namespace quellard

DISTRHO_PLUGIN_EXPORT const void* GetPluginFactory() {
  const void* factory = wrappedPluginFactory();
  const auto* table = *static_cast<DISTRHO_NAMESPACE::dpf_factory* const*>(factory);
  const_cast<DISTRHO_NAMESPACE::dpf_factory*>(table)->v1.create_instance = quellard::createInstance;
  return factory;
}

// SPDX-License-Identifier: ISC
// The built VST3 module, driven through its C interface.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <travesty/audio_processor.h>
#include <travesty/component.h>
#include <travesty/edit_controller.h>
#include <travesty/factory.h>
#include <travesty/message.h>
#include <travesty/unit.h>
#include <travesty/view.h>
#include <utility>

#include "params/factory_bank.h"
#include "tests/adapters/format_suite.h"
#include "tests/adapters/vst3_objects.h"
#include "tests/support/environment.h"

namespace quellard::test {
namespace {

constexpr v3_tuid kMonoClass = V3_ID(0x20465044, 0x73616c63, 0x4c4c5551, 0x00000000);
constexpr v3_tuid kStereoClass = V3_ID(0x20465044, 0x73616c63, 0x534c5551, 0x00000000);
constexpr v3_param_id kProgram = 0, kSelector = 19, kBypass = 20;
constexpr int kPrograms = 1 + int{kNumFactoryPresets};

v3_plugin_factory** factory() {
  static void* const entry = symbolOf(QUELLARD_VST3_FILE, "ModuleEntry");
  static const bool ready = reinterpret_cast<bool (*)(void*)>(entry)(nullptr);
  void* const get = symbolOf(QUELLARD_VST3_FILE, "GetPluginFactory");
  return ready ? reinterpret_cast<v3_plugin_factory** (*)()>(get)() : nullptr;
}

std::string narrow(const std::int16_t* text) {
  return {text, std::find(text, text + sizeof(v3_str_128) / sizeof *text, 0)};
}

struct Stream final : HostObject<v3_bstream> {
  ByteStream& kept;
  explicit Stream(ByteStream& stream) : HostObject(kTable), kept(stream) {}
  static v3_result read(void* self, void* to, std::int32_t size, std::int32_t* done) {
    *done = static_cast<Stream*>(self)->kept.read(to, static_cast<std::size_t>(size));
    return *done > 0 ? V3_OK : V3_FALSE;
  }
  static v3_result write(void* self, void* from, std::int32_t size, std::int32_t* done) {
    *done = static_cast<Stream*>(self)->kept.write(from, static_cast<std::size_t>(size));
    return V3_OK;
  }
  static constexpr Table kTable = {{query, ref, unref}, {read, write, nullptr, nullptr}};
};

struct Queue final : HostObject<v3_param_value_queue> {
  v3_param_id id;
  std::vector<std::pair<std::int32_t, double>> points;
  std::int32_t claimed = -1;  // a wrong count of points, if not negative
  Queue(v3_param_id parameter, std::vector<std::pair<std::int32_t, double>> sent)
      : HostObject(kTable), id(parameter), points(std::move(sent)) {}
  static Queue& of(void* self) { return *static_cast<Queue*>(self); }
  static v3_param_id parameter(void* self) { return of(self).id; }
  static std::int32_t pointCount(void* self) {
    return of(self).claimed < 0 ? static_cast<std::int32_t>(of(self).points.size())
                                : of(self).claimed;
  }
  static v3_result point(void* self, std::int32_t i, std::int32_t* frame, double* value) {
    if (static_cast<std::size_t>(i) >= of(self).points.size()) return V3_INVALID_ARG;
    std::tie(*frame, *value) = of(self).points[static_cast<std::size_t>(i)];
    return V3_OK;
  }
  static constexpr Table kTable = {{query, ref, unref}, {parameter, pointCount, point, nullptr}};
};

struct Moves final : HostObject<v3_param_changes> {
  std::vector<Queue> queues;
  bool lies = false;  // claims a wrong count of queues
  Moves() : HostObject(kTable) {}
  static std::int32_t queueCount(void* self) {
    const auto& moves = *static_cast<Moves*>(self);
    return moves.lies ? INT32_MAX : static_cast<std::int32_t>(moves.queues.size());
  }
  static v3_param_value_queue** queue(void* self, std::int32_t i) {
    auto& queues = static_cast<Moves*>(self)->queues;
    const auto at = static_cast<std::size_t>(i);
    return at < queues.size() ? queues[at].interface() : nullptr;
  }
  static constexpr Table kTable = {{query, ref, unref}, {queueCount, queue, nullptr}};
};

// The values that a block returns.
struct Outputs final : HostObject<v3_param_changes> {
  struct Point final : HostObject<v3_param_value_queue> {
    double* value = nullptr;
    Point() : HostObject(kTable) {}
    static v3_result add(void* self, std::int32_t, double value, std::int32_t*) {
      *static_cast<Point*>(self)->value = value;
      return V3_OK;
    }
    static constexpr Table kTable = {{query, ref, unref}, {nullptr, nullptr, nullptr, add}};
  };
  std::array<double, 24> values{};
  Point point;
  Outputs() : HostObject(kTable) {}
  static v3_param_value_queue** add(void* self, v3_param_id* id, std::int32_t*) {
    auto& outputs = *static_cast<Outputs*>(self);
    outputs.point.value = &outputs.values.at(*id);
    return outputs.point.interface();
  }
  static constexpr Table kTable = {{query, ref, unref}, {nullptr, nullptr, add}};
};

struct Handler final : HostObject<v3_component_handler> {
  int restarts = 0;
  Handler() : HostObject(kTable) {}
  static v3_result restart(void* self, std::int32_t flags) {
    static_cast<Handler*>(self)->restarts += flags == V3_RESTART_PARAM_VALUES_CHANGED ? 1 : 1000;
    return V3_OK;
  }
  static constexpr Table kTable = {{query, ref, unref}, {nullptr, nullptr, nullptr, restart}};
};

class Vst3Plugin : public HostedPlugin {
 public:
  explicit Vst3Plugin(std::int32_t channels = 1) : sides(channels) {
    v3_cpp_obj(factory())->create_instance(factory(), channels == 1 ? kMonoClass : kStereoClass,
                                           v3_component_iid, reinterpret_cast<void**>(&component));
    v3_cpp_obj_initialize(component, nullptr);
    v3_cpp_obj_query_interface(component, v3_audio_processor_iid, &processor);
    v3_cpp_obj_query_interface(component, v3_edit_controller_iid, &controller);
    v3_cpp_obj_query_interface(component, v3_unit_information_iid, &units);
    c().set_component_handler(controller, handler.interface());
  }
  ~Vst3Plugin() override {
    v3_cpp_obj(component)->set_active(component, false);
    v3_cpp_obj_terminate(component);
    v3_cpp_obj_terminate(component);
    v3_cpp_obj_unref(units);
    v3_cpp_obj_unref(controller);
    v3_cpp_obj_unref(component);
    EXPECT_EQ(v3_cpp_obj_unref(processor), 0U);
    EXPECT_EQ(handler.references, 1);
  }
  const v3_edit_controller& c() const { return *v3_cpp_obj(controller); }
  const v3_audio_processor& p() const { return *v3_cpp_obj(processor); }
  const v3_unit_information& u() const { return *v3_cpp_obj(units); }

  v3_result setUp(double rate, std::int32_t maxFrames, std::int32_t size = V3_SAMPLE_64) {
    v3_process_setup setup{V3_REALTIME, size, maxFrames, rate};
    return p().setup_processing(processor, &setup);
  }
  // At the same rate a pause of processing must be enough to start from silence.
  bool activate(double rate, int maxFrames) override {
    if (std::exchange(rate_, rate) != rate) {
      v3_cpp_obj(component)->set_active(component, false);
      if (setUp(rate, maxFrames) != V3_OK) return false;
      if (v3_cpp_obj(component)->set_active(component, true) != V3_OK) return false;
    }
    return plays_ = p().set_processing(processor, true) == V3_OK;
  }
  void deactivate() override {
    p().set_processing(processor, false);
    plays_ = false;
  }

  // A jump, also where the queue has points already, preceded by the queue of an unknown parameter.
  void set(int index, double value, int frame = 0) override {
    const auto id = static_cast<v3_param_id>(index);
    auto& queues = moves.queues;
    auto at =
        std::find_if(queues.begin(), queues.end(), [&](const Queue& q) { return q.id == id; });
    if (at == queues.end()) {
      queues.push_back({77, {{frame, value}}});
      at = queues.insert(queues.end(), {id, {}});
    }
    last_ = std::max(last_, frame);
    if (!at->points.empty()) at->points.push_back({last_, at->points.back().second});
    at->points.push_back({last_, value});
    if (plays_) return;
    v3_process_data none{};
    EXPECT_EQ(process(none), V3_OK);
  }
  bool bypass(bool bypassed) override { return set(kBypass, bypassed ? 1.0 : 0.0), true; }
  double get(int index) override {
    return c().get_parameter_normalised(controller, static_cast<v3_param_id>(index));
  }
  void show(v3_param_id id, double value) const {
    EXPECT_EQ(c().set_parameter_normalised(controller, id, value), V3_OK);
  }
  std::array<double, 24> shown() {
    std::array<double, 24> values{};
    for (int id = 0; id < 24; ++id) values[static_cast<std::size_t>(id)] = get(id);
    return values;
  }
  v3_result process(v3_process_data& data) {
    data.input_params = moves.interface();
    data.output_params = outputs.interface();
    v3_result result = V3_OK;
    counted([&] { result = p().process(processor, &data); });
    moves.queues.clear();
    last_ = 0;
    return result;
  }
  template <typename Sample>
  void playBuses(Channels<Sample>& in, Channels<Sample>& out) {
    auto from = pointersTo(in), to = pointersTo(out);
    v3_audio_bus_buffers input{sides, ~0ULL, {}}, output{sides, ~0ULL, {}};
    v3_process_data data{};
    if constexpr (sizeof(Sample) == sizeof(double)) {
      data.symbolic_sample_size = V3_SAMPLE_64;
      input.channel_buffers_64 = from.data(), output.channel_buffers_64 = to.data();
    } else {
      input.channel_buffers_32 = from.data(), output.channel_buffers_32 = to.data();
    }
    data.nframes = static_cast<std::int32_t>(in[0].size());
    data.num_input_buses = data.num_output_buses = 1;
    data.inputs = &input, data.outputs = &output;
    EXPECT_EQ(process(data), V3_OK);
    EXPECT_EQ(output.channel_silence_bitset, 0U);
  }
  void play(Channels<float>& in, Channels<float>& out) override { playBuses(in, out); }
  void play(Channels<double>& in, Channels<double>& out) override { playBuses(in, out); }

  bool save(ByteStream& to) override {
    return v3_cpp_obj(component)->get_state(component, Stream(to).interface()) == V3_OK;
  }
  bool load(ByteStream& from) override {
    return v3_cpp_obj(component)->set_state(component, Stream(from).interface()) == V3_OK;
  }
  int timesToldOfNewValues() override { return handler.restarts; }
  std::string text(int index, double value) override {
    v3_str_128 text{};
    const auto id = static_cast<v3_param_id>(index);
    c().get_parameter_string_for_value(controller, id, value, text);
    return narrow(text);
  }
  std::optional<double> value(int index, std::string text) override {
    v3_str_128 wide{};
    std::copy(text.begin(), text.end(), wide);
    double read = -1.0;
    const auto id = static_cast<v3_param_id>(index);
    const auto result = c().get_parameter_value_for_string(controller, id, wide, &read);
    return result == V3_OK ? std::optional(read) : std::nullopt;
  }
  bool loadPreset(int number) override {
    show(kProgram, number / (kPrograms - 1.0));
    return true;
  }

  std::int32_t sides;
  v3_component** component = nullptr;
  v3_audio_processor** processor = nullptr;
  v3_edit_controller** controller = nullptr;
  v3_unit_information** units = nullptr;
  Handler handler;
  Moves moves;  // that the next block brings
  Outputs outputs;

 private:
  bool plays_ = false;
  double rate_ = 0.0;
  int last_ = 0;  // frame of a move
};

constexpr Format kMono{"mono", createPlugin<Vst3Plugin>, 1, true, true};
constexpr Format kStereo{"stereo", createPlugin<Vst3Plugin, 2>, 2, true, true};
INSTANTIATE_TEST_SUITE_P(Vst3, Formats, testing::Values(kMono, kStereo));
INSTANTIATE_TEST_SUITE_P(Vst3, StatefulFormats, testing::Values(kMono));

TEST(Vst3, FactoryDescribesTwoClasses) {
  v3_plugin_factory_3** factory3 = nullptr;
  ASSERT_EQ(v3_cpp_obj_query_interface(factory(), v3_plugin_factory_3_iid, &factory3), V3_OK);
  ASSERT_EQ(v3_cpp_obj(factory())->num_classes(factory()), 2);
  for (const std::int32_t i : {0, 1}) {
    v3_class_info first{};
    v3_class_info_2 second{};
    v3_class_info_3 third{};
    v3_cpp_obj(factory())->get_class_info(factory(), i, &first);
    auto** factory2 = reinterpret_cast<v3_plugin_factory_2**>(factory3);
    v3_cpp_obj(factory2)->get_class_info_2(factory2, i, &second);
    v3_cpp_obj(factory3)->get_class_info_utf16(factory3, i, &third);
    for (const auto& id : {first.class_id, second.class_id, third.class_id})
      EXPECT_TRUE(v3_tuid_match(id, i == 0 ? kMonoClass : kStereoClass)) << "projects store it";
    EXPECT_STREQ(first.name, i == 0 ? "Quellard" : "Quellard Stereo");
    EXPECT_EQ(narrow(third.name), second.name);
    EXPECT_STREQ(second.category, "Audio Module Class");
    EXPECT_STREQ(second.sub_categories, i == 0 ? "Fx|Distortion|Mono" : "Fx|Distortion|Stereo");
    EXPECT_EQ(narrow(third.vendor), "Quellard");
  }
  v3_class_info info{};
  for (const std::int32_t i : {-1, 2})
    EXPECT_NE(v3_cpp_obj(factory())->get_class_info(factory(), i, &info), V3_OK);
  void* object = &info;
  for (const auto& [id, interface] :
       {std::pair{v3_bstream_iid, v3_component_iid}, std::pair{kMonoClass, v3_bstream_iid}}) {
    EXPECT_NE(v3_cpp_obj(factory())->create_instance(factory(), id, interface, &object), V3_OK);
    EXPECT_EQ(object, nullptr);
  }
}

// The module asks for its window's libraries only when one opens. tests/adapters/faces has the
// rest.
TEST(Vst3, WithoutADisplayNoWindowOpens) {
  removeVariable("DISPLAY");
  const Vst3Plugin plugin;
  v3_plugin_view** view = plugin.c().create_view(plugin.controller, "editor");
  ASSERT_EQ(view != nullptr, QUELLARD_HAS_FACE);
  if (view == nullptr) return;
  EXPECT_NE(v3_cpp_obj(view)->attached(view, &view, V3_VIEW_PLATFORM_TYPE_NATIVE), V3_OK);
  EXPECT_EQ(v3_cpp_obj(view)->removed(view), V3_OK);
  EXPECT_EQ(v3_cpp_obj_unref(view), 0U);
}

// Every interface gives every other, and always the same object for it.
TEST(Vst3, EveryInterfaceLeadsToEveryOther) {
  Vst3Plugin plugin;
  const std::array<void*, 4> interfaces = {plugin.component, plugin.processor, plugin.controller,
                                           plugin.units};
  const std::array offered = {v3_funknown_iid,
                              v3_plugin_base_iid,
                              v3_component_iid,
                              v3_audio_processor_iid,
                              v3_edit_controller_iid,
                              v3_unit_information_iid,
                              v3_process_context_requirements_iid};
  for (const std::uint8_t* id : offered) {
    std::set<void*> found;
    for (void* interface : interfaces) {
      const auto& unknown = **static_cast<v3_funknown**>(interface);
      void* object = nullptr;
      ASSERT_EQ(unknown.query_interface(interface, id, &object), V3_OK);
      EXPECT_EQ((*static_cast<v3_funknown**>(object))->unref(object), 4U);
      found.insert(object);
      EXPECT_EQ(unknown.query_interface(interface, v3_message_iid, &object), V3_NO_INTERFACE);
      EXPECT_EQ(object, nullptr);
      EXPECT_NE(unknown.query_interface(interface, nullptr, &object), V3_OK);
      EXPECT_NE(unknown.query_interface(interface, id, nullptr), V3_OK);
    }
    EXPECT_EQ(found.size(), 1U);
  }
}

TEST(Vst3, DescribesBusesAndDeclinesOtherArrangements) {
  for (const std::int32_t sides : {1, 2}) {
    const Vst3Plugin plugin(sides);
    const v3_component& component = *v3_cpp_obj(plugin.component);
    v3_speaker_arrangement ours = 0, other = V3_SPEAKER_L | V3_SPEAKER_R | V3_SPEAKER_C;
    for (const std::int32_t way : {V3_INPUT, V3_OUTPUT}) {
      v3_bus_info bus{};
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_AUDIO, way), 1);
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_EVENT, way), 0);
      for (const auto& [media, wrong] : {std::pair{V3_AUDIO, -1}, {V3_AUDIO, 1}, {V3_EVENT, 0}}) {
        EXPECT_NE(component.get_bus_info(plugin.component, media, way, wrong, &bus), V3_OK);
        EXPECT_NE(component.activate_bus(plugin.component, media, way, wrong, true), V3_OK);
      }
      ASSERT_EQ(component.get_bus_info(plugin.component, V3_AUDIO, way, 0, &bus), V3_OK);
      EXPECT_EQ(std::pair(bus.channel_count, bus.direction), std::pair(sides, way));
      EXPECT_EQ(bus.flags, std::uint32_t{V3_DEFAULT_ACTIVE});
      for (const bool on : {false, true})
        EXPECT_EQ(component.activate_bus(plugin.component, V3_AUDIO, way, 0, on), V3_OK);
      EXPECT_EQ(plugin.p().get_bus_arrangement(plugin.processor, way, 0, &ours), V3_OK);
      EXPECT_EQ(ours, sides == 1 ? V3_SPEAKER_M : V3_SPEAKER_L | V3_SPEAKER_R);
    }
    const auto propose = [&](auto* in, std::int32_t ins, auto* out, std::int32_t outs) {
      return plugin.p().set_bus_arrangements(plugin.processor, in, ins, out, outs);
    };
    EXPECT_EQ(propose(&ours, 1, &ours, 1), V3_TRUE);
    EXPECT_EQ(propose(&other, 1, &ours, 1), V3_FALSE);
    EXPECT_EQ(propose(&ours, 1, &other, 1), V3_FALSE);
    EXPECT_EQ(propose(&ours, 0, &ours, 1), V3_FALSE);
    EXPECT_NE(propose(&ours, -1, &ours, 1), V3_TRUE);
    EXPECT_NE(propose(static_cast<v3_speaker_arrangement*>(nullptr), 1, &ours, 1), V3_TRUE);
    EXPECT_EQ(plugin.p().get_latency_samples(plugin.processor), 0U);
    for (const double rate : {48000.0, 192000.0}) {
      Vst3Plugin fresh(sides);
      fresh.setUp(rate, 64);
      EXPECT_EQ(fresh.p().get_tail_samples(fresh.processor), 2.0 * rate);
    }
  }
}

// Ids, units and programs are consistent, and conversions to plain values and back are exact.
TEST(Vst3, DescribesParametersUnitsAndPrograms) {
  Vst3Plugin plugin;
  std::set<std::string> titles;
  ASSERT_EQ(plugin.c().get_parameter_count(plugin.controller), 24);
  for (int id = 0; id < 24; ++id) {
    v3_param_info info{};
    v3_unit_info unit{};
    ASSERT_EQ(plugin.c().get_parameter_info(plugin.controller, id, &info), V3_OK);
    ASSERT_EQ(plugin.u().get_unit_info(plugin.units, info.unit_id, &unit), V3_OK);
    EXPECT_EQ(info.param_id, static_cast<v3_param_id>(id)) << "projects store it";
    const bool isKnob = id > 0 && id < 19;
    const std::string shown = (isKnob ? narrow(unit.name) + " " : "") + narrow(info.short_title);
    EXPECT_EQ(narrow(info.title), shown);
    EXPECT_EQ(unit.id, isKnob ? 1 + (id - 1) / 6 : 0);
    EXPECT_EQ(unit.parent_unit_id, isKnob ? 0 : -1);
    EXPECT_EQ(unit.program_list_id >= 0, !isKnob);
    EXPECT_EQ(info.step_count, isKnob || id > 20 ? 0 : id == 0 ? kPrograms - 1 : id == 19 ? 2 : 1);
    EXPECT_EQ(info.flags,
              V3_PARAM_CAN_AUTOMATE | (id == 0    ? V3_PARAM_IS_LIST | V3_PARAM_PROGRAM_CHANGE
                                       : id == 19 ? V3_PARAM_IS_LIST
                                       : id == 20 ? V3_PARAM_IS_BYPASS
                                                  : 0));
    EXPECT_EQ(plugin.get(id), info.default_normalised_value);
    titles.insert(narrow(info.title));
    if (id > 20) continue;  // in decibels
    const double top = isKnob ? 10.0 : info.step_count;
    const auto p = static_cast<v3_param_id>(id);
    for (int step = 0; step <= 10; ++step) {
      const double plain = isKnob ? step : std::min<double>(step, info.step_count);
      const double value = plugin.c().plain_parameter_to_normalised(plugin.controller, p, plain);
      EXPECT_EQ(static_cast<float>(value), static_cast<float>(plain / top));
      EXPECT_EQ(plugin.c().normalised_parameter_to_plain(plugin.controller, p, value), plain);
      EXPECT_EQ(plugin.value(id, plugin.text(id, value)), static_cast<float>(value));
    }
  }
  const auto kept = static_cast<double>(4.39F);  // some hosts keep floats
  EXPECT_EQ(plugin.c().plain_parameter_to_normalised(plugin.controller, 5, kept),
            static_cast<double>(0.439F));
  EXPECT_EQ(plugin.c().normalised_parameter_to_plain(plugin.controller, 5, 0.439), kept);
  EXPECT_EQ(plugin.c().plain_parameter_to_normalised(plugin.controller, 21, -12.0), 0.25);
  EXPECT_EQ(plugin.c().normalised_parameter_to_plain(plugin.controller, 22, 1.0), -30.0);
  EXPECT_EQ(titles.size(), 24U);
  EXPECT_TRUE(titles.contains("Modern Gain") && titles.contains("Channel"));
  v3_program_list_info list{};
  v3_unit_info root{};
  ASSERT_EQ(plugin.u().get_program_list_count(plugin.units), 1);
  ASSERT_EQ(plugin.u().get_program_list_info(plugin.units, 0, &list), V3_OK);
  ASSERT_EQ(plugin.u().get_unit_info(plugin.units, 0, &root), V3_OK);
  EXPECT_EQ(std::pair(list.id, list.programCount), std::pair(root.program_list_id, kPrograms));
  for (int i = 0; i < kPrograms; ++i) {
    v3_str_128 name{};
    ASSERT_EQ(plugin.u().get_program_name(plugin.units, list.id, i, name), V3_OK);
    EXPECT_EQ(narrow(name), i == 0 ? "Init" : kFactoryBank[static_cast<std::size_t>(i - 1)].name);
    EXPECT_EQ(narrow(name), plugin.text(0, i / (kPrograms - 1.0)));
  }
  v3_str_128 name{};
  EXPECT_NE(plugin.u().get_program_name(plugin.units, list.id, kPrograms, name), V3_OK);
  EXPECT_NE(plugin.u().get_program_name(plugin.units, list.id + 1, 0, name), V3_OK);
}

// The output of one block with these queues.
std::vector<double> played(Vst3Plugin& plugin, std::vector<Queue> queues, int frames = 8192) {
  Random random(5);
  Channels<double> io = drawChannels<double>(random, 1, frames);
  plugin.activate(48000.0, 8192);
  plugin.moves.queues = std::move(queues);
  plugin.play(io, io);
  return io[0];
}
std::vector<double> played(std::vector<Queue> queues) {
  Vst3Plugin plugin;
  return played(plugin, std::move(queues));
}

double distance(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
  return std::sqrt(sum / static_cast<double>(a.size()));
}

// The points of a queue are connected by lines: it sounds like a queue with a point for every
// frame, and does not depend on other queues.
TEST(Vst3, QueuesAreLines) {
  const auto line = [](int frame) {
    return frame < 3000 ? 0.2 + 0.6 * frame / 3000.0 : 0.8 - 0.5 * (frame - 3000) / 5000.0;
  };
  Queue few(17, {{0, line(0)}, {3000, line(3000)}, {8000, line(8000)}}), fine(17, {});
  for (int frame = 0; frame <= 8000; ++frame) fine.points.emplace_back(frame, line(frame));
  const Queue bass(14, {{100, 0.2}, {7000, 0.9}});
  const auto coarse = played({few, bass});
  const double level = distance(coarse, std::vector<double>(coarse.size()));
  EXPECT_LT(distance(coarse, played({fine, bass})), 0.01 * level);
  EXPECT_GT(distance(coarse, played({Queue(17, {few.points[0]}), bass})), 0.1 * level);
  EXPECT_GT(distance(coarse, played({few})), 0.01 * level);

  // The first point of a queue is a jump, two points at one frame are another, and lists only jump.
  const auto sharp = played({Queue(17, {{0, 0.5}, {4999, 0.5}, {5000, 0.9}})});
  EXPECT_TRUE(sameBits(sharp, played({Queue(17, {{5000, 0.9}})})));
  EXPECT_TRUE(sameBits(sharp, played({Queue(17, {{5000, 0.5}, {5000, 0.9}})})));
  const auto switched = played({Queue(kSelector, {{0, 1.0}, {5000, 0.0}})});
  EXPECT_TRUE(sameBits(switched, played({Queue(kSelector, {{5000, 0.0}})})));
}

// A program takes effect at its frame, and sending the same program again undoes no move. The host
// gets the new values through the block, if the program came in one, otherwise through a callback,
// or through the next block where a callback would deadlock.
TEST(Vst3, ProgramsSetTheKnobsOnce) {
  const double program = 3.0 / (kPrograms - 1);
  std::vector<Queue> values;
  for (int i = 1; i <= 19; ++i) {
    const double value = static_cast<double>(presetValue(kFactoryBank[2], i));
    values.push_back({static_cast<v3_param_id>(i), {{1000, value}}});
  }
  Vst3Plugin plugin;
  EXPECT_TRUE(sameBits(played(plugin, {Queue(kProgram, {{1000, program}})}), played(values)));
  EXPECT_EQ(static_cast<float>(plugin.get(5)), presetValue(kFactoryBank[2], 5));
  EXPECT_EQ(plugin.outputs.values, plugin.shown());
  EXPECT_EQ(plugin.handler.restarts, 0) << "not from the audio thread";
  played(plugin, {Queue(5, {{0, 0.25}}), Queue(kProgram, {{9, program}})}, 64);
  plugin.show(kProgram, program);
  EXPECT_EQ(plugin.get(5), 0.25);
  ByteStream state, again;
  ASSERT_TRUE(plugin.save(state));
  again.bytes = state.bytes;
  plugin.show(kProgram, 0.0);
  EXPECT_EQ(plugin.get(5), 0.5);
  EXPECT_EQ(plugin.handler.restarts, 1);
  ASSERT_TRUE(plugin.load(state));
  EXPECT_EQ(plugin.get(5), 0.25);

  Application ardour;
  v3_cpp_obj_terminate(plugin.component);
  v3_cpp_obj_initialize(plugin.component, ardour.interface<v3_funknown>());
  plugin.c().set_component_handler(plugin.controller, plugin.handler.interface());
  plugin.handler.restarts = 0;
  plugin.show(kProgram, 0.0);
  EXPECT_EQ(plugin.c().set_component_state(plugin.controller, Stream(again).interface()), V3_OK);
  EXPECT_EQ(plugin.get(5), 0.25);
  plugin.outputs.values.fill(-1.0);
  v3_process_data none{};
  EXPECT_EQ(plugin.process(none), V3_OK);
  EXPECT_EQ(plugin.outputs.values, plugin.shown());
  EXPECT_EQ(std::pair(plugin.handler.restarts, ardour.references), std::pair(0, 1));
}

// Values that the controller gets must not change what plays, since they may be older. Only while
// no blocks are played, the controller's values are the ones to play.
TEST(Vst3, ShownValuesDoNotDisturbPlayingOnes) {
  Vst3Plugin plugin, undisturbed, shown, moved;
  for (Vst3Plugin* each : {&plugin, &undisturbed}) played(*each, {Queue(17, {{0, 0.9}})});
  plugin.show(17, 0.1);
  plugin.show(kSelector, 0.0);
  EXPECT_NEAR(plugin.get(17), 0.1, 1e-7);
  const auto louder = played(undisturbed, {});
  EXPECT_TRUE(sameBits(played(plugin, {}), louder));
  shown.show(17, 0.1);
  moved.set(17, 0.1);
  const auto quieter = played(shown, {});
  EXPECT_TRUE(sameBits(quieter, played(moved, {})));
  EXPECT_FALSE(sameBits(quieter, louder));
}

TEST(Vst3, InvalidCallsAreHandled) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  Vst3Plugin plugin;
  std::vector<double> out(300, 9.0);
  double* channel = out.data();
  v3_audio_bus_buffers bus{1, 0, {}};
  bus.channel_buffers_64 = &channel;
  v3_process_data data{};
  const auto process = [&](std::vector<Queue> queues = {}) {
    plugin.moves.queues = std::move(queues);
    return plugin.process(data);
  };
  EXPECT_NE(plugin.p().process(plugin.processor, nullptr), V3_OK);
  EXPECT_NE(plugin.p().setup_processing(plugin.processor, nullptr), V3_OK);
  data.symbolic_sample_size = V3_SAMPLE_64;
  data.nframes = 100;
  data.num_output_buses = 1;
  data.outputs = &bus;
  EXPECT_NE(process({{5, {{0, 0.75}}}}), V3_OK) << "not set up";
  EXPECT_EQ(plugin.get(5), 0.75);
  EXPECT_EQ(std::count(out.begin(), out.begin() + 100, 0.0), 100);
  data.nframes = INT32_MAX;
  data.num_output_buses = 0;
  EXPECT_NE(process({{5, {{INT32_MAX, 0.25}}}}), V3_OK) << "and must return";
  EXPECT_EQ(plugin.get(5), 0.25);
  data.num_output_buses = 1;
  EXPECT_NE(v3_cpp_obj(plugin.component)->set_active(plugin.component, true), V3_OK);
  for (const double rate : {0.0, -1.0, kNan, HUGE_VAL, 1e300})
    EXPECT_NE(plugin.setUp(rate, 64), V3_OK) << rate;
  for (const std::int32_t frames : {0, -1, INT32_MIN})
    EXPECT_NE(plugin.setUp(44100.0, frames), V3_OK);
  for (const std::int32_t size : {-1, 2}) EXPECT_NE(plugin.setUp(44100.0, 64, size), V3_OK);
  ASSERT_TRUE(plugin.activate(44100.0, 16));
  EXPECT_NE(plugin.setUp(48000.0, 16), V3_OK) << "while it plays";
  EXPECT_EQ(v3_cpp_obj(plugin.component)->set_active(plugin.component, true), V3_OK);

  // Longer than announced, without input, with invalid points.
  data.nframes = 300;
  out.assign(300, 9.0);
  Queue invalid(1, {{250, 0.5}, {-7, 7.0}, {9, kNan}, {INT32_MAX, -HUGE_VAL}, {INT32_MIN, 0.75}});
  invalid.claimed = INT32_MAX;
  EXPECT_EQ(process({invalid, {24, {{0, 0.1}}}, {2, {}}, {3, {{0, 0.2}}}, {3, {{-1, 0.25}}}}),
            V3_OK);
  for (const double x : out) EXPECT_LT(std::fabs(x), 1e-3);
  EXPECT_EQ(std::pair(plugin.get(1), plugin.get(3)), std::pair(0.75, 0.25));
  plugin.moves.lies = true;
  EXPECT_EQ(process({{4, {{0, 0.25}}}}), V3_OK);
  EXPECT_EQ(plugin.get(4), 0.25);

  // Missing buses, arrays and channels, and impossible sizes.
  double* none = nullptr;
  const v3_audio_bus_buffers noArray{1, 0, {}}, less{-5, 0, {}};
  v3_audio_bus_buffers noChannel = bus, many = bus;
  noChannel.channel_buffers_64 = &none;
  many.num_channels = INT32_MAX;
  for (v3_audio_bus_buffers each : {bus, noArray, less, noChannel, many})
    for (const std::int32_t buses : {1, 0, -1})
      for (const std::int32_t frames : {300, 0, -1, INT32_MIN}) {
        data.inputs = data.outputs = &each;
        data.num_input_buses = data.num_output_buses = buses;
        data.nframes = frames;
        EXPECT_EQ(process({{6, {{3, 0.25}}}}), V3_OK);
        data.inputs = data.outputs = nullptr;
        EXPECT_EQ(process(), V3_OK);
      }
  data.symbolic_sample_size = 7;
  EXPECT_NE(process(), V3_OK);

  double value = 0.0;
  v3_param_info info{};
  std::int16_t endless[128];
  std::fill(std::begin(endless), std::end(endless), std::int16_t{'5'});
  for (const v3_param_id id : {24U, 0x7FFFFFFFU, UINT32_MAX}) {
    EXPECT_NE(plugin.c().set_parameter_normalised(plugin.controller, id, 0.5), V3_OK);
    EXPECT_EQ(plugin.c().get_parameter_normalised(plugin.controller, id), 0.0);
    EXPECT_NE(plugin.c().get_parameter_string_for_value(plugin.controller, id, 0.5, endless),
              V3_OK);
    EXPECT_NE(plugin.c().get_parameter_info(plugin.controller, static_cast<int>(id), &info), V3_OK);
  }
  EXPECT_NE(plugin.c().set_parameter_normalised(plugin.controller, 1, kNan), V3_OK);
  EXPECT_NE(plugin.c().get_parameter_value_for_string(plugin.controller, 1, endless, &value),
            V3_OK);
  EXPECT_NE(plugin.c().get_parameter_value_for_string(plugin.controller, 1, nullptr, &value),
            V3_OK);
  EXPECT_NE(v3_cpp_obj(plugin.component)->get_state(plugin.component, nullptr), V3_OK);
  EXPECT_NE(v3_cpp_obj(plugin.component)->set_state(plugin.component, nullptr), V3_OK);
}

}  // namespace
}  // namespace quellard::test

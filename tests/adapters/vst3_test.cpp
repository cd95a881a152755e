// SPDX-License-Identifier: ISC
// The built VST3 modules, driven through their C interface as a host drives them.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <set>
#include <travesty/audio_processor.h>
#include <travesty/bstream.h>
#include <travesty/component.h>
#include <travesty/edit_controller.h>
#include <travesty/factory.h>
#include <utility>

#include "params/factory_bank.h"
#include "tests/adapters/format_suite.h"

namespace quellard::test {
namespace {

// An object of the host's: what a pointer to it points at is a pointer to its table.
template <typename Object, typename Functions>
struct HostObject {
  struct Table {
    v3_funknown base;
    Functions functions;
  };
  const v3_funknown* unknown = &Object::table.base;

  Functions** get() { return static_cast<Functions**>(static_cast<void*>(this)); }
  static Object& of(void* self) { return *static_cast<Object*>(self); }
};

struct Stream : HostObject<Stream, v3_bstream> {
  Bytes bytes;
  std::size_t chunk, at = 0;
  Stream(Bytes content, std::size_t most) : bytes(std::move(content)), chunk(most) {}

  static v3_result V3_API read(void* self, void* to, std::int32_t size, std::int32_t* done) {
    Stream& s = of(self);
    const auto count = std::min({static_cast<std::size_t>(size), s.chunk, s.bytes.size() - s.at});
    std::copy_n(s.bytes.data() + s.at, count, static_cast<std::uint8_t*>(to));
    s.at += count;
    *done = static_cast<std::int32_t>(count);
    return V3_OK;
  }
  static v3_result V3_API write(void* self, void* from, std::int32_t size, std::int32_t* done) {
    const auto count = std::min(static_cast<std::size_t>(size), of(self).chunk);
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    of(self).bytes.insert(of(self).bytes.end(), bytes, bytes + count);
    *done = static_cast<std::int32_t>(count);
    return V3_OK;
  }
  static const Table table;
};
const Stream::Table Stream::table = {{}, {read, write, nullptr, nullptr}};

// One parameter's move at the first frame of a block: a queue with one point.
struct Move : HostObject<Move, v3_param_value_queue> {
  v3_param_id id;
  double value;
  Move(v3_param_id parameter, double normalised) : id(parameter), value(normalised) {}
  static const Table table;
};
const Move::Table Move::table = {
    {},
    {[](void* self) V3_API { return of(self).id; }, [](void*) V3_API { return std::int32_t{1}; },
     [](void* self, std::int32_t, std::int32_t* offset, double* value) V3_API -> v3_result {
       *offset = 0;
       *value = of(self).value;
       return V3_OK;
     },
     nullptr}};

struct Moves : HostObject<Moves, v3_param_changes> {
  std::vector<Move> queues;
  static const Table table;
};
const Moves::Table Moves::table = {
    {},
    {[](void* self) V3_API { return static_cast<std::int32_t>(of(self).queues.size()); },
     [](void* self, std::int32_t i)
         V3_API { return of(self).queues[static_cast<std::size_t>(i)].get(); },
     nullptr}};

// The host, as far as it is told of new values.
struct Handler : HostObject<Handler, v3_component_handler> {
  int restarts = 0;
  static const Table table;
};
const Handler::Table Handler::table = {
    {}, {nullptr, nullptr, nullptr, [](void* self, std::int32_t) V3_API -> v3_result {
           ++of(self).restarts;
           return V3_OK;
         }}};

class Vst3Plugin : public HostedPlugin {
 public:
  explicit Vst3Plugin(std::int32_t channels = 1) : sides(channels) {
    const char* file = channels == 1 ? QUELLARD_VST3_FILE : QUELLARD_VST3_STEREO_FILE;
    void* module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) throw std::runtime_error(dlerror());
    reinterpret_cast<bool (*)(void*)>(dlsym(module, "ModuleEntry"))(module);
    auto** factory =
        reinterpret_cast<v3_plugin_factory** (*)()>(dlsym(module, "GetPluginFactory"))();
    v3_cpp_obj(factory)->get_class_info(factory, 0, &about);
    v3_cpp_obj(factory)->create_instance(factory, about.class_id, v3_component_iid,
                                         reinterpret_cast<void**>(&component));
    v3_cpp_obj_unref(factory);
    v3_cpp_obj_initialize(component, nullptr);
    v3_cpp_obj_query_interface(component, v3_audio_processor_iid, &processor);
    v3_cpp_obj_query_interface(component, v3_edit_controller_iid, &controller);
    v3_cpp_obj(controller)->set_component_handler(controller, handler.get());
  }
  ~Vst3Plugin() override {
    v3_cpp_obj(component)->set_active(component, false);
    v3_cpp_obj_unref(controller);
    v3_cpp_obj_unref(processor);
    v3_cpp_obj_terminate(component);
    v3_cpp_obj_unref(component);
  }

  bool activate(double rate, int maxFrames) override {
    v3_process_setup setup{V3_REALTIME, V3_SAMPLE_32, maxFrames, rate};
    active_ = v3_cpp_obj(processor)->setup_processing(processor, &setup) == V3_OK &&
              v3_cpp_obj(component)->set_active(component, true) == V3_OK &&
              v3_cpp_obj(processor)->set_processing(processor, true) == V3_OK;
    return active_;
  }
  void deactivate() override {
    v3_cpp_obj(processor)->set_processing(processor, false);
    v3_cpp_obj(component)->set_active(component, false);
    active_ = false;
  }

  // Behind the framework's parameter, the list of programs.
  static v3_param_id idOf(int index) { return static_cast<v3_param_id>(index); }
  // While nothing is played a host sends moves in a block without frames.
  void set(int index, double value) override {
    moves_.queues.emplace_back(idOf(index), value);
    if (active_) return;
    v3_process_data none{};
    process(none);
  }
  // To the decimals that it was set with: a tenth of the wrapper's float is another number.
  double get(int index) override {
    const double value = v3_cpp_obj(controller)->get_parameter_normalised(controller, idOf(index));
    return std::round(value * 1e6) / 1e6;
  }
  using HostedPlugin::play;
  void play(Channels<float>& in, Channels<float>& out) override {
    auto from = pointersTo(in), to = pointersTo(out);
    v3_audio_bus_buffers input{sides, 0, {from.data()}}, output{sides, 0, {to.data()}};
    v3_process_data data{};
    data.nframes = static_cast<std::int32_t>(in[0].size());
    data.num_input_buses = data.num_output_buses = 1;
    data.inputs = &input;
    data.outputs = &output;
    process(data);
  }

  Bytes save(std::size_t chunk) override {
    Stream stream({}, chunk);
    const v3_result result = v3_cpp_obj(component)->get_state(component, stream.get());
    return result == V3_OK ? stream.bytes : Bytes{};
  }
  bool load(const Bytes& state, std::size_t chunk) override {
    Stream stream(state, chunk);
    return v3_cpp_obj(component)->set_state(component, stream.get()) == V3_OK;
  }
  int timesToldOfNewValues() override { return handler.restarts; }

  std::int32_t sides;
  v3_class_info about{};
  v3_component** component = nullptr;
  v3_audio_processor** processor = nullptr;
  v3_edit_controller** controller = nullptr;
  Handler handler;

 private:
  // Without a list for the plug-in's own moves, of which it has none.
  void process(v3_process_data& data) {
    data.symbolic_sample_size = V3_SAMPLE_32;
    data.input_params = moves_.get();
    v3_result result = V3_OK;
    counted([&] { result = v3_cpp_obj(processor)->process(processor, &data); });
    EXPECT_EQ(result, V3_OK);
    moves_.queues.clear();
  }

  bool active_ = false;
  Moves moves_;  // that the next block begins with
};

const Format kMono{"mono", createPlugin<Vst3Plugin>, 1, false, true};
const Format kStereo{"stereo", createPlugin<Vst3Plugin, 2>, 2, false, true};
INSTANTIATE_TEST_SUITE_P(Vst3, Formats, testing::Values(kMono, kStereo), nameOf);
INSTANTIATE_TEST_SUITE_P(Vst3, FormatStates, testing::Values(kMono), nameOf);

TEST(Vst3, DescribesItself) {
  for (const std::int32_t sides : {1, 2}) {
    Vst3Plugin plugin(sides);
    EXPECT_STREQ(plugin.about.name, sides == 1 ? "Quellard" : "Quellard Stereo");
    const v3_component& component = *v3_cpp_obj(plugin.component);
    const v3_audio_processor& processor = *v3_cpp_obj(plugin.processor);
    for (const std::int32_t way : {V3_INPUT, V3_OUTPUT}) {
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_AUDIO, way), 1);
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_EVENT, way), 0);
      v3_bus_info bus{};
      for (const std::int32_t wrong : {-1, 1, 7}) {
        EXPECT_NE(component.get_bus_info(plugin.component, V3_AUDIO, way, wrong, &bus), V3_OK);
        EXPECT_EQ(bus.channel_count, 0);
      }
      ASSERT_EQ(component.get_bus_info(plugin.component, V3_AUDIO, way, 0, &bus), V3_OK);
      EXPECT_EQ(bus.channel_count, sides);
      EXPECT_EQ(bus.flags, std::uint32_t{V3_DEFAULT_ACTIVE});
      v3_speaker_arrangement speakers = 0;
      processor.get_bus_arrangement(plugin.processor, way, 0, &speakers);
      EXPECT_EQ(speakers, sides == 1 ? V3_SPEAKER_M : V3_SPEAKER_L | V3_SPEAKER_R);
    }
    plugin.activate(48000.0, 64);
    EXPECT_EQ(processor.get_latency_samples(plugin.processor), 0U);
    EXPECT_EQ(processor.get_tail_samples(plugin.processor), 96000U);
  }
}

// Every text reads back as what it shows, and what a text cannot mean is refused.
TEST(Vst3, ParametersAreDescribedAndReadBothWays) {
  Vst3Plugin plugin;
  const v3_edit_controller& c = *v3_cpp_obj(plugin.controller);
  std::set<v3_param_id> ids;
  ASSERT_EQ(c.get_parameter_count(plugin.controller), 20);
  for (std::int32_t i = 0; i < 20; ++i) {
    v3_param_info info{};
    ASSERT_EQ(c.get_parameter_info(plugin.controller, i, &info), V3_OK);
    EXPECT_TRUE(ids.insert(info.param_id).second);
    EXPECT_NE(info.title[0], 0);
    EXPECT_EQ(info.flags & V3_PARAM_CAN_AUTOMATE, i > 0 ? V3_PARAM_CAN_AUTOMATE : 0);
    EXPECT_EQ(info.flags & (V3_PARAM_IS_HIDDEN | V3_PARAM_READ_ONLY), 0);
    EXPECT_EQ(info.step_count, i == 0 ? kNumFactoryPresets : i == 19 ? 2 : 0);
    EXPECT_EQ(c.get_parameter_normalised(plugin.controller, info.param_id),
              info.default_normalised_value);
    for (int step = 0; step <= 1000; ++step) {
      const double value = step / 1000.0;
      v3_str_128 text{}, again{};
      double read = -1.0;
      ASSERT_EQ(c.get_parameter_string_for_value(plugin.controller, info.param_id, value, text),
                V3_OK);
      ASSERT_EQ(c.get_parameter_value_for_string(plugin.controller, info.param_id, text, &read),
                V3_OK);
      const double halfStep = info.step_count == 0 ? 0.0 : 0.5 / info.step_count;
      ASSERT_NEAR(read, value, halfStep + 1e-7);
      c.get_parameter_string_for_value(plugin.controller, info.param_id, read, again);
      ASSERT_EQ(std::memcmp(text, again, sizeof text), 0) << i << " at " << value;
      const double plain = c.normalised_parameter_to_plain(plugin.controller, info.param_id, read);
      ASSERT_NEAR(c.plain_parameter_to_normalised(plugin.controller, info.param_id, plain), read,
                  1e-7);
    }
    v3_str_128 nonsense = {'l', 'o', 'u', 'd'};
    double untouched = -1.0;
    EXPECT_NE(
        c.get_parameter_value_for_string(plugin.controller, info.param_id, nonsense, &untouched),
        V3_OK);
    EXPECT_EQ(untouched, -1.0);
  }
}

TEST(Vst3, ProgramsAreTheFactoryBank) {
  Vst3Plugin plugin;
  const v3_edit_controller& c = *v3_cpp_obj(plugin.controller);
  for (int program = kNumFactoryPresets; program >= 0; --program) {
    c.set_parameter_normalised(plugin.controller, 0,
                               program / static_cast<double>(kNumFactoryPresets));
    for (int i = 1; i <= 19; ++i) {
      const float wanted = program > 0
                               ? presetValue(kFactoryBank[static_cast<std::size_t>(program - 1)], i)
                               : (i == 19 ? kTypeDefault : kKnobDefault);
      EXPECT_NEAR(plugin.get(i), wanted, 1e-7) << program << ", " << i;
    }
  }
  EXPECT_EQ(plugin.timesToldOfNewValues(), kNumFactoryPresets + 1);
}

// A host's terminal is its own, whatever the host does that the framework finds odd.
TEST(Vst3, NothingIsWrittenToTheTerminal) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  {
    Vst3Plugin plugin;
    v3_bus_info bus{};
    v3_cpp_obj(plugin.component)->get_bus_info(plugin.component, V3_EVENT, V3_INPUT, 0, &bus);
    plugin.load({}, 1);
    plugin.activate(44100.0, 64);
    Channels<float> io(1, std::vector<float>(64));
    plugin.set(77, 0.5);
    plugin.play(io, io);
    v3_cpp_obj_ref(plugin.processor);  // and never given back
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quellard::test

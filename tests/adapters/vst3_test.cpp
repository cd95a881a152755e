// SPDX-License-Identifier: ISC
// The built VST3 modules, driven through their C interface as a host drives them.
#include <algorithm>
#include <cmath>
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

// The host's own objects. An object of the format begins with a pointer to a table of functions,
// and so does one of a C++ class: what is virtual here is listed in the order of the format.
struct HostObject {
  virtual v3_result query(const v3_tuid, void**) { return V3_NO_INTERFACE; }
  virtual std::uint32_t ref() { return 1; }
  virtual std::uint32_t unref() { return 1; }
  template <typename Functions>
  Functions** as() {
    return static_cast<Functions**>(static_cast<void*>(this));
  }

 protected:
  ~HostObject() = default;
};

struct Stream final : HostObject {
  ByteStream& kept;
  explicit Stream(ByteStream& stream) : kept(stream) {}
  virtual v3_result read(void* to, std::int32_t room, std::int32_t* done) {
    *done = kept.read(to, static_cast<std::size_t>(room));
    return V3_OK;
  }
  virtual v3_result write(const void* from, std::int32_t size, std::int32_t* done) {
    *done = kept.write(from, static_cast<std::size_t>(size));
    return V3_OK;
  }
};

// A move at the first frame of a block: a queue with one point.
struct Move final : HostObject {
  v3_param_id id;
  double value;
  Move(v3_param_id parameter, double normalised) : id(parameter), value(normalised) {}
  virtual v3_param_id parameter() { return id; }
  virtual std::int32_t points() { return 1; }
  virtual v3_result point(std::int32_t, std::int32_t* frame, double* normalised) {
    *frame = 0;
    *normalised = value;
    return V3_OK;
  }
};

struct Moves final : HostObject {
  std::vector<Move> queues;
  virtual std::int32_t count() { return static_cast<std::int32_t>(queues.size()); }
  virtual void* queue(std::int32_t i) { return &queues[static_cast<std::size_t>(i)]; }
};

struct Handler final : HostObject {
  int restarts = 0;
  virtual v3_result begin(v3_param_id) { return V3_OK; }
  virtual v3_result perform(v3_param_id, double) { return V3_OK; }
  virtual v3_result end(v3_param_id) { return V3_OK; }
  virtual v3_result restart(std::int32_t) { return ++restarts, V3_OK; }
};

class Vst3Plugin : public HostedPlugin {
 public:
  explicit Vst3Plugin(std::int32_t channels = 1) : sides(channels) {
    const char* file = channels == 1 ? QUELLARD_VST3_FILE : QUELLARD_VST3_STEREO_FILE;
    reinterpret_cast<bool (*)(void*)>(symbolOf(file, "ModuleEntry"))(nullptr);
    auto** factory =
        reinterpret_cast<v3_plugin_factory** (*)()>(symbolOf(file, "GetPluginFactory"))();
    v3_cpp_obj(factory)->get_class_info(factory, 0, &about);
    v3_cpp_obj(factory)->create_instance(factory, about.class_id, v3_component_iid,
                                         reinterpret_cast<void**>(&component));
    v3_cpp_obj_unref(factory);
    v3_cpp_obj_initialize(component, nullptr);
    v3_cpp_obj_query_interface(component, v3_audio_processor_iid, &processor);
    v3_cpp_obj_query_interface(component, v3_edit_controller_iid, &controller);
    v3_cpp_obj(controller)->set_component_handler(controller, handler_.as<v3_component_handler>());
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

  static v3_param_id idOf(int index) { return static_cast<v3_param_id>(index); }  // 0: programs
  // While nothing is played a host sends moves in a block without frames.
  void set(int index, double value, int = 0) override {
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

  bool save(ByteStream& to) override {
    return v3_cpp_obj(component)->get_state(component, Stream(to).as<v3_bstream>()) == V3_OK;
  }
  bool load(ByteStream& from) override {
    return v3_cpp_obj(component)->set_state(component, Stream(from).as<v3_bstream>()) == V3_OK;
  }
  int timesToldOfNewValues() override { return handler_.restarts; }
  std::string text(int index, double value) override {
    v3_str_128 text{};
    v3_cpp_obj(controller)->get_parameter_string_for_value(controller, idOf(index), value, text);
    return {std::begin(text), std::find(std::begin(text), std::end(text), 0)};
  }
  std::optional<double> value(int index, std::string text) override {
    v3_str_128 wide{};
    std::copy(text.begin(), text.end(), wide);
    double read = -1.0;
    const v3_edit_controller& c = *v3_cpp_obj(controller);
    const auto result = c.get_parameter_value_for_string(controller, idOf(index), wide, &read);
    return result == V3_OK ? std::optional(read) : std::nullopt;
  }
  bool loadPreset(int number) override {
    const double value = number / static_cast<double>(kNumFactoryPresets);
    return v3_cpp_obj(controller)->set_parameter_normalised(controller, 0, value) == V3_OK;
  }

  std::int32_t sides;
  v3_class_info about{};
  v3_component** component = nullptr;
  v3_audio_processor** processor = nullptr;
  v3_edit_controller** controller = nullptr;

 private:
  // Without a list for the plug-in's own moves, of which it has none.
  void process(v3_process_data& data) {
    data.symbolic_sample_size = V3_SAMPLE_32;
    data.input_params = moves_.as<v3_param_changes>();
    v3_result result = V3_OK;
    counted([&] { result = v3_cpp_obj(processor)->process(processor, &data); });
    EXPECT_EQ(result, V3_OK);
    moves_.queues.clear();
  }

  bool active_ = false;
  Handler handler_;
  Moves moves_;  // that the next block begins with
};

constexpr Format kMono{"mono", createPlugin<Vst3Plugin>, 1, false, true};
constexpr Format kStereo{"stereo", createPlugin<Vst3Plugin, 2>, 2, false, true};
INSTANTIATE_TEST_SUITE_P(Vst3, Formats, testing::Values(kMono, kStereo));
INSTANTIATE_TEST_SUITE_P(Vst3, StatefulFormats, testing::Values(kMono));

// And writes nothing to the host's terminal, whatever the framework finds odd.
TEST(Vst3, DescribesItself) {
  testing::internal::CaptureStderr();
  for (const std::int32_t sides : {1, 2}) {
    Vst3Plugin plugin(sides);
    EXPECT_STREQ(plugin.about.name, sides == 1 ? "Quellard" : "Quellard Stereo");
    const v3_component& component = *v3_cpp_obj(plugin.component);
    const v3_audio_processor& processor = *v3_cpp_obj(plugin.processor);
    for (const std::int32_t way : {V3_INPUT, V3_OUTPUT}) {
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_AUDIO, way), 1);
      EXPECT_EQ(component.get_bus_count(plugin.component, V3_EVENT, way), 0);
      v3_bus_info bus{};
      for (const std::int32_t media : {V3_AUDIO, V3_EVENT})
        for (const std::int32_t wrong : {-1, 1, 7})
          EXPECT_NE(component.get_bus_info(plugin.component, media, way, wrong, &bus), V3_OK);
      EXPECT_EQ(bus.channel_count, 0);
      ASSERT_EQ(component.get_bus_info(plugin.component, V3_AUDIO, way, 0, &bus), V3_OK);
      EXPECT_EQ(bus.channel_count, sides);
      EXPECT_EQ(bus.flags, std::uint32_t{V3_DEFAULT_ACTIVE});
      v3_speaker_arrangement speakers = 0;
      processor.get_bus_arrangement(plugin.processor, way, 0, &speakers);
      EXPECT_NE(component.activate_bus(plugin.component, V3_AUDIO, way, 1, true), V3_OK);
      EXPECT_EQ(speakers, sides == 1 ? V3_SPEAKER_M : V3_SPEAKER_L | V3_SPEAKER_R);
    }
    const v3_edit_controller& c = *v3_cpp_obj(plugin.controller);
    ASSERT_EQ(c.get_parameter_count(plugin.controller), 20);
    for (std::int32_t i = 0; i < 20; ++i) {
      v3_param_info info{};
      ASSERT_EQ(c.get_parameter_info(plugin.controller, i, &info), V3_OK);
      EXPECT_EQ(info.param_id, static_cast<v3_param_id>(i));
      EXPECT_EQ(info.flags & (V3_PARAM_CAN_AUTOMATE | V3_PARAM_IS_HIDDEN | V3_PARAM_READ_ONLY),
                i > 0 ? V3_PARAM_CAN_AUTOMATE : 0);
      EXPECT_EQ(info.step_count, i == 0 ? 12 : i == 19 ? 2 : 0);
      const double value = c.get_parameter_normalised(plugin.controller, info.param_id);
      EXPECT_EQ(value, info.default_normalised_value);
      const double plain = c.normalised_parameter_to_plain(plugin.controller, info.param_id, value);
      EXPECT_EQ(c.plain_parameter_to_normalised(plugin.controller, info.param_id, plain), value);
    }
    plugin.activate(48000.0, 64);
    EXPECT_EQ(processor.get_latency_samples(plugin.processor), 0U);
    EXPECT_EQ(processor.get_tail_samples(plugin.processor), 96000U);
    Channels<float> io(static_cast<std::size_t>(sides), std::vector<float>(64));
    plugin.set(77, 0.5);
    plugin.play(io, io);
    v3_cpp_obj_ref(plugin.processor);  // and never given back
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quellard::test

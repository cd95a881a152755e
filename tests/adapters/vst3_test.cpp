// SPDX-License-Identifier: ISC
// The built VST3 modules, driven through their C interface as a host drives them.
#include <algorithm>
#include <array>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <travesty/audio_processor.h>
#include <travesty/bstream.h>
#include <travesty/component.h>
#include <travesty/edit_controller.h>
#include <travesty/factory.h>
#include <vector>

#include "shell/quellard.h"
#include "tests/adapters/buffers.h"

namespace quellard::test {
namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 256;

// A stream of bytes as the modules see it.
struct Stream {
  const v3_funknown* unknown = &table.base;  // what a pointer to the object points at
  std::string bytes;
  std::size_t at = 0;

  struct Table {
    v3_funknown base;
    v3_bstream stream;
  };
  static v3_result V3_API read(void* self, void* to, std::int32_t size, std::int32_t* done) {
    auto& stream = *static_cast<Stream*>(self);
    const std::size_t left = stream.bytes.size() - stream.at;
    const std::size_t count = std::min(static_cast<std::size_t>(size), left);
    std::memcpy(to, stream.bytes.data() + stream.at, count);
    stream.at += count;
    *done = static_cast<std::int32_t>(count);
    return V3_OK;
  }
  static v3_result V3_API write(void* self, void* from, std::int32_t size, std::int32_t* done) {
    static_cast<Stream*>(self)->bytes.append(static_cast<const char*>(from),
                                             static_cast<std::size_t>(size));
    if (done != nullptr) *done = size;
    return V3_OK;
  }
  static const Table table;
  v3_bstream** get() { return static_cast<v3_bstream**>(static_cast<void*>(this)); }
};
const Stream::Table Stream::table = {{nullptr, nullptr, nullptr}, {read, write, nullptr, nullptr}};

// One parameter's move at the first frame of a block: a list of one queue with one point.
struct Move {
  v3_param_id id;
  double normalised;

  struct Queue {
    v3_funknown base;
    v3_param_value_queue queue;
  };
  struct List {
    v3_funknown base;
    v3_param_changes list;
  };
  static const Queue queueTable;
  static const List listTable;
  struct {
    const v3_funknown* unknown = &queueTable.base;
    Move* move = nullptr;
  } queue = {};
  struct {
    const v3_funknown* unknown = &listTable.base;
    Move* move = nullptr;
  } list = {};

  v3_param_changes** get() {
    queue.move = list.move = this;
    return static_cast<v3_param_changes**>(static_cast<void*>(&list));
  }
  static Move& of(void* object) {
    return *static_cast<decltype(Move::queue)*>(object)->move;  // both have it there
  }
};
const Move::Queue Move::queueTable = {
    {nullptr, nullptr, nullptr},
    {[](void* self) V3_API { return of(self).id; }, [](void*) V3_API { return std::int32_t{1}; },
     [](void* self, std::int32_t, std::int32_t* offset, double* value) V3_API -> v3_result {
       *offset = 0;
       *value = of(self).normalised;
       return V3_OK;
     },
     nullptr}};
const Move::List Move::listTable = {
    {nullptr, nullptr, nullptr},
    {[](void*) V3_API { return std::int32_t{1}; },
     [](void* self, std::int32_t) V3_API {
       return static_cast<v3_param_value_queue**>(static_cast<void*>(&of(self).queue));
     },
     nullptr}};

class Vst3Instance {
 public:
  explicit Vst3Instance(int channels) : sides(channels) {
    const char* file = channels == 1 ? QUELLARD_VST3_FILE : QUELLARD_VST3_STEREO_FILE;
    void* module = dlopen(file, RTLD_NOW | RTLD_LOCAL);  // stays loaded, for the sanitizers
    if (module == nullptr) throw std::runtime_error(dlerror());
    reinterpret_cast<bool (*)(void*)>(dlsym(module, "ModuleEntry"))(module);
    auto** factory =
        reinterpret_cast<v3_plugin_factory** (*)()>(dlsym(module, "GetPluginFactory"))();
    v3_class_info info{};
    v3_cpp_obj(factory)->get_class_info(factory, 0, &info);
    name = info.name;
    v3_cpp_obj(factory)->create_instance(factory, info.class_id, v3_component_iid,
                                         reinterpret_cast<void**>(&component));
    v3_cpp_obj_initialize(component, nullptr);
    v3_cpp_obj_query_interface(component, v3_audio_processor_iid, &processor);
    v3_cpp_obj_query_interface(component, v3_edit_controller_iid, &controller);
    v3_process_setup setup{V3_REALTIME, V3_SAMPLE_32, kBlock, kRate};
    v3_cpp_obj(processor)->setup_processing(processor, &setup);
  }
  ~Vst3Instance() {
    v3_cpp_obj(component)->set_active(component, false);
    v3_cpp_obj_unref(controller);
    v3_cpp_obj_unref(processor);
    v3_cpp_obj_terminate(component);
    v3_cpp_obj_unref(component);
  }
  Vst3Instance(const Vst3Instance&) = delete;
  Vst3Instance& operator=(const Vst3Instance&) = delete;

  // The host's number of the parameter of this name; the framework has some of its own in front.
  v3_param_id find(const std::string& title) {
    const std::int32_t count = v3_cpp_obj(controller)->get_parameter_count(controller);
    for (std::int32_t i = 0; i < count; ++i) {
      v3_param_info info{};
      v3_cpp_obj(controller)->get_parameter_info(controller, i, &info);
      if (std::equal(title.begin(), title.end(), info.title)) return info.param_id;
    }
    throw std::runtime_error("no parameter " + title);
  }
  // As a host does while the plug-in is active: in a block, here of one silent frame.
  void set(const std::string& title, double normalised) {
    Move move{find(title), normalised};
    Channels<float> silence(2, std::vector<float>(1));
    v3_cpp_obj(component)->set_active(component, true);
    playBlock(silence, silence, 0, 1, move.get());
    v3_cpp_obj(component)->set_active(component, false);
  }
  double get(const std::string& title) {
    return v3_cpp_obj(controller)->get_parameter_normalised(controller, find(title));
  }
  void play(Channels<float>& in, Channels<float>& out) {
    v3_cpp_obj(component)->set_active(component, true);
    const int frames = static_cast<int>(in[0].size());
    for (int begin = 0; begin < frames; begin += kBlock) {
      playBlock(in, out, begin, std::min(kBlock, frames - begin), nullptr);
    }
    v3_cpp_obj(component)->set_active(component, false);
  }
  void playBlock(Channels<float>& in, Channels<float>& out, int begin, int frames,
                 v3_param_changes** moves) {
    std::vector<float*> from = pointersTo(in);
    std::vector<float*> to = pointersTo(out);
    for (float*& channel : from) channel += begin;
    for (float*& channel : to) channel += begin;
    v3_audio_bus_buffers input{sides, 0, {from.data()}};
    v3_audio_bus_buffers output{sides, 0, {to.data()}};
    Move reported{};  // where the plug-in could tell of moves of its own
    v3_process_data data{};
    data.symbolic_sample_size = V3_SAMPLE_32;
    data.nframes = frames;
    data.num_input_buses = data.num_output_buses = 1;
    data.inputs = &input;
    data.outputs = &output;
    data.input_params = moves;
    data.output_params = reported.get();
    EXPECT_EQ(v3_cpp_obj(processor)->process(processor, &data), V3_OK);
  }

  std::int32_t sides;
  std::string name;
  v3_component** component = nullptr;
  v3_audio_processor** processor = nullptr;
  v3_edit_controller** controller = nullptr;
};

void setKnobs(Vst3Instance& plugin) {
  plugin.set("Channel", 0.5);
  plugin.set("VINTAGE GAIN", 0.739);
  plugin.set("VINTAGE MASTER", 0.439);
}

// The effect alone, with its knobs in their places.
std::vector<double> playDirectly(const std::vector<float>& in) {
  Quellard effect(nullptr);
  effect.setSampleRate(static_cast<float>(kRate));
  effect.setParameter(19, 0.5F);
  effect.setParameter(12, 0.739F);
  effect.setParameter(11, 0.439F);
  std::vector<double> samples(in.begin(), in.end());
  double* channel = samples.data();
  effect.processDoubleReplacing(&channel, &channel, 0);
  effect.processDoubleReplacing(&channel, &channel, static_cast<int>(samples.size()));
  return samples;
}

TEST(Vst3, PlaysTheEffectRoundedToFloats) {
  Random random(3);
  for (const int sides : {1, 2}) {
    Vst3Instance plugin(sides);
    EXPECT_EQ(plugin.name, sides == 1 ? "Quellard" : "Quellard Stereo");
    EXPECT_EQ(v3_cpp_obj(plugin.processor)->get_latency_samples(plugin.processor), 0U);
    setKnobs(plugin);
    Channels<float> in = drawChannels<float>(random, sides, 10 * kBlock + 77);
    for (int again = 0; again < 2; ++again) {  // as new after each activation
      Channels<float> out = in;
      plugin.play(again == 0 ? in : out, out);
      for (std::size_t i = 0; i < out.size(); ++i) expectPlayed(out[i], playDirectly(in[i]));
    }
  }
}

TEST(Vst3, AStateCarriesEverySetting) {
  Vst3Instance from(1);
  setKnobs(from);
  Stream saved;
  ASSERT_EQ(v3_cpp_obj(from.component)->get_state(from.component, saved.get()), V3_OK);
  Vst3Instance to(1);
  ASSERT_EQ(v3_cpp_obj(to.component)->set_state(to.component, saved.get()), V3_OK);
  for (const char* title : {"Channel", "VINTAGE GAIN", "VINTAGE MASTER", "CLEAN BASS"}) {
    EXPECT_EQ(to.get(title), from.get(title)) << title;
  }
  EXPECT_NEAR(to.get("VINTAGE MASTER"), 0.439, 1e-7);
}

}  // namespace
}  // namespace quellard::test

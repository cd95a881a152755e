// SPDX-License-Identifier: ISC
#include <algorithm>
#include <array>
#include <cstring>
#include <lv2/atom/atom.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <map>
#include <sstream>
#include <stdexcept>
#include <travesty/audio_processor.h>
#include <travesty/component.h>
#include <travesty/factory.h>
#include <utility>

#include "adapters/lv2/identity.h"
#include "face/layout.h"
#include "rig/rig_parameters.h"
#include "rig/value_text.h"
#include "tests/adapters/faces/clap_host.h"
#include "tests/adapters/faces/screen.h"
#include "tests/adapters/faces/vst2_host.h"
#include "tests/adapters/faces/vst3_host.h"
#include "tests/adapters/faces/window_host.h"
#include "tests/adapters/format_suite.h"
#if !defined(_WIN32)
#include <poll.h>
#endif

namespace quellard::test {
namespace {

constexpr double kRate = 48000.0;

const clap_plugin_entry_t& clapEntry() {
  static const auto& found =
      *static_cast<const clap_plugin_entry_t*>(symbolOf(QUELLARD_CLAP_FILE, "clap_entry"));
  static const bool ready = found.init(QUELLARD_CLAP_FILE);
  return ready ? found : throw std::runtime_error("no entry");
}

class ClapWindowHost final : public WindowHost {
 public:
  ClapWindowHost() {
    host_.closed = [this](bool wasDestroyed) {
      EXPECT_NE(wasDestroyed, floats_) << "by the player";
      host_.gui->destroy(host_.plugin);
      isCreated_ = false;
    };
    create();
  }
  bool setScale(double scale) override { return host_.gui->set_scale(host_.plugin, scale); }
  PixelSize size() override {
    create();
    return host_.size();
  }
  bool open(std::uintptr_t parent) override {
    create();
    return host_.embed(parent) && host_.gui->show(host_.plugin);
  }
  void close() override {
    if (std::exchange(isCreated_, false)) host_.gui->destroy(host_.plugin);
  }
  bool floats() override {
    close();
    floats_ = isCreated_ = host_.gui->create(host_.plugin, nullptr, true);
    return isCreated_ && host_.gui->show(host_.plugin);
  }
  void idle() override {
    deliverMessages();
    if (host_.timers > 0) host_.tick();
  }
  bool isCalled() override { return host_.timers > 0; }
  bool resize(PixelSize size) override {
    return host_.gui->set_size(host_.plugin, static_cast<std::uint32_t>(size.width),
                               static_cast<std::uint32_t>(size.height));
  }
  PixelSize asked() override { return host_.asked.empty() ? PixelSize{} : host_.asked.back(); }
  void set(int parameter, double value) override {
    clap_event_param_value_t move{};
    move.header = {sizeof move, 0, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
    move.param_id = static_cast<clap_id>(parameter);
    move.value = parameter == kTypeParameter ? 2.0 * value : value;
    const clap_input_events_t one = {&move, [](const clap_input_events_t*) { return 1U; },
                                     [](const clap_input_events_t* list, std::uint32_t) {
                                       return static_cast<const clap_event_header_t*>(list->ctx);
                                     }};
    host_.params->flush(host_.plugin, &one, nullptr);
  }
  double get(int parameter) override {
    double value = -1.0;
    host_.params->get_value(host_.plugin, static_cast<clap_id>(parameter), &value);
    return parameter == kTypeParameter ? value / 2.0 : value;
  }
  std::string told() override {
    note(host_.flushed());
    return std::exchange(told_, "");
  }
  void play(std::vector<float>& samples) override {
    if (!std::exchange(isActive_, true)) {
      EXPECT_TRUE(host_.plugin->activate(host_.plugin, kRate, 1, kMostFrames));
    }
    note(host_.play(samples));
  }

 private:
  void create() {
    if (!std::exchange(isCreated_, true)) {
      EXPECT_TRUE(host_.gui->create(host_.plugin, kClapWindowApi, false));
    }
  }
  void note(const std::vector<Event>& events) {
    static constexpr std::array kWords = {"begin ", "value ", "end "};
    for (const Event& event : events)
      told_ += kWords[static_cast<std::size_t>(event.kind)] + std::to_string(event.parameter) + " ";
  }

  ClapFaceHost host_{clapEntry()};
  bool isCreated_ = false, isActive_ = false, floats_ = false;
  std::string told_;
};

// Carries the values of the ports between the plug-in and its window.
class Lv2WindowHost final : public WindowHost {
 public:
  Lv2WindowHost() {
    for (int parameter = 1; parameter <= kNumHostedValues; ++parameter)
      Lv2WindowHost::set(parameter, static_cast<double>(defaultHostedValues()[parameter]));
    for (const std::uint32_t peak : {kLv2InputPeak, kLv2OutputPeak})
      ports_.at(lv2ReportPort(peak, kSides)) = kLv2LowestPeak_db;
    ports_.at(lv2ReportPort(kLv2GateOpen, kSides)) = 1.0F;
  }
  ~Lv2WindowHost() override {
    Lv2WindowHost::close();
    if (plugin_ != nullptr) about().cleanup(plugin_);
  }
  bool setScale(double scale) override {
    scale_ = static_cast<float>(scale);
    size_ = {static_cast<int>(kFaceWidth * scale_), static_cast<int>(kFaceHeight * scale_)};
    return true;
  }
  PixelSize size() override { return size_; }
  bool open(std::uintptr_t parent) override {
    LV2_URID_Map map = {this, [](LV2_URID_Map_Handle host, const char* uri) {
                          auto& ids = static_cast<Lv2WindowHost*>(host)->ids_;
                          return ids.emplace(uri, ids.size() + 1).first->second;
                        }};
    std::array<LV2_Options_Option, 2> options = {
        {{LV2_OPTIONS_INSTANCE, 0, map.map(this, LV2_UI__scaleFactor), sizeof scale_,
          map.map(this, LV2_ATOM__Float), &scale_}}};
    const std::array<LV2_Feature, 5> all = {{{LV2_URID__map, &map},
                                             {LV2_OPTIONS__options, options.data()},
                                             {LV2_UI__touch, &touch_},
                                             {LV2_UI__resize, &resize_},
                                             {LV2_UI__parent, reinterpret_cast<void*>(parent)}}};
    std::array<const LV2_Feature*, all.size() + 1> features{};
    for (std::size_t i = 0; i < all.size() - (parent == 0 ? 1 : 0); ++i) features[i] = &all[i];
    LV2UI_Widget widget = nullptr;
    ui_ = aboutUi().instantiate(&aboutUi(), kLv2Variants[0].uri, "", write, this, &widget,
                                features.data());
    isCalled_ = ui_ != nullptr;
    for (std::uint32_t port = 0; port < ports_.size(); ++port) show(port);
    return isCalled_;
  }
  void close() override {
    isCalled_ = false;
    if (ui_ != nullptr) aboutUi().cleanup(std::exchange(ui_, nullptr));
  }
  bool floats() override {
    close();
    const auto* const shown =
        static_cast<const LV2UI_Show_Interface*>(aboutUi().extension_data(LV2_UI__showInterface));
    return open(0) && shown->show(ui_) == 0;
  }
  void idle() override {
    deliverMessages();
    if (!isCalled_) return;
    const auto* const idles =
        static_cast<const LV2UI_Idle_Interface*>(aboutUi().extension_data(LV2_UI__idleInterface));
    for (std::uint32_t n = 0; n < kNumLv2Reports; ++n) show(lv2ReportPort(n, kSides));
    isCalled_ = idles->idle(ui_) == 0;
  }
  bool isCalled() override { return isCalled_; }
  bool resize(PixelSize size) override {
    size_ = size;
    const auto* const resizes =
        static_cast<const LV2UI_Resize*>(aboutUi().extension_data(LV2_UI__resize));
    return resizes->ui_resize(ui_, size.width, size.height) == 0;
  }
  PixelSize asked() override { return size_; }
  void set(int parameter, double value) override {
    const float control = controlFromValue(parameter, static_cast<float>(value));
    const std::uint32_t port = lv2PortOf(parameter, kSides);
    ports_.at(port) = parameter == kBypassParameter ? 1.0F - control : control;
    if (ui_ != nullptr) show(port);
  }
  double get(int parameter) override {
    const float control = ports_.at(lv2PortOf(parameter, kSides));
    return static_cast<double>(
        valueFromControl(parameter, parameter == kBypassParameter ? 1.0F - control : control));
  }
  std::string told() override { return std::exchange(told_, ""); }
  void play(std::vector<float>& samples) override {
    if (plugin_ == nullptr) {
      plugin_ = about().instantiate(&about(), kRate, "", nullptr);
      for (std::uint32_t port = 0; port < ports_.size(); ++port)
        about().connect_port(plugin_, port, &ports_[port]);
      about().activate(plugin_);
    }
    for (std::uint32_t port = 0; port < 2; ++port)
      about().connect_port(plugin_, kLv2FirstAudioPort + port, samples.data());
    about().run(plugin_, static_cast<std::uint32_t>(samples.size()));
  }

 private:
  static constexpr int kSides = 1;

  static const LV2_Descriptor& about() {
    static void* const entry = symbolOf(QUELLARD_LV2_FILE, "lv2_descriptor");
    return *reinterpret_cast<LV2_Descriptor_Function>(entry)(0);
  }
  static const LV2UI_Descriptor& aboutUi() {
    static void* const entry = symbolOf(QUELLARD_LV2_UI_FILE, "lv2ui_descriptor");
    return *reinterpret_cast<LV2UI_DescriptorFunction>(entry)(0);
  }
  static Lv2WindowHost& of(void* host) { return *static_cast<Lv2WindowHost*>(host); }
  void show(std::uint32_t port) {
    if (ui_ != nullptr) aboutUi().port_event(ui_, port, sizeof(float), 0, &ports_.at(port));
  }
  void note(const char* what, std::uint32_t port) {
    const int parameter =
        port == lv2EnabledPort(kSides) ? kBypassParameter : lv2ParameterOf(port, kSides);
    told_ += what + std::to_string(parameter) + " ";
  }
  static void write(LV2UI_Controller host, std::uint32_t port, std::uint32_t, std::uint32_t,
                    const void* control) {
    std::memcpy(&of(host).ports_.at(port), control, sizeof(float));
    of(host).note("value ", port);
  }

  LV2UI_Touch touch_ = {this, [](LV2UI_Feature_Handle host, std::uint32_t port, bool isHeld) {
                          of(host).note(isHeld ? "begin " : "end ", port);
                        }};
  LV2UI_Resize resize_ = {this, [](LV2UI_Feature_Handle host, int width, int height) {
                            of(host).size_ = {width, height};
                            return 0;
                          }};
  std::map<std::string, LV2_URID> ids_;
  std::array<float, lv2ReportPort(kNumLv2Reports, kSides)> ports_{};
  float scale_ = 1.0F;
  PixelSize size_ = {static_cast<int>(kFaceWidth), static_cast<int>(kFaceHeight)};
  bool isCalled_ = false;
  LV2_Handle plugin_ = nullptr;
  LV2UI_Handle ui_ = nullptr;
  std::string told_;
};

class Vst2WindowHost final : public WindowHost {
 public:
  Vst2WindowHost()
      : host_([](audioMasterCallback host) {
          void* const entry = symbolOf(QUELLARD_VST2_FILE, "VSTPluginMain");
          return reinterpret_cast<AEffect* (*)(audioMasterCallback)>(entry)(host);
        }) {}
  PixelSize size() override { return host_.size(); }
  bool open(std::uintptr_t parent) override { return isOpen_ = host_.open(parent); }
  void close() override {
    isOpen_ = false;
    host_.call(effEditClose);
  }
  void idle() override {
    deliverMessages();
    host_.call(effEditIdle);
  }
  bool isCalled() override { return isOpen_; }
  bool isToldOfTheEnd() override { return false; }
  PixelSize asked() override { return host_.asked; }
  void set(int parameter, double value) override {
    host_.record->setParameter(host_.record, numberOf(parameter), static_cast<float>(value));
  }
  double get(int parameter) override {
    if (parameter == kBypassParameter) return 0.0;
    return static_cast<double>(host_.record->getParameter(host_.record, numberOf(parameter)));
  }
  // The host counts parameters from 0.
  std::string told() override {
    std::istringstream words(std::exchange(host_.told, ""));
    std::string all, word;
    for (int number = 0; words >> word >> number;)
      all += word + " " + std::to_string(parameterOf(number)) + " ";
    return all;
  }
  void play(std::vector<float>& samples) override {
    if (!std::exchange(isActive_, true)) {
      const AEffect& record = *host_.record;
      record.dispatcher(host_.record, effSetSampleRate, 0, 0, nullptr, static_cast<float>(kRate));
      record.dispatcher(host_.record, effSetBlockSize, 0, kMostFrames, nullptr, 0.0F);
      record.dispatcher(host_.record, effMainsChanged, 0, 1, nullptr, 0.0F);
    }
    host_.play(samples);
  }

 private:
  // The bypass has no number.
  static int numberOf(int parameter) { return parameter - (parameter > kBypassParameter ? 2 : 1); }
  static int parameterOf(int number) { return number + (number < kBypassParameter - 1 ? 1 : 2); }

  Vst2FaceHost host_;
  bool isOpen_ = false, isActive_ = false;
};

// One parameter's move at the start of a block, and a block's list of just this move.
struct OneMove final : Counted<v3_param_value_queue> {
  v3_param_id id = 0;
  double value = 0.0;
  OneMove() : Counted(kTable) {}
  static OneMove& of(void* self) { return *static_cast<OneMove*>(self); }
  static v3_param_id idOf(void* self) { return of(self).id; }
  static std::int32_t count(void*) { return 1; }
  static v3_result point(void* self, std::int32_t, std::int32_t* frame, double* value) {
    *frame = 0;
    *value = of(self).value;
    return V3_OK;
  }
  static constexpr Table kTable = {{query, ref, unref}, {idOf, count, point, nullptr}};
};

struct OneMoveList final : Counted<v3_param_changes> {
  OneMove move;
  OneMoveList() : Counted(kTable) {}
  static std::int32_t count(void*) { return 1; }
  static v3_param_value_queue** moveOf(void* self, std::int32_t) {
    return static_cast<OneMoveList*>(self)->move.interface();
  }
  static constexpr Table kTable = {{query, ref, unref}, {count, moveOf, nullptr}};
};

class Vst3WindowHost final : public WindowHost {
 public:
  Vst3WindowHost() {
    static void* const entry = symbolOf(QUELLARD_VST3_FILE, "ModuleEntry");
    static const bool ready = reinterpret_cast<bool (*)(void*)>(entry)(nullptr);
    void* const get = symbolOf(QUELLARD_VST3_FILE, "GetPluginFactory");
    auto** const factory = reinterpret_cast<v3_plugin_factory** (*)()>(get)();
    v3_class_info info{};
    EXPECT_TRUE(ready);
    v3_cpp_obj(factory)->get_class_info(factory, 0, &info);
    v3_cpp_obj(factory)->create_instance(factory, info.class_id, v3_component_iid,
                                         reinterpret_cast<void**>(&component_));
    v3_cpp_obj_initialize(component_, nullptr);
    v3_cpp_obj_query_interface(component_, v3_audio_processor_iid, &processor_);
    v3_cpp_obj_query_interface(component_, v3_edit_controller_iid, &controller_);
    v3_cpp_obj(controller_)->set_component_handler(controller_, handler_.interface());
    create();
  }
  // A view may outlive everything else of its plug-in.
  ~Vst3WindowHost() override {
    v3_cpp_obj(component_)->set_active(component_, false);
    v3_cpp_obj_terminate(component_);
    v3_cpp_obj_unref(processor_);
    v3_cpp_obj_unref(controller_);
    v3_cpp_obj_unref(component_);
    close();
  }
  bool setScale(double scale) override {
    v3_plugin_view_content_scale** content = nullptr;
    v3_cpp_obj_query_interface(view_, v3_plugin_view_content_scale_iid, &content);
    const v3_result result =
        v3_cpp_obj(content)->set_content_scale_factor(content, static_cast<float>(scale));
    v3_cpp_obj_unref(content);
    return result == V3_OK;
  }
  PixelSize size() override {
    create();
    v3_view_rect rect{};
    EXPECT_EQ(v3_cpp_obj(view_)->get_size(view_, &rect), V3_OK);
    return {rect.right - rect.left, rect.bottom - rect.top};
  }
  bool open(std::uintptr_t parent) override {
    create();
    return isOpen_ = v3_cpp_obj(view_)->attached(view_, reinterpret_cast<void*>(parent),
                                                 V3_VIEW_PLATFORM_TYPE_NATIVE) == V3_OK;
  }
  void close() override {
    isOpen_ = false;
    if (view_ == nullptr) return;
    v3_cpp_obj(view_)->removed(view_);
    v3_cpp_obj(view_)->set_frame(view_, nullptr);
    EXPECT_EQ(v3_cpp_obj_unref(std::exchange(view_, nullptr)), 0U);
  }
#if defined(_WIN32)
  // Hosts on Windows offer no loop, and the view sees to itself.
  void idle() override { deliverMessages(); }
  bool isCalled() override { return isOpen_; }
  bool isToldOfTheEnd() override { return false; }
#else
  // The loop waits for the descriptor, too.
  void idle() override {
    if (loop_.timer != nullptr) v3_cpp_obj(loop_.timer)->on_timer(loop_.timer);
    if (loop_.events != nullptr && isReadable(loop_.descriptor))
      v3_cpp_obj(loop_.events)->on_fd_is_set(loop_.events, loop_.descriptor);
  }
  bool isCalled() override { return loop_.timer != nullptr || loop_.events != nullptr; }
#endif
  bool resize(PixelSize size) override {
    v3_view_rect rect = {0, 0, size.width, size.height};
    return v3_cpp_obj(view_)->on_size(view_, &rect) == V3_OK;
  }
  PixelSize asked() override { return {frame_.asked.right, frame_.asked.bottom}; }
  void set(int parameter, double value) override {
    const auto id = static_cast<v3_param_id>(parameter);
    v3_cpp_obj(controller_)->set_parameter_normalised(controller_, id, value);
  }
  double get(int parameter) override {
    const auto id = static_cast<v3_param_id>(parameter);
    return v3_cpp_obj(controller_)->get_parameter_normalised(controller_, id);
  }
  // The next block brings the last of these moves.
  std::string told() override {
    std::istringstream words(handler_.told);
    std::string word;
    while (words >> word >> moves_.move.id) moves_.move.value = handler_.value;
    return std::exchange(handler_.told, "");
  }
  void play(std::vector<float>& samples) override {
    if (!std::exchange(isActive_, true)) {
      v3_process_setup setup{V3_REALTIME, V3_SAMPLE_32, kMostFrames, kRate};
      EXPECT_EQ(v3_cpp_obj(processor_)->setup_processing(processor_, &setup), V3_OK);
      EXPECT_EQ(v3_cpp_obj(component_)->set_active(component_, true), V3_OK);
      EXPECT_EQ(v3_cpp_obj(processor_)->set_processing(processor_, true), V3_OK);
    }
    float* channel = samples.data();
    v3_audio_bus_buffers bus{1, 0, {&channel}};
    v3_process_data data{};
    data.symbolic_sample_size = V3_SAMPLE_32;
    data.nframes = static_cast<std::int32_t>(samples.size());
    data.num_input_buses = data.num_output_buses = 1;
    data.inputs = data.outputs = &bus;
    if (moves_.move.id != 0) data.input_params = moves_.interface();
    EXPECT_EQ(v3_cpp_obj(processor_)->process(processor_, &data), V3_OK);
    moves_.move.id = 0;
  }

 private:
  void create() {
    if (view_ != nullptr) return;
    view_ = v3_cpp_obj(controller_)->create_view(controller_, "editor");
    EXPECT_EQ(v3_cpp_obj(view_)->set_frame(view_, frame_.interface()), V3_OK);
  }
#if defined(_WIN32)
  Frame frame_{nullptr};
#else
  static bool isReadable(int descriptor) {
    pollfd one = {descriptor, POLLIN, 0};
    return poll(&one, 1, 0) > 0;
  }

  RunLoop loop_;
  Frame frame_{&loop_};
#endif
  Handler handler_;
  OneMoveList moves_;
  v3_component** component_ = nullptr;
  v3_audio_processor** processor_ = nullptr;
  v3_edit_controller** controller_ = nullptr;
  v3_plugin_view** view_ = nullptr;
  bool isActive_ = false, isOpen_ = false;
};

}  // namespace

std::unique_ptr<WindowHost> createClapHost() { return std::make_unique<ClapWindowHost>(); }
std::unique_ptr<WindowHost> createLv2Host() { return std::make_unique<Lv2WindowHost>(); }
std::unique_ptr<WindowHost> createVst2Host() { return std::make_unique<Vst2WindowHost>(); }
std::unique_ptr<WindowHost> createVst3Host() { return std::make_unique<Vst3WindowHost>(); }

}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// VST3's view, in a host with a run loop that counts what it holds.
#include <cmath>
#include <limits>

#include "adapters/editor/ticker.h"
#include "adapters/vst3/vst3_plugin.h"
#include "params/factory_bank.h"
#include "tests/adapters/faces/fake_window.h"
#include "tests/adapters/faces/vst3_host.h"

namespace quellard::test {
namespace {

class Vst3Face : public FaceFormats {
 protected:
  Vst3Face() {
    void* object = nullptr;
    Vst3Plugin::create(HostedAmp::kMono, v3_edit_controller_iid, &object);
    controller = static_cast<v3_edit_controller**>(object);
    c().set_component_handler(controller, handler.interface());
  }
  ~Vst3Face() override { EXPECT_EQ(release(controller), 0U); }

  // The references that are left; 0 also for null.
  template <typename Object>
  static std::uint32_t release(Object**& object) {
    auto** const last = std::exchange(object, nullptr);
    return last != nullptr ? v3_cpp_obj_unref(last) : 0;
  }
  const v3_edit_controller& c() const { return *v3_cpp_obj(controller); }
  HostedAmp& amp() const { return Vst3Plugin::of(controller).amp; }
  v3_plugin_view** create() const { return c().create_view(controller, "editor"); }
  v3_plugin_view** opened() {
    v3_plugin_view** view = create();
    v3_cpp_obj(view)->set_frame(view, frame.interface());
    EXPECT_EQ(attach(view), V3_OK);
    return view;
  }
  static v3_result attach(v3_plugin_view** view, std::uintptr_t parent = 77) {
    return v3_cpp_obj(view)->attached(view, reinterpret_cast<void*>(parent),
                                      V3_VIEW_PLATFORM_TYPE_NATIVE);
  }
  // As a host must do it: the run loop holds the view until it is removed.
  static void close(v3_plugin_view** view) {
    EXPECT_EQ(v3_cpp_obj(view)->removed(view), V3_OK);
    EXPECT_EQ(v3_cpp_obj_unref(view), 0U);
  }
  static PixelSize sizeOf(v3_plugin_view** view) {
    v3_view_rect rect{};
    EXPECT_EQ(v3_cpp_obj(view)->get_size(view, &rect), V3_OK);
    return {rect.right - rect.left, rect.bottom - rect.top};
  }
  static v3_result setScale(v3_plugin_view** view, float factor) {
    v3_plugin_view_content_scale** scale = nullptr;
    EXPECT_EQ(v3_cpp_obj_query_interface(view, v3_plugin_view_content_scale_iid, &scale), V3_OK);
    const v3_result result = v3_cpp_obj(scale)->set_content_scale_factor(scale, factor);
    v3_cpp_obj_unref(scale);
    return result;
  }
  void tick() { v3_cpp_obj(loop.timer)->on_timer(loop.timer); }

  Handler handler;
  RunLoop loop;
  Frame frame{&loop};
  v3_edit_controller** controller = nullptr;
};

TEST_F(Vst3Face, SizesHoldTheScale) {
  for (const float scale : {1.0F, 1.25F, 1.5F, 1.75F, 2.0F}) {
    v3_plugin_view** view = create();
    EXPECT_EQ(setScale(view, scale), V3_OK);
    const PixelSize wanted = {static_cast<int>(960.0F * scale), static_cast<int>(600.0F * scale)};
    EXPECT_EQ(sizeOf(view), wanted);
    v3_cpp_obj(view)->set_frame(view, frame.interface());
    ASSERT_EQ(attach(view), V3_OK);
    EXPECT_EQ(window().size(), wanted);
    for (const float wrong : {0.0F, -1.0F, NAN, HUGE_VALF}) EXPECT_NE(setScale(view, wrong), V3_OK);
    EXPECT_EQ(sizeOf(view), wanted);
    v3_view_rect rect = {10, 20, 1010, 2020};
    EXPECT_EQ(v3_cpp_obj(view)->check_size_constraint(view, &rect), V3_TRUE);
    EXPECT_EQ((std::array{rect.left, rect.top, rect.right, rect.bottom}),
              (std::array{10, 20, 1010, 645}));
    close(view);
  }
}

TEST_F(Vst3Face, TheFrameIsAskedForOtherSizes) {
  v3_plugin_view** view = opened();
  for (const bool agrees : {false, true}) {
    frame.agrees = agrees;
    window().dragged = {1200, 750};
    tick();
    EXPECT_EQ(std::pair(frame.asked.right, frame.asked.bottom), std::pair(1200, 750));
    EXPECT_EQ(sizeOf(view), agrees ? (PixelSize{1200, 750}) : (PixelSize{960, 600}));
  }
  for (const bool agrees : {false, true}) {
    frame.agrees = agrees;
    EXPECT_EQ(setScale(view, 1.5F), V3_OK) << "the window is moved to another screen";
    EXPECT_EQ(std::pair(frame.asked.right, frame.asked.bottom), std::pair(1800, 1125));
    EXPECT_EQ(sizeOf(view), agrees ? (PixelSize{1800, 1125}) : (PixelSize{1200, 750}));
  }
  v3_view_rect huge = {-32768, -32768, 32768, 32768};
  EXPECT_EQ(v3_cpp_obj(view)->on_size(view, &huge), V3_OK);
  EXPECT_EQ(sizeOf(view), (PixelSize{5760, 3600})) << "the largest at this scale";
  close(view);
}

// Loop, frame, window and plug-in may go in any order.
TEST_F(Vst3Face, EndsInAnyOrder) {
  v3_plugin_view** view = opened();
  EXPECT_EQ(std::pair(window().parent, window().isShown), std::pair(std::uintptr_t{77}, true));
  EXPECT_EQ(loop.descriptor, window().fileDescriptor());
  EXPECT_EQ(v3_cpp_obj(view)->removed(view), V3_OK);
  EXPECT_EQ(v3_cpp_obj(view)->removed(view), V3_OK);
  EXPECT_TRUE(fakeScreen().windows.empty() && loop.timer == nullptr);
  EXPECT_EQ(attach(view), V3_OK) << "again";
  EXPECT_EQ(attach(view, 78), V3_OK) << "in another window";
  EXPECT_EQ(fakeScreen().windows.size(), 1U);
  v3_plugin_view** const second = create();  // beside the first
  window().isGone = true;
  v3_cpp_obj(loop.events)->on_fd_is_set(loop.events, loop.descriptor);
  EXPECT_TRUE(loop.timer == nullptr && loop.events == nullptr) << "the host waits for nothing";
  EXPECT_EQ(v3_cpp_obj_unref(second), 0U);
  EXPECT_EQ(attach(view), V3_OK);
  window().grasp(5);
  const std::uint32_t left = release(controller);
  EXPECT_EQ(left, 1U) << "the view's";
  EXPECT_EQ(handler.references, 2);
  close(view);
  EXPECT_EQ(handler.told, "begin 5 value 5 end 5 ");
}

// A loop may hold no reference, or only while it removes what it was given, and the host may
// release the view while the view is calling it.
TEST_F(Vst3Face, LivesAsLongAsItIsCalled) {
  loop.keepsReferences = false;
  v3_plugin_view** view = opened();
  EXPECT_EQ(v3_cpp_obj_unref(view), 0U) << "without having been removed";
  view = opened();
  window().dragged = {1200, 750};
  frame.agrees = false;
  frame.whileAsked = [&] { EXPECT_EQ(v3_cpp_obj_unref(view), 1U) << "the call's own"; };
  tick();
  EXPECT_TRUE(fakeScreen().windows.empty() && loop.timer == nullptr);
}

TEST_F(Vst3Face, MayBeRemovedWhileItCallsTheHost) {
  v3_plugin_view** view = opened();
  const auto remove = [&] {
    EXPECT_EQ(v3_cpp_obj(view)->removed(view), V3_OK);
    EXPECT_TRUE(fakeScreen().windows.empty()) << "it is gone at once";
  };
  for (const bool attachesAnew : {false, true}) {
    frame.agrees = false;
    frame.whileAsked = [&] {
      remove();
      EXPECT_TRUE(!attachesAnew || attach(view) == V3_OK);
    };
    window().dragged = {1200, 750};
    tick();
    EXPECT_EQ(fakeScreen().windows.size(), attachesAnew ? 1U : 0U);
    EXPECT_EQ(loop.timer != nullptr, attachesAnew);
    EXPECT_TRUE(attachesAnew || attach(view) == V3_OK);
  }
  handler.told.clear();
  handler.whileTold = remove;
  window().hands = [](FakeWindow& each) { each.grasp(5); };
  tick();
  EXPECT_EQ(handler.told, "begin 5 value 5 end 5 ");
  close(view);
}

TEST_F(Vst3Face, NoExceptionReachesTheHost) {
  v3_plugin_view** view = opened();
  frame.hasMemory = false;
  window().dragged = {1200, 750};
  EXPECT_NO_THROW(tick());
  EXPECT_NO_THROW(EXPECT_NE(setScale(view, 2.0F), V3_OK));
  window().dragged = {1200, 750};
  EXPECT_NO_THROW(v3_cpp_obj(loop.events)->on_fd_is_set(loop.events, loop.descriptor));
  EXPECT_EQ(sizeOf(view), (PixelSize{960, 600}));
  close(view);
}

// The handler hears begin, value and end, and what is shown follows at once. What plays follows
// with the host's blocks; while there are none, at once.
TEST_F(Vst3Face, MovesReachTheHandler) {
  Application ardour;
  for (const bool isArdour : {false, true}) {
    auto& plugin = Vst3Plugin::of(controller);
    if (isArdour) Vst3Plugin::initialize(controller, ardour.interface<v3_funknown>());
    v3_plugin_view** view = opened();
    for (const bool isActive : {false, true}) {
      plugin.active = isActive;
      const auto before = static_cast<double>(amp().value(17));
      window().turn(17);
      EXPECT_EQ(std::exchange(handler.told, ""), "begin 17 value 17 end 17 ");
      EXPECT_EQ(handler.value, c().get_parameter_normalised(controller, 17));
      const double moved = isActive ? before : handler.value;
      EXPECT_EQ(static_cast<double>(amp().value(17)), moved);
      if (isActive) amp().setValue(17, plugin.shown(17));
    }
    plugin.active = false;
    c().set_parameter_normalised(controller, 17, 0.25);
    window().turn(17);
    EXPECT_NEAR(handler.value, 0.26, 1e-6) << "from what the host shows";
    handler.told.clear();
    window().pressButton(kBypassParameter);
    EXPECT_EQ(std::exchange(handler.told, ""), "begin 20 value 20 end 20 ");
    EXPECT_EQ(amp().bypassed(), !isArdour);
    close(view);
  }
  c().set_component_handler(controller, nullptr);
  v3_plugin_view** view = opened();
  Vst3Plugin::of(controller).active = true;
  window().turn(17);
  EXPECT_NEAR(amp().value(17), 0.27, 1e-6) << "nobody else would play it";
  close(view);
}

// The host's program follows the face, and chooses from there.
TEST_F(Vst3Face, APresetIsTheHostsProgram) {
  writeOwnPreset();
  auto& plugin = Vst3Plugin::of(controller);
  v3_plugin_view** view = opened();
  const auto programNow = [&] { return c().get_parameter_normalised(controller, kVst3Program); };
  window().pressArrow(true);
  EXPECT_EQ(programNow(), 1.0F / 12.0F);
  EXPECT_EQ(handler.value, c().plain_parameter_to_normalised(controller, kVst3Program, 1.0));
  EXPECT_TRUE(handler.told.ends_with("begin 0 value 0 end 0 ")) << handler.told;
  EXPECT_EQ(amp().values(), presetValues(kFactoryBank[0]));
  window().turn(5);
  const float turned = amp().value(5);
  plugin.moveInBlock(kVst3Program, 1.0 / 12.0);
  c().set_parameter_normalised(controller, kVst3Program, 1.0 / 12.0);
  EXPECT_EQ(std::pair(amp().value(5), plugin.shown(5)), std::pair(turned, turned))
      << "the host brings it";
  c().set_parameter_normalised(controller, kVst3Program, 0.0);
  EXPECT_EQ(amp().values(), defaultValues()) << "the host chooses another";
  EXPECT_EQ(programNow(), 0.0);

  handler.told.clear();
  close(view);
  view = opened();
  window().pressArrow(false);
  EXPECT_EQ(amp().value(18), 0.9F);
  EXPECT_EQ(handler.told, "begin 18 value 18 end 18 ") << "no program of the host's";
  window().turn(3);
  close(view);
  view = opened();
  EXPECT_EQ(window().face.state().preset, "Own") << "it is remembered";
  window().pressArrow(true);
  window().pressArrow(false);
  EXPECT_EQ(programNow(), 0.0);
  c().set_component_handler(controller, nullptr);
  window().pressArrow(true);
  window().pressArrow(true);
  EXPECT_EQ(programNow(), 1.0F / 12.0F) << "without a handler";
  close(view);
}

TEST_F(Vst3Face, MeasuresWhileAnyIsOpen) {
  amp().prepare(48000.0, 64);
  const auto peakNow = [&] {
    std::vector<double> samples(64, 0.5);
    double* channel = samples.data();
    amp().prepare(48000.0, 64);
    amp().play({.doubles = &channel, .count = 1}, {}, 0, 64);
    return amp().inputPeak();
  };
  EXPECT_EQ(peakNow(), 0.0F);
  v3_plugin_view** first = opened();
  RunLoop otherLoop;
  Frame otherFrame(&otherLoop);
  v3_plugin_view** second = create();
  v3_cpp_obj(second)->set_frame(second, otherFrame.interface());
  EXPECT_EQ(attach(second), V3_OK);
  close(first);
  EXPECT_EQ(peakNow(), 0.5F);
  close(second);
  EXPECT_EQ(peakNow(), 0.0F);
}

TEST_F(Vst3Face, InvalidCallsAreRefused) {
  EXPECT_EQ(c().create_view(controller, nullptr), nullptr);
  EXPECT_EQ(c().create_view(controller, "other"), nullptr);
  v3_plugin_view** view = create();
  const v3_plugin_view& v = *v3_cpp_obj(view);
  EXPECT_EQ(v.is_platform_type_supported(view, V3_VIEW_PLATFORM_TYPE_NATIVE), V3_TRUE);
  for (const char* wrong : {"NSView", "", static_cast<const char*>(nullptr)}) {
    EXPECT_NE(v.is_platform_type_supported(view, wrong), V3_TRUE);
    EXPECT_NE(v.attached(view, this, wrong), V3_OK);
  }
  // Without the host's, a timer of the system's own serves where there is one.
  EXPECT_EQ(attach(view) == V3_OK, Ticker::kIsThere) << "no frame";
  Frame without(nullptr);
  v.set_frame(view, without.interface());
  EXPECT_EQ(attach(view) == V3_OK, Ticker::kIsThere) << "no run loop";
  v.set_frame(view, frame.interface());
  loop.takesTimers = false;
  EXPECT_EQ(attach(view) == V3_OK, Ticker::kIsThere) << "no timer";
  loop.takesTimers = true;
  EXPECT_NE(attach(view, 0), V3_OK);
  fakeScreen().isThere = false;
  EXPECT_NE(attach(view), V3_OK) << "no screen";
  fakeScreen().isThere = true;
  EXPECT_TRUE(fakeScreen().windows.empty());
  EXPECT_NE(v.get_size(view, nullptr), V3_OK);
  EXPECT_NE(v.on_size(view, nullptr), V3_OK);
  EXPECT_NE(v.check_size_constraint(view, nullptr), V3_OK);
  constexpr std::int32_t kLow = std::numeric_limits<std::int32_t>::min();
  for (v3_view_rect wrong :
       {v3_view_rect{0, 0, 0, 600}, {0, 0, 960, 0}, {9, 9, 0, 0}, {kLow, 0, INT32_MAX, 600}}) {
    EXPECT_NE(v.on_size(view, &wrong), V3_OK);
    EXPECT_NE(v.check_size_constraint(view, &wrong), V3_OK);
  }
  EXPECT_EQ(sizeOf(view), (PixelSize{960, 600}));
  void* object = &object;
  auto** const unknown = reinterpret_cast<v3_funknown**>(view);
  EXPECT_EQ((*unknown)->query_interface(view, v3_edit_controller_iid, &object), V3_NO_INTERFACE);
  EXPECT_EQ(object, nullptr);
  close(view);
}

}  // namespace
}  // namespace quellard::test

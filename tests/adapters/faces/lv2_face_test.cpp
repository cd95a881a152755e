// SPDX-License-Identifier: ISC
// The LV2 window, in a host that carries values between it and the plug-in.
#include <cmath>
#include <cstring>
#include <lv2/atom/atom.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <map>

#include "adapters/lv2/lv2_plugin.h"
#include "tests/adapters/faces/fake_window.h"

namespace quellard::test {
namespace {

struct Wanted {
  std::uintptr_t parent = 77;
  float scale = 0.0F;           // 0: no option
  const char* title = nullptr;  // null: no option
  bool hasResize = true;
};

class Lv2Host {
 public:
  explicit Lv2Host(const char* plugin = kLv2Variants[0].uri, Wanted wanted = {}) {
    LV2_URID_Map map = {this, [](LV2_URID_Map_Handle host, const char* uri) {
                          auto& ids = static_cast<Lv2Host*>(host)->ids_;
                          return ids.emplace(uri, ids.size() + 1).first->second;
                        }};
    const LV2_URID real = map.map(this, LV2_ATOM__Float), text = map.map(this, LV2_ATOM__String);
    const auto unlessNone = [&](bool isGiven, const char* uri) {
      return isGiven ? map.map(this, uri) : map.map(this, "urn:test:other");
    };
    const std::array<LV2_Options_Option, 3> options = {{
        {LV2_OPTIONS_INSTANCE, 0, unlessNone(wanted.scale > 0.0F, LV2_UI__scaleFactor),
         sizeof(float), real, &wanted.scale},
        {LV2_OPTIONS_INSTANCE, 0, unlessNone(wanted.title != nullptr, LV2_UI__windowTitle), 0, text,
         wanted.title},
        {},
    }};
    const std::array<LV2_Feature, 5> features = {{
        {LV2_URID__map, &map},
        {LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options.data())},
        {LV2_UI__touch, &touch_},
        {wanted.hasResize ? LV2_UI__resize : "urn:test:other", &resize_},
        {LV2_UI__parent, reinterpret_cast<void*>(wanted.parent)},
    }};
    std::vector<const LV2_Feature*> list;
    for (const LV2_Feature& feature : features) list.push_back(&feature);
    if (wanted.parent == 0) list.pop_back();
    list.push_back(nullptr);
    handle = about().instantiate(&about(), plugin, "", write, this, &widget, list.data());
  }
  ~Lv2Host() {
    if (handle != nullptr) about().cleanup(handle);
  }
  Lv2Host(const Lv2Host&) = delete;
  Lv2Host& operator=(const Lv2Host&) = delete;

  static const LV2UI_Descriptor& about() { return *lv2ui_descriptor(0); }
  template <typename Table>
  static const Table& extension(const char* uri) {
    return *static_cast<const Table*>(about().extension_data(uri));
  }
  bool idle() const {
    return extension<LV2UI_Idle_Interface>(LV2_UI__idleInterface).idle(handle) == 0;
  }
  bool show() const {
    return extension<LV2UI_Show_Interface>(LV2_UI__showInterface).show(handle) == 0;
  }
  bool resize(int width, int height) const {
    return extension<LV2UI_Resize>(LV2_UI__resize).ui_resize(handle, width, height) == 0;
  }
  void send(std::uint32_t port, float value) const {
    about().port_event(handle, port, sizeof value, 0, &value);
  }

  LV2UI_Handle handle;
  LV2UI_Widget widget = nullptr;
  std::string told;  // grasps, values and letting go, with their ports
  float written = NAN;
  bool agrees = true;
  PixelSize asked;

 private:
  static Lv2Host& of(void* host) { return *static_cast<Lv2Host*>(host); }
  static void write(LV2UI_Controller host, std::uint32_t port, std::uint32_t size,
                    std::uint32_t protocol, const void* value) {
    EXPECT_EQ(std::pair(size, protocol), std::pair(4U, 0U));
    std::memcpy(&of(host).written, value, sizeof(float));
    of(host).told += "value " + std::to_string(port) + " ";
  }

  std::map<std::string, LV2_URID> ids_;
  LV2UI_Touch touch_ = {this, [](LV2UI_Feature_Handle host, std::uint32_t port, bool isHeld) {
                          of(host).told +=
                              (isHeld ? "begin " : "end ") + std::to_string(port) + " ";
                        }};
  LV2UI_Resize resize_ = {this, [](LV2UI_Feature_Handle host, int width, int height) {
                            of(host).asked = {width, height};
                            return of(host).agrees ? 0 : 1;
                          }};
};

class Lv2Face : public FaceFormats {};

TEST_F(Lv2Face, OpensInTheHostsWindow) {
  const Lv2Host host;
  ASSERT_NE(host.handle, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(host.widget), window().id());
  EXPECT_EQ(std::pair(window().parent, window().isShown), std::pair(std::uintptr_t{77}, true));
  EXPECT_EQ(host.asked, (PixelSize{960, 600})) << "hosts of the old way learn the size so";
  EXPECT_TRUE(host.idle());
  window().isGone = true;
  EXPECT_FALSE(host.idle());
  EXPECT_EQ(lv2ui_descriptor(1), nullptr);
}

TEST_F(Lv2Face, SizesHoldTheScale) {
  for (const float scale : {1.25F, 1.5F, 1.75F, 2.0F}) {
    const Lv2Host host(kLv2Variants[0].uri, {.scale = scale});
    const PixelSize wanted = {static_cast<int>(960.0F * scale), static_cast<int>(600.0F * scale)};
    EXPECT_EQ(window().size(), wanted);
    EXPECT_EQ(host.asked, wanted);
  }
  for (const float wrong : {NAN, HUGE_VALF}) {
    const Lv2Host host(kLv2Variants[0].uri, {.scale = wrong});
    EXPECT_EQ(window().size(), (PixelSize{960, 600}));
  }
}

// The host agrees, refuses, or has no such feature and sees the window change.
TEST_F(Lv2Face, AsksTheHostForOtherSizes) {
  Lv2Host host;
  for (const bool agrees : {false, true}) {
    host.agrees = agrees;
    window().dragged = {1200, 750};
    EXPECT_TRUE(host.idle());
    EXPECT_EQ(host.asked, (PixelSize{1200, 750}));
    EXPECT_EQ(window().size(), agrees ? (PixelSize{1200, 750}) : (PixelSize{960, 600}));
  }
  EXPECT_TRUE(host.resize(480, 300));
  EXPECT_EQ(window().size(), (PixelSize{480, 300}));
  EXPECT_TRUE(host.resize(INT32_MAX, 601));
  EXPECT_EQ(window().size(), (PixelSize{3840, 601}));
  EXPECT_TRUE(host.resize(480, 300));
  for (const int wrong : {0, -1}) EXPECT_FALSE(host.resize(wrong, 300) || host.resize(480, wrong));
  const Lv2Host other(kLv2Variants[0].uri, {.hasResize = false});
  window().dragged = {960, 600};
  EXPECT_TRUE(other.idle());
  EXPECT_EQ(window().size(), (PixelSize{960, 600}));
}

TEST_F(Lv2Face, FloatsWhereTheHostCannotEmbed) {
  const Lv2Host host(kLv2Variants[1].uri, {.parent = 0, .title = "Track 1"});
  ASSERT_NE(host.handle, nullptr);
  EXPECT_FALSE(window().isShown);
  EXPECT_TRUE(host.show());
  EXPECT_TRUE(window().isShown);
  EXPECT_EQ(std::pair(window().parent, window().title),
            std::pair(std::uintptr_t{0}, std::string("Track 1")));
  window().dragged = {480, 300};
  EXPECT_TRUE(host.idle());
  EXPECT_EQ(window().size(), (PixelSize{480, 300}));
  EXPECT_EQ(host.asked, PixelSize{});
  window().wantsClose = true;
  EXPECT_FALSE(host.idle());
  EXPECT_FALSE(window().isShown);
  EXPECT_TRUE(host.show() && host.idle()) << "again";
}

// Both ways, in the numbers of the ports.
TEST_F(Lv2Face, ValuesAreThoseOfThePorts) {
  for (const std::uint32_t sides : {1U, 2U}) {
    Lv2Host host(kLv2Variants.at(sides - 1).uri);
    const std::uint32_t enabled = 19 + 2 * sides;
    const auto& state = window().face.state();
    const auto shown = [&](std::uint32_t port, float value, int parameter) {
      host.send(port, value);
      window().face.update(0.0);
      return state.values[parameter];
    };
    EXPECT_EQ(shown(4, 4.39F, 5), 0.439F);
    EXPECT_EQ(shown(4, NAN, 5), 0.439F);
    EXPECT_EQ(shown(18, 1.0F, 19), 0.5F);
    EXPECT_EQ(shown(enabled, 0.0F, kBypassParameter), 1.0F);
    EXPECT_EQ(shown(enabled, 1.0F, kBypassParameter), 0.0F);
    EXPECT_EQ(shown(enabled + 1, -12.0F, kInputParameter), 0.25F);
    EXPECT_EQ(shown(enabled + 2, -81.0F, kGateParameter), 0.0F);
    EXPECT_EQ(shown(UINT32_MAX, 1.0F, 5), 0.439F);
    const float value = 1.0F;
    for (const auto& [size, protocol] : {std::pair{4U, 1U}, {8U, 0U}})
      host.about().port_event(host.handle, 4, size, protocol, &value);
    host.about().port_event(host.handle, 4, 4, 0, nullptr);
    EXPECT_EQ(shown(UINT32_MAX, 1.0F, 5), 0.439F);

    window().turn(5);
    EXPECT_EQ(std::exchange(host.told, ""), "begin 4 value 4 end 4 ");
    EXPECT_NEAR(host.written, 4.49F, 1e-5F);
    window().pressButton(kBypassParameter);
    EXPECT_EQ(host.written, 0.0F);
    window().pressButton(kBypassParameter);
    EXPECT_EQ(host.written, 1.0F);
    host.told.clear();
    window().turn(kOutputParameter);
    const std::string port = std::to_string(enabled + 3);
    EXPECT_EQ(host.told, "begin " + port + " value " + port + " end " + port + " ");
    EXPECT_NEAR(host.written, 0.5F, 1e-4F) << "dB";
  }
}

// A project's values come after the window has been opened: they are no change of "Init".
TEST_F(Lv2Face, APresetIsRecognisedOnceTheHostHasSentItsValues) {
  writeOwnPreset();
  Lv2Host host;
  const auto& state = window().face.state();
  EXPECT_TRUE(host.idle());
  window().face.update(0.03);
  EXPECT_EQ(state.preset, "Init");
  host.send(4, 1.23F);
  window().face.update(0.03);
  EXPECT_EQ(state.preset, "Custom");
  EXPECT_FALSE(state.isChanged);
  host.send(4, 5.0F);
  window().face.update(0.03);
  EXPECT_EQ(state.preset, "Init");
}

// What the plug-in reports comes to the meters as it was played.
TEST_F(Lv2Face, LevelsComeThroughPorts) {
  const Lv2Variant& variant = kLv2Variants[1];
  Lv2Plugin plugin(variant, 48000.0, 64);
  std::vector<float> loud(64, 0.5F), quiet(64, 0.0F);
  std::array<float, 3> reports{};
  plugin.connect(19, quiet.data());
  plugin.connect(20, loud.data());
  for (std::uint32_t i = 0; i < 3; ++i) plugin.connect(27 + i, &reports.at(i));
  plugin.run(64);
  EXPECT_NEAR(reports[0], -6.0206F, 1e-3F);
  EXPECT_EQ(reports[2], 1.0F);
  const Lv2Host host(variant.uri);
  const auto& state = window().face.state();
  EXPECT_EQ(state.input.text, "");
  for (std::uint32_t i = 0; i < 3; ++i) host.send(27 + i, reports.at(i));
  window().face.update(0.03);
  EXPECT_EQ(state.input.text, "-6.0 dBFS");
  EXPECT_FALSE(state.input.clipped);
  for (std::uint32_t i = 0; i < 3; ++i) host.send(27 + i, 0.0F);
  window().face.update(0.03);
  EXPECT_TRUE(state.input.clipped);
  EXPECT_FALSE(state.gateIsOpen);
}

TEST_F(Lv2Face, InvalidCallsAreRefused) {
  EXPECT_EQ(Lv2Host("urn:quellard:other").handle, nullptr);
  EXPECT_EQ(Lv2Host(nullptr).handle, nullptr);
  const LV2UI_Descriptor& ui = Lv2Host::about();
  LV2UI_Widget widget = nullptr;
  const auto write = [](auto...) {};
  const char* const plugin = kLv2Variants[0].uri;
  EXPECT_EQ(ui.instantiate(&ui, plugin, "", nullptr, nullptr, &widget, nullptr), nullptr);
  EXPECT_EQ(ui.instantiate(&ui, plugin, "", write, nullptr, nullptr, nullptr), nullptr);
  for (const char* uri : {"urn:other", static_cast<const char*>(nullptr)})
    EXPECT_EQ(ui.extension_data(uri), nullptr);
  fakeScreen().isThere = false;
  EXPECT_EQ(ui.instantiate(&ui, plugin, "", write, nullptr, &widget, nullptr), nullptr);
  EXPECT_EQ(widget, nullptr);
  fakeScreen().isThere = true;
  LV2UI_Handle bare = ui.instantiate(&ui, plugin, "", write, nullptr, &widget, nullptr);
  ASSERT_NE(bare, nullptr) << "a host without any feature";
  window().turn(5);
  window().grasp(6);
  ui.cleanup(bare);
}

}  // namespace
}  // namespace quellard::test

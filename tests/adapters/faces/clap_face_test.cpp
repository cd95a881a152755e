// SPDX-License-Identifier: ISC
// CLAP's window and the moves on it, in a host that keeps what it is told.
#include <cmath>
#include <limits>
#include <map>
#include <thread>

#include "adapters/clap/clap_plugin.h"
#include "adapters/editor/ticker.h"
#include "params/factory_bank.h"
#include "tests/adapters/faces/clap_host.h"
#include "tests/adapters/faces/fake_window.h"

namespace quellard::test {
namespace {

class ClapHost : public ClapFaceHost {
 public:
  explicit ClapHost(bool hasTimers = true) : ClapFaceHost(clap_entry, hasTimers) {}

  HostedAmp& amp() const { return ClapPlugin::of(plugin).amp; }
  // A block of loud input.
  std::vector<Event> played() const {
    std::vector<float> samples(64, 0.5F);
    return play(samples);
  }
};

class ClapFace : public FaceFormats {};

// Unless this system has timers of its own.
TEST_F(ClapFace, WithoutTimersOfTheHostThereIsNone) {
  const ClapHost host(false);
  const bool isThere = Ticker::kIsThere;
  EXPECT_EQ(host.gui->is_api_supported(host.plugin, kClapWindowApi, false), isThere);
  EXPECT_EQ(host.gui->create(host.plugin, nullptr, true), isThere);
  EXPECT_EQ(host.gui->create(host.plugin, kClapWindowApi, false), isThere);
  EXPECT_EQ(host.embed(), isThere);
}

// The first size that a host learns holds the scale that it has set, or the desktop's.
TEST_F(ClapFace, SizesHoldTheScale) {
  for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
    for (const bool isHosts : {true, false}) {
      fakeScreen().scale = isHosts ? 1.3 : scale;
      const ClapHost host;
      ASSERT_TRUE(host.gui->create(host.plugin, kClapWindowApi, false));
      EXPECT_TRUE(!isHosts || host.gui->set_scale(host.plugin, scale));
      const PixelSize wanted = {static_cast<int>(960 * scale), static_cast<int>(600 * scale)};
      EXPECT_EQ(host.size(), wanted) << scale;
      ASSERT_TRUE(host.embed());
      EXPECT_EQ(window().size(), wanted);
      std::uint32_t width = 1000, height = 2000;
      EXPECT_TRUE(host.gui->adjust_size(host.plugin, &width, &height));
      EXPECT_EQ(std::pair(width, height),
                scale <= 2.0 ? std::pair(1000U, 625U) : std::pair(1440U, 900U));
      EXPECT_EQ(host.size(), wanted) << "an adjusted size is not set";
      for (const double wrong : {0.0, -1.0, std::nan(""), HUGE_VAL})
        EXPECT_FALSE(host.gui->set_scale(host.plugin, wrong));
      EXPECT_EQ(host.size(), wanted);
    }
  }
}

TEST_F(ClapFace, TheHostIsAskedForOtherSizes) {
  ClapHost host;
  ASSERT_TRUE(host.open());
  for (const bool agrees : {false, true}) {
    host.agrees = agrees;
    window().dragged = {1200, 750};
    host.tick();
    EXPECT_EQ(host.asked.back(), (PixelSize{1200, 750}));
    EXPECT_EQ(host.size(), agrees ? (PixelSize{1200, 750}) : (PixelSize{960, 600}));
  }
  for (const auto& [wanted, got] :
       {std::pair{PixelSize{32767, 32767}, PixelSize{3840, 2400}}, {{640, 400}, {640, 400}}}) {
    EXPECT_TRUE(host.gui->set_size(host.plugin, static_cast<std::uint32_t>(wanted.width),
                                   static_cast<std::uint32_t>(wanted.height)));
    EXPECT_EQ(window().size(), got);
  }
  host.gui->destroy(host.plugin);
  ASSERT_TRUE(host.open());
  EXPECT_EQ(window().size(), (PixelSize{640, 400})) << "remembered";
  for (const bool agrees : {false, true}) {
    host.agrees = agrees;
    EXPECT_TRUE(host.gui->set_scale(host.plugin, 1.5));
    EXPECT_EQ(host.asked.back(), (PixelSize{960, 600})) << "also while it is open";
    EXPECT_EQ(window().size(), agrees ? (PixelSize{960, 600}) : (PixelSize{640, 400}));
  }
}

// A host may answer with a size of its own, and may do so before the window is opened.
TEST_F(ClapFace, TheHostsSizeIsKept) {
  ClapHost host;
  ASSERT_TRUE(host.open());
  host.whileResized = [&] { EXPECT_TRUE(host.gui->set_size(host.plugin, 1100, 700)); };
  window().dragged = {1200, 750};
  host.tick();
  EXPECT_EQ(window().size(), (PixelSize{1100, 700}));
  host.gui->destroy(host.plugin);
  ASSERT_TRUE(host.gui->create(host.plugin, kClapWindowApi, false));
  EXPECT_TRUE(host.gui->set_size(host.plugin, 1003, 700));
  EXPECT_EQ(host.size(), (PixelSize{1003, 700}));
  ASSERT_TRUE(host.embed());
  EXPECT_EQ(window().size(), (PixelSize{1003, 700}));
  // What was adjusted once needs it no more.
  for (std::uint32_t width = 480; width < 1500; ++width) {
    for (const std::uint32_t height : {width / 2, width * 5 / 8, width}) {
      std::uint32_t x = width, y = height;
      EXPECT_TRUE(host.gui->adjust_size(host.plugin, &x, &y));
      std::uint32_t again_x = x, again_y = y;
      EXPECT_TRUE(host.gui->adjust_size(host.plugin, &again_x, &again_y));
      ASSERT_EQ(std::pair(again_x, again_y), std::pair(x, y)) << width << 'x' << height;
    }
  }
}

TEST_F(ClapFace, NoWindowBeginsLargerThanTheScreen) {
  fakeScreen().size = {1920, 1080};
  for (const auto& [scale, size] :
       {std::pair{1.5, PixelSize{1440, 900}}, {2.0, {1728, 1080}}, {3.0, {1728, 1080}}}) {
    const ClapHost host;
    ASSERT_TRUE(host.gui->create(host.plugin, kClapWindowApi, false));
    EXPECT_TRUE(host.gui->set_scale(host.plugin, scale));
    EXPECT_EQ(host.size(), size);
    ASSERT_TRUE(host.embed());
    EXPECT_EQ(window().size(), size);
  }
}

// A host may destroy the window, and create another, while it answers the window's own question or
// hears of a move.
TEST_F(ClapFace, MayBeDestroyedWhileItCallsTheHost) {
  for (const bool createsAnother : {false, true}) {
    ClapHost host;
    int closed = 0;
    host.closed = [&](bool) { ++closed; };
    const auto end = [&] {
      host.whileAsked = host.whileResized = [] {};
      host.gui->destroy(host.plugin);
      EXPECT_TRUE(fakeScreen().windows.empty()) << "it is gone at once";
      if (createsAnother) {
        EXPECT_TRUE(host.open());
      }
    };
    ASSERT_TRUE(host.open());
    host.whileResized = end;
    window().dragged = {1200, 750};
    host.tick();
    EXPECT_TRUE(createsAnother || host.open());
    host.whileAsked = end;
    window().hands = [](FakeWindow& each) { each.grasp(5); };
    host.tick();
    EXPECT_EQ(fakeScreen().windows.size(), createsAnother ? 1U : 0U);
    EXPECT_EQ(host.timers, createsAnother ? 1 : 0);
    EXPECT_EQ(closed, 0);
    if (!createsAnother) continue;
    EXPECT_EQ(host.size(), (PixelSize{960, 600})) << "the answer is not for the new window";
  }
}

// The window lives while the host's timer calls it, and levels are measured as long.
TEST_F(ClapFace, ItsTimerRunsWhileItIsShown) {
  ClapHost host;
  ASSERT_TRUE(host.plugin->activate(host.plugin, 48000.0, 1, 64));
  host.played();
  EXPECT_EQ(host.amp().inputPeak(), 0.0F);
  ASSERT_TRUE(host.open());
  EXPECT_EQ(std::pair(window().parent, window().isShown), std::pair(std::uintptr_t{77}, true));
  EXPECT_EQ(std::pair(host.timers, host.period_ms), std::pair(1, 33U));
  host.played();
  EXPECT_EQ(host.amp().inputPeak(), 0.5F);
  window().wantsClose = true;
  host.tick(6);
  EXPECT_TRUE(window().wantsClose) << "another's timer";
  window().wantsClose = false;
  EXPECT_TRUE(host.gui->hide(host.plugin));
  EXPECT_EQ(std::pair(window().isShown, host.timers), std::pair(false, 0));
  EXPECT_TRUE(host.gui->show(host.plugin));
  EXPECT_EQ(std::pair(window().isShown, host.timers), std::pair(true, 1));
  std::vector<bool> closed;
  host.closed = [&](bool wasDestroyed) { closed.push_back(wasDestroyed); };
  window().isGone = true;
  host.tick();
  host.tick();
  EXPECT_EQ(closed, std::vector<bool>{true});
  EXPECT_EQ(host.timers, 0);
  EXPECT_FALSE(host.gui->show(host.plugin)) << "its parent is gone";
}

TEST_F(ClapFace, ANewWindowShowsNoOldPeak) {
  ClapHost host;
  ASSERT_TRUE(host.plugin->activate(host.plugin, 48000.0, 1, 64));
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(host.open());
    const auto shown = [&] {
      window().face.update(0.03);
      return window().face.state().input.text;
    };
    EXPECT_EQ(shown(), "");
    host.played();
    EXPECT_EQ(shown(), "-6.0 dBFS");
    host.gui->destroy(host.plugin);
  }
}

TEST_F(ClapFace, FloatsBesideTheHost) {
  ClapHost host;
  const clap_window_t above = ClapHost::windowOfHost(9);
  ASSERT_TRUE(host.gui->create(host.plugin, nullptr, true));
  EXPECT_FALSE(host.embed());
  EXPECT_FALSE(host.gui->can_resize(host.plugin));
  EXPECT_FALSE(host.gui->set_size(host.plugin, 480, 300));
  host.gui->suggest_title(host.plugin, "Track 1");
  EXPECT_TRUE(host.gui->set_transient(host.plugin, &above));
  ASSERT_TRUE(host.gui->show(host.plugin));
  EXPECT_EQ(std::pair(window().parent, window().above),
            std::pair(std::uintptr_t{0}, std::uintptr_t{9}));
  EXPECT_EQ(window().title, "Track 1");
  window().dragged = {480, 300};
  host.tick();
  EXPECT_EQ(window().size(), (PixelSize{480, 300}));
  EXPECT_TRUE(host.asked.empty());
  for (const bool destroysAtOnce : {false, true}) {
    bool wasTold = false;
    host.closed = [&](bool wasDestroyed) {
      wasTold = !wasDestroyed;
      if (destroysAtOnce) host.gui->destroy(host.plugin);
    };
    ASSERT_TRUE(host.gui->show(host.plugin));
    window().wantsClose = true;
    host.tick();
    EXPECT_TRUE(wasTold);
    EXPECT_EQ(host.timers, 0);
  }
}

TEST_F(ClapFace, CallsOutOfOrderAreRefused) {
  ClapHost host;
  const clap_plugin_gui_t& gui = *host.gui;
  const clap_plugin_t* p = host.plugin;
  const char* api = nullptr;
  bool floats = true;
  std::uint32_t width = 7, height = 7;
  clap_gui_resize_hints_t hints{};
  for (const bool isCreated : {false, true}) {
    ASSERT_TRUE(!isCreated || gui.create(p, kClapWindowApi, false));
    EXPECT_EQ(gui.set_scale(p, 1.0), isCreated);
    EXPECT_EQ(gui.can_resize(p), isCreated);
    EXPECT_FALSE(gui.show(p) || gui.hide(p)) << "no parent";
    EXPECT_FALSE(gui.set_transient(p, nullptr) || gui.set_parent(p, nullptr) || host.embed(0));
    for (const char* wrong : {"cocoa", "", static_cast<const char*>(nullptr)}) {
      clap_window_t window = ClapHost::windowOfHost(7);
      window.api = wrong;
      EXPECT_FALSE(gui.set_parent(p, &window));
      EXPECT_FALSE(gui.create(p, wrong, false));
    }
    EXPECT_FALSE(gui.get_size(p, nullptr, &height) || gui.adjust_size(p, &width, nullptr));
    EXPECT_FALSE(gui.get_resize_hints(p, nullptr) || gui.get_preferred_api(p, nullptr, &floats));
    for (const std::uint32_t wrong : {0U, 32768U, UINT32_MAX})
      EXPECT_FALSE(gui.set_size(p, wrong, 600) || gui.set_size(p, 960, wrong));
    gui.suggest_title(p, nullptr);
    host.tick();
    if (!isCreated) gui.destroy(p);
  }
  EXPECT_TRUE(gui.get_preferred_api(p, &api, &floats));
  EXPECT_EQ(std::pair(std::string(api), floats), std::pair(std::string(kClapWindowApi), false));
  EXPECT_TRUE(gui.get_resize_hints(p, &hints));
  EXPECT_EQ(hints.aspect_ratio_width * 10, hints.aspect_ratio_height * 16);
  ASSERT_TRUE(host.open() && host.open() && host.embed(78)) << "twice";
  EXPECT_EQ(fakeScreen().windows.size(), 1U);
  fakeScreen().isThere = false;
  EXPECT_FALSE(host.open()) << "no screen";
  EXPECT_EQ(host.timers, 0);
  fakeScreen().isThere = true;
  ASSERT_TRUE(host.open());
  window().grasp(5);  // and the host destroys the plug-in
}

// Active or not, moves are heard at once, and the host gets them in their order.
TEST_F(ClapFace, MovesReachAmplifierAndHost) {
  ClapHost host;
  ASSERT_TRUE(host.open());
  const auto valueNow = [&](int parameter) {
    double value = -1.0;
    host.params->get_value(host.plugin, static_cast<clap_id>(parameter), &value);
    return value;
  };
  for (const bool isActive : {false, true}) {
    ASSERT_TRUE(!isActive || host.plugin->activate(host.plugin, 48000.0, 1, 64));
    const auto sent = [&] { return isActive ? host.played() : host.flushed(); };
    const double before = valueNow(5);
    window().turn(5);
    EXPECT_NEAR(valueNow(5), before + 0.01, 1e-6);
    EXPECT_GT(std::exchange(host.flushes, 0), 0);
    EXPECT_EQ(sent(),
              (std::vector<Event>{
                  {Kind::begin, 5, 0.0}, {Kind::value, 5, valueNow(5)}, {Kind::end, 5, 0.0}}));
    EXPECT_EQ(sent(), std::vector<Event>{});

    window().grasp(17);
    EXPECT_EQ(sent(),
              (std::vector<Event>{{Kind::begin, 17, 0.0}, {Kind::value, 17, valueNow(17)}}));
    window().letGo();
    window().grasp(17);  // again before the host asks: still the same hand
    EXPECT_EQ(sent(), (std::vector<Event>{{Kind::value, 17, valueNow(17)}}));
    window().letGo();
    EXPECT_EQ(sent(), (std::vector<Event>{{Kind::end, 17, 0.0}}));
  }
  window().pressButton(kBypassParameter);
  EXPECT_TRUE(host.amp().bypassed());
  EXPECT_EQ(host.flushed()[1], (Event{Kind::value, 20, 1.0}));
}

// All gestures of a preset are whole within the next block, and where the host flushes as soon as
// it is asked.
TEST_F(ClapFace, APresetIsAGestureOfEachParameter) {
  for (const bool flushesAtOnce : {false, true}) {
    ClapHost host;
    ASSERT_TRUE(host.open());
    ASSERT_TRUE(host.plugin->activate(host.plugin, 48000.0, 1, 64));
    std::vector<Event> events;
    const auto append = [&](const std::vector<Event>& more) {
      events.insert(events.end(), more.begin(), more.end());
    };
    if (flushesAtOnce) host.whileAsked = [&] { append(host.flushed()); };
    window().pressArrow(true);
    if (!flushesAtOnce) append(host.played());
    EXPECT_EQ(host.played(), std::vector<Event>{}) << "nothing is left";
    std::map<clap_id, std::string> order;
    std::map<clap_id, double> values;
    for (const Event& event : events) {
      order[event.parameter] += std::array{"(", "v", ")"}[static_cast<std::size_t>(event.kind)];
      if (event.kind == Kind::value) values[event.parameter] = event.value;
    }
    for (const auto& [id, text] : order) EXPECT_EQ(text, flushesAtOnce ? "(vv)" : "(v)") << id;
    const ParameterValues preset = presetValues(kFactoryBank[0]), before = defaultValues();
    for (int i = 1; i <= kNumStoredValues; ++i) {
      const auto id = static_cast<clap_id>(i);
      double now = -1.0;
      EXPECT_TRUE(host.params->get_value(host.plugin, id, &now));
      EXPECT_EQ(values.contains(id), preset[i] != before[i]) << i;
      if (!values.contains(id)) continue;
      EXPECT_EQ(values[id], now) << i;
    }
    EXPECT_EQ(host.amp().values(), preset);
    EXPECT_EQ(host.loaded, std::string(kFactoryBank[0].name) + ";");
  }
}

// Closed and opened again, it knows what the values were changed from, unless a project has brought
// others. The user's own presets are none of the host's.
TEST_F(ClapFace, RemembersThePresetWhileItIsClosed) {
  writeOwnPreset();
  ClapHost host;
  ASSERT_TRUE(host.open());
  window().pressArrow(false);
  EXPECT_EQ(window().face.state().preset, "Own");
  EXPECT_EQ(host.loaded, "");
  window().turn(3);
  host.gui->destroy(host.plugin);
  ASSERT_TRUE(host.open());
  EXPECT_EQ(window().face.state().preset, "Own");
  EXPECT_TRUE(window().face.state().isChanged);
  const auto* presets = static_cast<const ClapPresetLoad*>(
      host.plugin->get_extension(host.plugin, kPresetLoadExtension));
  host.gui->destroy(host.plugin);
  EXPECT_TRUE(presets->fromLocation(host.plugin, kPresetInPlugin, nullptr, kFactoryBank[5].name));
  host.amp().setValue(3, 0.123F);
  ASSERT_TRUE(host.open());
  EXPECT_EQ(window().face.state().preset, kFactoryBank[5].name);
  host.gui->destroy(host.plugin);
  std::string saved;
  const auto& state = *static_cast<const clap_plugin_state_t*>(
      host.plugin->get_extension(host.plugin, CLAP_EXT_STATE));
  const clap_ostream_t out = {
      &saved, [](const clap_ostream_t* to, const void* bytes, std::uint64_t size) {
        static_cast<std::string*>(to->ctx)->append(static_cast<const char*>(bytes), size);
        return static_cast<std::int64_t>(size);
      }};
  EXPECT_TRUE(state.save(host.plugin, &out));
  const clap_istream_t in = {&saved,
                             [](const clap_istream_t* from, void* bytes, std::uint64_t size) {
                               auto& left = *static_cast<std::string*>(from->ctx);
                               const std::size_t count = left.copy(static_cast<char*>(bytes), size);
                               left.erase(0, count);
                               return static_cast<std::int64_t>(count);
                             }};
  EXPECT_TRUE(state.load(host.plugin, &in));
  ASSERT_TRUE(host.open());
  EXPECT_EQ(window().face.state().preset, "Custom");
}

// A preset is as many moves as it changes, of which the host takes a few at a time.
TEST_F(ClapFace, AFullHostGetsTheRestLater) {
  ClapHost host;
  ASSERT_TRUE(host.open());
  window().pressArrow(true);
  const ParameterValues chosen = host.amp().values();
  EXPECT_EQ(chosen, presetValues(kFactoryBank[0]));
  window().grasp(3);
  std::map<clap_id, std::string> seen;
  std::map<clap_id, double> values;
  const auto take = [&](std::size_t room) {
    const std::vector<Event> events = host.flushed(room);
    for (const Event& event : events) {
      seen[event.parameter] += std::array{"(", "v", ")"}[static_cast<std::size_t>(event.kind)];
      if (event.kind == Kind::value) values[event.parameter] = event.value;
    }
    return events.size();
  };
  for (std::size_t room = 0; room < 40; ++room) take(room % 4);
  window().letGo();
  while (take(1) > 0) {
  }
  for (const auto& [parameter, order] : seen) EXPECT_EQ(order, "(v)") << parameter;
  for (int i = 1; i <= 18; ++i) {
    if (chosen[i] == kKnobDefault && i != 3) continue;
    EXPECT_EQ(values[static_cast<clap_id>(i)], static_cast<double>(host.amp().value(i))) << i;
  }
  EXPECT_EQ(values.contains(19), chosen[19] != kTypeDefault);
}

// One thread moves and another sends: the host sees begin, values and end in this order, and the
// last value of all.
TEST(HandMoves, ArriveInOrderAtAnotherThread) {
  HandMoves moves;
  std::atomic<bool> isDone = false;
  std::array<bool, kNumHostedValues + 1> isOpen{};
  std::array<float, kNumHostedValues + 1> last{};
  std::uint32_t calls = 0;
  const auto send = [&](Kind kind, int parameter, float value) {
    if (++calls % 7 == 0) return false;  // the host is full
    bool& open = isOpen[static_cast<std::size_t>(parameter)];
    EXPECT_EQ(open, kind != Kind::begin) << parameter;
    if (kind != Kind::value) open = kind == Kind::begin;
    if (kind == Kind::value) last[static_cast<std::size_t>(parameter)] = value;
    return true;
  };
  std::thread audio([&] {
    while (!isDone) moves.sendTo(send);
    for (int i = 0; i < 200; ++i) moves.sendTo(send);
  });
  constexpr int kMoves = 20000;
  for (int i = 1; i <= kMoves; ++i) {
    const int parameter = 1 + i % 3;
    moves.begin(parameter, 0.0F);
    for (int step = 1; step <= 3; ++step)
      moves.move(parameter, static_cast<float>(4 * i + step) / (4.0F * kMoves + 4.0F));
    moves.end(parameter);
  }
  isDone = true;
  audio.join();
  for (const int i : {kMoves, kMoves - 1, kMoves - 2}) {
    const auto parameter = static_cast<std::size_t>(1 + i % 3);
    EXPECT_EQ(last[parameter], static_cast<float>(4 * i + 3) / (4.0F * kMoves + 4.0F));
    EXPECT_FALSE(isOpen[parameter]);
  }
}

}  // namespace
}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// The formats' windows as built, in hosts of our own on a real display.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <regex>
#include <thread>

#include "face/face.h"
#include "face/painter.h"
#include "params/factory_bank.h"
#include "tests/adapters/faces/screen.h"
#include "tests/adapters/faces/window_host.h"
#include "tests/support/environment.h"
#if defined(_WIN32)
#include <windows.h>
#endif

namespace quellard::test {
namespace {

using std::chrono_literals::operator""ms;

constexpr PixelSize kUsual = {static_cast<int>(kFaceWidth), static_cast<int>(kFaceHeight)};

PixelSize times(PixelSize size, double by) {
  return {static_cast<int>(std::lround(size.width * by)),
          static_cast<int>(std::lround(size.height * by))};
}

// What a process has too few of to leave any behind: file descriptors, or the system's objects.
std::ptrdiff_t openDescriptors() {
#if defined(_WIN32)
  const HANDLE self = GetCurrentProcess();
  return GetGuiResources(self, GR_GDIOBJECTS) + GetGuiResources(self, GR_USEROBJECTS);
#else
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
#endif
}

#if defined(_WIN32)
constexpr bool kClockIsCoarse = true;
#else
constexpr bool kClockIsCoarse = false;
#endif

double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

int differentPixels(const Picture& a, const Picture& b) {
  if (a.bounds() != b.bounds()) return a.width() * a.height();
  int count = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) count += a.row(y)[x] != b.row(y)[x];
  return count;
}

// A plug-in in the host's window, and beside it the same face in memory, with the same hands on it,
// for what its picture must be.
class Track : private FaceTarget {
 public:
  Track(Screen& display, const WindowFormat& format, double scale = 1.0, int left = 0)
      : screen(display), host(format.create()), left_(left) {
    screen.setDesktopScale(scale);
    open(scale);
  }

  // scale: 0 where the host does not tell it again.
  void open(double scale = 0.0) {
    if (scale > 0.0) isScaled = host->setScale(scale) || screen.hasScales();
    announced = host->size();
    parent = screen.open(announced, left_);
    ASSERT_TRUE(host->open(parent));
    window = screen.inside(parent);
  }

  // What the plug-in and the display have to say to each other is said.
  void live() const {
    for (int n = 0; n < 5; ++n) {
      std::this_thread::sleep_for(5ms);
      host->idle();
    }
  }
  bool comesTrue(const std::function<bool()>& condition) const {
    for (int n = 0; n < 1000; ++n) {
      host->idle();
      if (condition()) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }

  Picture expected(PixelSize size) {
    face_.update(0.0);
    FacePicture picture;
    picture.resize(size.width, size.height);
    picture.repaint(face_.state(), face_.presets());
    return picture.picture();
  }
  void expectFace(PixelSize size) {
    const Picture wanted = expected(size);
    int different = 0;
    EXPECT_TRUE(comesTrue([&] {
      return screen.sizeOf(window) == size &&
             (different = differentPixels(screen.pixels(window), wanted)) == 0;
    })) << different
        << " pixels differ, at " << size.width << 'x' << size.height << ", window "
        << screen.sizeOf(window).width << 'x' << screen.sizeOf(window).height;
  }

  void moveMouse(Point to) {
    const float scale = static_cast<float>(screen.sizeOf(window).width) / kFaceWidth;
    screen.moveMouse(left_ + static_cast<int>(scale * to.x), static_cast<int>(scale * to.y));
    at_ = to;
    face_.drag(to, false);
  }
  void mouseDown() {
    screen.mouseDown();
    face_.press(at_, MouseButton::left, false, ++clicks_);
  }
  void mouseUp() {
    screen.mouseUp();
    face_.release(at_);
  }
  void type(const std::string& text) {
    screen.type(text);
    for (const char c : text) {
      if (c == '\r')
        face_.key(Key::enter, false);
      else
        face_.type(static_cast<char32_t>(c));
    }
  }

  // Expects that the host has heard this of a parameter, within a while: "begin ", "value " and
  // "end " as a regular expression.
  void expectTold(const std::string& pattern, int parameter) {
    std::string told;
    const std::regex whole(
        std::regex_replace(pattern, std::regex(" "), " " + std::to_string(parameter) + " "));
    EXPECT_TRUE(comesTrue([&] {
      told += host->told();
      return std::regex_match(told, whole);
    })) << told;
  }

  // The level of a steady tone, once it has settled.
  double loudness() const {
    std::vector<float> block(WindowHost::kMostFrames);
    for (int n = 0; n < 60; ++n) {
      for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = 0.1F * std::sin(static_cast<float>(i) * 0.09817477F);  // 64 frames a period
      host->play(block);
    }
    double sum = 0.0;
    for (const float x : block) sum += static_cast<double>(x) * static_cast<double>(x);
    return std::sqrt(sum / static_cast<double>(block.size()));
  }

  // What n calls of the host cost, a part of one core at 30 calls a second. before: each call.
  double idleCost(int calls, std::chrono::milliseconds period,
                  const std::function<void()>& before) const {
    double seconds = 0.0;
    for (int n = 0; n < calls; ++n) {
      before();
      std::this_thread::sleep_for(period);
      const double start = threadSeconds();
      host->idle();
      seconds += threadSeconds() - start;
    }
    return 30.0 * seconds / calls;
  }

  Screen& screen;
  const std::unique_ptr<WindowHost> host;
  PixelSize announced;
  bool isScaled = false;
  WindowId parent = 0, window = 0;

 private:
  float value(int parameter) const override { return static_cast<float>(host->get(parameter)); }
  void beginMove(int) override {}
  void move(int, float) override {}
  void endMove(int) override {}
  FaceLevels levels() override { return {}; }

  int left_;
  Point at_;
  double clicks_ = 0.0;
  Face face_{*this, factoryFacePresets()};
};

class Windows : public testing::TestWithParam<WindowFormat> {
 protected:
  Windows() {
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
      setVariable(name, folder_.string());
  }
  ~Windows() override { std::filesystem::remove_all(folder_); }
  void SetUp() override {
    screen = Screen::start();
    if (screen == nullptr) GTEST_SKIP() << "there is no display";
  }

  std::unique_ptr<Screen> screen;

 private:
  static std::filesystem::path newFolder() {
    const auto name = "quellard-windows-" + std::to_string(std::random_device()());
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directory(folder);
    return folder;
  }
  std::filesystem::path folder_ = newFolder();
};

const Control& knob(int parameter) {
  return controls()[static_cast<std::size_t>(knobControl(parameter))];
}

// A knob that is heard: the volume of the channel that plays at first.
constexpr int kVolume = knobIndex(channelFromSelect(kTypeDefault), kMasterKnob);

TEST_P(Windows, ShowsWhatTheHostHas) {
  Track track(*screen, GetParam());
  EXPECT_EQ(track.announced, kUsual);
  EXPECT_TRUE(screen->isSeen(track.window));
  track.expectFace(kUsual);
  const Picture first = track.expected(kUsual);
  for (const auto& [parameter, value] :
       {std::pair{kVolume, 0.9}, {kTypeParameter, 1.0}, {kInputParameter, 0.25}}) {
    track.host->set(parameter, value);
    track.expectFace(kUsual);
  }
  EXPECT_GT(differentPixels(first, screen->pixels(track.window)), 500);
}

TEST_P(Windows, AKnobIsDragged) {
  Track track(*screen, GetParam());
  const double before = track.loudness();
  const Point center = knob(kVolume).center;
  track.moveMouse(center);
  track.mouseDown();
  for (const float way : {20.0F, 40.0F, 60.0F}) {
    track.live();
    track.moveMouse({center.x, center.y + way});
  }
  track.expectTold("begin (value ){1,3}", kVolume);
  EXPECT_TRUE(track.comesTrue([&] { return std::fabs(track.host->get(kVolume) - 0.2) < 1e-3; }))
      << track.host->get(kVolume);
  track.mouseUp();
  track.expectTold("(value )?end ", kVolume);
  EXPECT_LT(track.loudness(), 0.8 * before);
}

TEST_P(Windows, AValueIsTyped) {
  Track track(*screen, GetParam());
  track.moveMouse(knob(kVolume).value.center());
  track.mouseDown();
  track.mouseUp();
  track.live();
  track.type("7.39");
  track.expectFace(kUsual);
  track.type("\r");
  track.expectTold("begin value end ", kVolume);
  EXPECT_NEAR(track.host->get(kVolume), 0.739, 1e-6);
  track.expectFace(kUsual);
}

// What the face does not use reaches the host once, with its release and as often as it is
// repeated; what the host itself has sent does not come back.
TEST_P(Windows, KeysReachTheHostUnlessTheFaceUsesThem) {
  Track track(*screen, GetParam());
  screen->listen(track.parent);
  track.moveMouse({480.0F, 595.0F});
  track.mouseDown();
  track.mouseUp();
  std::string heard;
  const auto hears = [&](std::size_t count) {
    return track.comesTrue([&] { return (heard += screen->heard()).size() >= count; });
  };
  track.live();
  screen->type("q");
  EXPECT_TRUE(hears(2));
  track.live();
  EXPECT_EQ(heard + screen->heard(), "+-");
#if !defined(_WIN32)
  screen->forward(track.window, 'q');
  track.live();
  EXPECT_EQ(screen->heard(), "") << "sent back";
#endif
  heard.clear();
  screen->keyDown('q');
  for (int n = 0; n < 4; ++n) screen->repeatKey('q');
  EXPECT_TRUE(hears(5)) << "held down";
  screen->keyUp('q');
  track.live();
  EXPECT_TRUE(track.comesTrue([&] {
    return (heard += screen->heard()).find_last_of('-') + 1 == heard.size();
  })) << heard;
  const auto releases = std::count(heard.begin(), heard.end(), '-');
  EXPECT_EQ(releases,
            Screen::kRepeatsAreReleases ? std::count(heard.begin(), heard.end(), '+') : 1);

  // A field takes all of them, and a button that is held down is pressed once.
  track.moveMouse(knob(kVolume).value.center());
  track.mouseDown();
  track.mouseUp();
  track.live();
  screen->type("7q\t");
  constexpr int kVolumeToNextPreset = 8;  // Tab keys
  screen->type(std::string(kVolumeToNextPreset - 1, '\t'));
  screen->keyDown(' ');
  for (int n = 0; n < 50; ++n) {  // repetitions begin after 660 ms
    screen->repeatKey(' ');
    track.live();
  }
  screen->keyUp(' ');
  track.live();
  EXPECT_EQ(screen->heard(), "");
  for (int parameter = 1; parameter <= kNumKnobs; ++parameter) {
    const auto value = static_cast<double>(presetValue(kFactoryBank[0], parameter));
    EXPECT_NEAR(track.host->get(parameter), value, 1e-6) << "one preset further";
  }
}

#if !defined(_WIN32)
// An embedder by the XEMBED protocol is asked for the keyboard, and takes it away.
TEST_P(Windows, EmbeddersAreAskedForTheKeyboard) {
  constexpr std::uint32_t kEmbeddedNotify = 0;
  constexpr std::uint32_t kFocusOut = 5;
  Track track(*screen, GetParam());
  screen->listen(track.parent);
  screen->embed(track.window, kEmbeddedNotify, track.parent);
  track.live();
  track.moveMouse(knob(kVolume).value.center());
  track.mouseDown();
  track.mouseUp();
  track.live();
  screen->type("5q");
  track.live();
  EXPECT_EQ(screen->heard(), "ff") << "with the press and the release";
  screen->embed(track.window, kFocusOut, 0);
  track.live();
  screen->type("q");
  track.live();
  EXPECT_EQ(screen->heard(), "+-") << "the field is gone";
}

// Some desktops have colours of 5, 6 or 10 bits.
TEST_P(Windows, ShowsOnDesktopsOfOtherDepths) {
  for (const int bits : {16, 30}) {
    screen = Screen::start(bits);
    Track track(*screen, GetParam());
    track.expectFace(kUsual);
  }
}
#endif

// Of the formats that know windows which stand for themselves.
class FloatingWindows : public Windows {};

TEST_P(FloatingWindows, AreClosedByThePlayer) {
  const std::unique_ptr<WindowHost> host = GetParam().create();
  ASSERT_TRUE(host->floats());
  const WindowId window = screen->inside(0);
  for (int n = 0; n < 20 && screen->pixel(window, 400, 150) == 0; ++n) {
    std::this_thread::sleep_for(20ms);
    host->idle();
  }
  EXPECT_TRUE(screen->isSeen(window));
  EXPECT_EQ(screen->sizeOf(window), kUsual);
  EXPECT_NE(screen->pixel(window, 400, 150), 0U);
  EXPECT_TRUE(host->isCalled());
  screen->askToClose(window);
  for (int n = 0; n < 20 && host->isCalled(); ++n) {
    std::this_thread::sleep_for(20ms);
    host->idle();
  }
  EXPECT_FALSE(host->isCalled()) << "the host knows";
  // The window's own connection to the display may be behind this one.
  for (int n = 0; n < 20 && screen->isSeen(window); ++n) std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(screen->isSeen(window));
  EXPECT_TRUE(host->floats()) << "again";
}

TEST_P(Windows, OpensAHundredTimes) {
  Track track(*screen, GetParam());
  track.host->close();
  const std::ptrdiff_t before = openDescriptors();
  for (int n = 0; n < 100; ++n) {
    ASSERT_EQ(track.host->size(), kUsual);
    ASSERT_TRUE(track.host->open(track.parent));
    ASSERT_NE(screen->inside(track.parent), 0U);
    track.host->idle();
    track.host->close();
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_TRUE(track.comesTrue([&] { return screen->inside(track.parent) == 0; }));
}

TEST_P(Windows, TwoAreIndependent) {
  Track first(*screen, GetParam()), second(*screen, GetParam(), 1.0, kUsual.width);
  second.expectFace(kUsual);
  second.host->set(kVolume, 0.75);
  const Point center = knob(kVolume).center;
  first.moveMouse(center);
  first.mouseDown();
  first.moveMouse({center.x, center.y - 50.0F});
  first.expectTold("begin (value )+", kVolume);
  EXPECT_NEAR(first.host->get(kVolume), 0.75, 1e-3);
  first.expectFace(kUsual);
  second.expectFace(kUsual);
  EXPECT_EQ(second.host->told(), "");
  first.host->close();
  EXPECT_EQ(first.host->told(), "end " + std::to_string(kVolume) + " ") << "it lets go";
  screen->mouseUp();
  second.moveMouse(center);
  second.mouseDown();
  second.moveMouse({center.x, center.y + 50.0F});
  second.expectTold("begin (value )+", kVolume);
  EXPECT_NEAR(second.host->get(kVolume), 0.5, 1e-3);
  EXPECT_NEAR(first.host->get(kVolume), 0.75, 1e-3);
}

// Windows, plug-in and display may go in any order. A host whose format tells it so calls the
// window no longer.
TEST_P(Windows, EndsInAnyOrder) {
  const std::ptrdiff_t before = openDescriptors();
  {
    Track track(*screen, GetParam());
    for (const bool isTold : {true, false}) {
      screen->destroy(track.parent);
      if (isTold) {
        track.live();
        EXPECT_EQ(track.host->isCalled(), !track.host->isToldOfTheEnd());
      }
      track.host->close();
      track.open();
      track.expectFace(kUsual);
    }
    track.host->close();
    screen->destroy(track.parent);
    track.open();
    track.moveMouse(knob(kVolume).center);
    track.mouseDown();
    track.moveMouse({0.0F, 0.0F});
    track.expectTold("begin (value )+", kVolume);
  }
  EXPECT_EQ(openDescriptors(), before);
#if !defined(_WIN32)
  Track track(*screen, GetParam());
  screen->kill();
  track.live();
  EXPECT_EQ(track.host->isCalled(), !track.host->isToldOfTheEnd());
  EXPECT_GT(track.loudness(), 0.0) << "the amplifier goes on";
  track.host->close();
  EXPECT_EQ(track.host->size(), kUsual);
  EXPECT_FALSE(track.host->open(track.parent));
#endif
}

TEST_P(Windows, FillsTheAnnouncedSize) {
  for (const double scale : {1.25, 1.5, 1.75, 2.0}) {
    Track track(*screen, GetParam(), scale);
    if (!track.isScaled) GTEST_SKIP() << "only the desktop tells the scale, and has one";
    EXPECT_EQ(track.announced, times(kUsual, scale));
    track.expectFace(track.announced);
    screen->destroy(track.parent);
  }
}

TEST_P(Windows, IsResizedByBothSides) {
  Track track(*screen, GetParam());
  const Point grip = kResizeGrip.center();
  const PixelSize wanted = times(kUsual, 1.1);
  screen->moveMouse(static_cast<int>(grip.x), static_cast<int>(grip.y));
  screen->mouseDown();
  screen->moveMouse(static_cast<int>(grip.x) + 96, static_cast<int>(grip.y) + 60);
  EXPECT_TRUE(track.comesTrue([&] { return track.host->asked() == wanted; }));
  screen->mouseUp();
  screen->resize(track.parent, wanted);
  track.expectFace(wanted);
  EXPECT_EQ(track.host->size(), wanted);
  for (const PixelSize size : {PixelSize{720, 450}, {1000, 600}, {1400, 1100}}) {
    screen->resize(track.parent, size);
    if (!track.host->resize(size)) screen->resize(track.window, size);
    track.expectFace(size);
    EXPECT_EQ(track.host->size(), size);
  }
}

// What is seen meanwhile are the old pixels or the new ones.
TEST_P(Windows, IsResizedWithoutFlicker) {
  Track track(*screen, GetParam());
  track.expectFace(kUsual);
  ASSERT_NE(screen->pixel(track.window, 400, 150), 0U);
  std::atomic<bool> isDone = false;
  int looks = 0, black = 0;
  std::thread eyes([&] {
    for (; !isDone; ++looks) black += screen->pixel(track.window, 400, 150) == 0U;
  });
  for (int n = 1; n <= 20; ++n) {
    const PixelSize size = times(kUsual, 1.0 + 0.02 * (n % 10));
    screen->resize(track.parent, size);
    if (!track.host->resize(size)) screen->resize(track.window, size);
    track.live();
  }
  isDone = true;
  eyes.join();
  EXPECT_EQ(black, 0) << "of " << looks;
}

TEST_P(Windows, CostsLittle) {
  constexpr std::uint32_t kMark = 0x123456;
  for (const double scale : {1.0, 2.0}) {
    Track track(*screen, GetParam(), scale);
    track.idleCost(30, 33ms, [] {});  // settles
    screen->paintOver(track.window, kMark);
    const double idle = track.idleCost(kClockIsCoarse ? 60 : 300, 17ms, [] {});
    const Picture marked = screen->pixels(track.window);
    int painted = 0;
    for (int y = 0; y < marked.height(); ++y)
      for (int x = 0; x < marked.width(); ++x) painted += marked.row(y)[x] != (0xFF000000U | kMark);
    EXPECT_EQ(painted, 0) << "pixels were sent, and nothing has changed";
    // Windows counts a thread's time in hundredths of a second, which is too coarse for the bars.
    if (kClockIsCoarse) continue;
    float level = 0.001F;
    const double metering = track.idleCost(90, 33ms, [&] {
      level = level > 0.5F ? 0.001F : level * 1.3F;
      std::vector<float> block(WindowHost::kMostFrames, level);
      track.host->play(block);
    });
    std::cout << "At " << scale << ": still " << 100.0 * idle << " % of a core, metering "
              << 100.0 * metering << " %\n";
    // The bars are 0.1 % and 2 or 5 %. A busy machine, which forgets everything between two calls,
    // takes up to three and one and a half times as long.
    if (QUELLARD_SANITIZED || QUELLARD_EMULATED) continue;
    EXPECT_LT(idle, 0.003);
    EXPECT_LT(metering, scale > 1.0 ? 0.075 : 0.03);
  }
}

constexpr WindowFormat kClap{"Clap", createClapHost};
constexpr WindowFormat kLv2{"Lv2", createLv2Host};
constexpr WindowFormat kVst2{"Vst2", createVst2Host};
constexpr WindowFormat kVst3{"Vst3", createVst3Host};
INSTANTIATE_TEST_SUITE_P(Real, Windows, testing::Values(kClap, kLv2, kVst2, kVst3),
                         [](const auto& each) { return std::string(each.param.name); });
INSTANTIATE_TEST_SUITE_P(Real, FloatingWindows, testing::Values(kClap, kLv2),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace quellard::test

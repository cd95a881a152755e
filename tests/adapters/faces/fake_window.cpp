// SPDX-License-Identifier: ISC
#include "tests/adapters/faces/fake_window.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <utility>

#include "tests/support/environment.h"

namespace quellard {

std::unique_ptr<FaceWindow> FaceWindow::open(Face& face, Owner& owner, std::uintptr_t parent,
                                             PixelSize size, const std::string& title) {
  if (!test::fakeScreen().isThere) return nullptr;
  return std::make_unique<test::FakeWindow>(face, owner, parent, size, title);
}

FaceWindow::Desktop FaceWindow::desktop() {
  return {test::fakeScreen().scale, test::fakeScreen().size};
}

namespace test {
namespace {

// Long after the event before: two presses are never a double-click.
double laterTime_s() {
  static double now_s = 0.0;
  return now_s += 10.0;
}

}  // namespace

FakeWindow::FakeWindow(Face& shown, Owner& asked, std::uintptr_t host, PixelSize size,
                       std::string text)
    : face(shown), owner(asked), parent(host), title(std::move(text)), size_(size) {
  static std::uintptr_t last = 0;
  id_ = ++last;
  fakeScreen().windows.push_back(this);
}

FakeWindow::~FakeWindow() {
  EXPECT_FALSE(runs_) << "destroyed while its own code runs";
  FakeWindow::close();
}

void FakeWindow::close() {
  isGone = true;
  std::erase(fakeScreen().windows, this);
}

bool FakeWindow::handleEvents() {
  struct Running {
    bool& runs;
    explicit Running(bool& flag) : runs(flag) { runs = true; }
    ~Running() { runs = false; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
  };
  const Running running(runs_);
  if (const auto once = std::exchange(hands, nullptr)) once(*this);
  if (!isGone && dragged.width > 0) owner.sizeIsWanted(std::exchange(dragged, {}));
  if (!isGone && std::exchange(wantsClose, false)) owner.closeIsWanted();
  return !isGone;
}

void FakeWindow::focus(int parameter) const {
  const auto isThere = [&] {
    const int at = face.state().focus;
    return at >= 0 && controlNumber(at).parameter == parameter;
  };
  for (std::size_t i = 0; i <= controls().size() && !isThere(); ++i) face.key(Key::tab, false);
  EXPECT_TRUE(isThere()) << "no control for " << parameter;
}

void FakeWindow::turn(int parameter) const {
  focus(parameter);
  face.key(Key::up, false);
}

void FakeWindow::pressButton(int parameter) const {
  focus(parameter);
  face.key(Key::enter, false);
}

void FakeWindow::pressArrow(bool isNext) const {
  const ControlKind kind = isNext ? ControlKind::nextPreset : ControlKind::previousPreset;
  face.press(controlNumber(controlOf(kind)).area.center(), MouseButton::left, false, laterTime_s());
}

void FakeWindow::grasp(int parameter) const {
  const Point center = controlNumber(knobControl(parameter)).center;
  face.press(center, MouseButton::left, false, laterTime_s());
  face.drag({center.x, center.y - 20.0F}, false);
}

void FakeWindow::letGo() const { face.release({}); }

FakeScreen& fakeScreen() {
  static FakeScreen screen;
  return screen;
}

FakeWindow& FaceFormats::window() {
  if (fakeScreen().windows.empty()) throw std::runtime_error("no window is open");
  return *fakeScreen().windows.back();
}

FaceFormats::FaceFormats() {
  fakeScreen() = {};
  folder_ = std::filesystem::temp_directory_path() /
            ("quellard-faces-" + std::to_string(std::random_device()()));
  setVariable("XDG_STATE_HOME", folder_.string());
  setVariable("XDG_CONFIG_HOME", folder_.string());
}

void FaceFormats::writeOwnPreset() const {
  const std::filesystem::path presets = folder_ / "quellard" / "presets";
  std::filesystem::create_directories(presets);
  std::ofstream(presets / "Own.txt") << "modern.gain = 9\n";
}

FaceFormats::~FaceFormats() {
  EXPECT_TRUE(fakeScreen().windows.empty()) << "a window is still open";
  removeVariable("XDG_STATE_HOME");
  removeVariable("XDG_CONFIG_HOME");
  std::filesystem::remove_all(folder_);
}

}  // namespace test
}  // namespace quellard

// SPDX-License-Identifier: ISC
// Takes the place of the window system: the formats' own code runs on windows that only tests see.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "face/window.h"

namespace quellard::test {

class FakeWindow final : public FaceWindow {
 public:
  FakeWindow(Face& shown, Owner& asked, std::uintptr_t host, PixelSize size, std::string title);
  ~FakeWindow() override;

  void close() override;
  void show() override { isShown = true; }
  void hide() override { isShown = false; }
  void resize(PixelSize size) override { size_ = size; }
  PixelSize size() const override { return size_; }
  void setTransientFor(std::uintptr_t window) override { above = window; }
  void setTitle(const std::string& text) override { title = text; }
  bool handleEvents() override;
  int fileDescriptor() const override { return 1000 + static_cast<int>(id_); }
  std::uintptr_t id() const override { return id_; }

  // By keys: turns a knob a step up, or presses a button, as one whole move.
  void turn(int parameter) const;
  void pressButton(int parameter) const;
  // Steps through the list of presets: "Init", the factory bank, the user's own.
  void pressArrow(bool isNext) const;
  // Grasps a knob with the mouse and moves it upwards; it is held until let go.
  void grasp(int parameter) const;
  void letGo() const;

  Face& face;
  Owner& owner;
  std::uintptr_t parent;
  std::uintptr_t above = 0;
  std::string title;
  bool isShown = false;
  bool isGone = false;      // it was closed, or the host has destroyed it or its parent
  PixelSize dragged{};      // the player drags the corner to this size, once
  bool wantsClose = false;  // the player closes it, once
  // What the player does to it, once: for what happens while the window system's code runs.
  std::function<void(FakeWindow&)> hands;

 private:
  void focus(int parameter) const;

  PixelSize size_;
  std::uintptr_t id_;
  bool runs_ = false;
};

// The screen, and what is open on it, the latest last.
struct FakeScreen {
  bool isThere = true;
  double scale = 1.0;
  PixelSize size{};  // not known
  std::vector<FakeWindow*> windows;
};
FakeScreen& fakeScreen();

// A screen for one test, with a folder of its own for what a face remembers.
class FaceFormats : public testing::Test {
 protected:
  FaceFormats();
  ~FaceFormats() override;

  static FakeWindow& window();  // the latest
  // One preset of the user's own, the last of the face's list: MODERN with GAIN at 9.
  void writeOwnPreset() const;

 private:
  std::filesystem::path folder_;
};

}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// What the windows of all window systems have in common: mouse and keys on their way to the face,
// the corner by which the player drags the size, and sizes that come from outside.
#pragma once

#include <bitset>
#include <cstddef>
#include <optional>

#include "face/key_press.h"
#include "face/painter.h"
#include "face/window.h"

namespace quellard {

class WindowBase : public FaceWindow {
 public:
  PixelSize size() const override {
    return {picture_.picture().width(), picture_.picture().height()};
  }

 protected:
  // In pixels of the screen.
  struct ScreenPoint {
    int x;
    int y;
  };

  WindowBase(Face& face, Owner& owner, bool isFloating)
      : face_(face), owner_(owner), isFloating_(isFloating) {}

  Face& face() const { return face_; }
  Owner& owner() const { return owner_; }
  bool isFloating() const { return isFloating_; }
  FacePicture& facePicture() { return picture_; }

  // Of the face, at the middle of a pixel of the window.
  Point facePoint(int x, int y) const {
    return picture_.faceFromPixels(static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F);
  }

  void press(Point at, ScreenPoint onScreen, MouseButton button, bool isFine, double time_s);
  void move(Point at, ScreenPoint onScreen, bool isHeld, bool isFine);
  void release(Point at);

  // A key goes down or up. Returns whether the host is to get the event; of a key whose press it
  // got it gets the release too. isRepeated: the key has been held down. isHosts: the press is
  // known to be the host's.
  bool keyPressed(std::size_t key, const KeyPress& press, bool isRepeated, bool isHosts,
                  bool withShift);
  bool keyReleased(std::size_t key);
  bool wasForHost(std::size_t key) const { return hostsKeys_.test(key); }

  // The window has this size now.
  void noteSize(PixelSize size) { configured_ = size; }

  // What follows once all events have been handled. False once the window is gone.
  bool finishEvents();

  void markGone() { isGone_ = true; }
  bool isGone() const { return isGone_; }

 private:
  // Shows what has changed on the face.
  virtual void paint() = 0;

  struct Grip {
    ScreenPoint from;  // the mouse
    int width;         // the window's
  };

  bool use(const KeyPress& press, bool withShift);
  void adoptSize();
  void askForSize();

  Face& face_;
  Owner& owner_;
  const bool isFloating_;
  bool isGone_ = false;
  FacePicture picture_;
  std::optional<PixelSize> configured_;
  std::optional<Grip> grip_;
  std::optional<PixelSize> wanted_;  // by the player, who drags the corner
  std::bitset<256> hostsKeys_;       // that are down, and whose press was handed on
};

}  // namespace quellard

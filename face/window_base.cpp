// SPDX-License-Identifier: ISC
#include "face/window_base.h"

#include <algorithm>

namespace quellard {

void WindowBase::press(Point at, ScreenPoint onScreen, MouseButton button, bool isFine,
                       double time_s) {
  if (kResizeGrip.contains(at) && !face_.state().menu.has_value()) {
    grip_ = Grip{onScreen, size().width};
    return;
  }
  face_.press(at, button, isFine, time_s);
}

void WindowBase::move(Point at, ScreenPoint onScreen, bool isHeld, bool isFine) {
  if (!isHeld) release(at);  // a host may have taken the release of the button
  if (!grip_.has_value()) return face_.drag(at, isFine);
  const int across = onScreen.x - grip_->from.x;
  const int down = (onScreen.y - grip_->from.y) * 8 / 5;  // as much wider as it gets higher
  const int width = std::max(grip_->width + std::max(across, down), 1);
  wanted_ = {width, (width * 5 + 7) / 8};
}

void WindowBase::release(Point at) {
  grip_.reset();
  face_.release(at);
}

bool WindowBase::keyPressed(std::size_t key, const KeyPress& press, bool isRepeated, bool isHosts,
                            bool withShift) {
  if (!isHosts && (!isRepeated || face_.takesRepeated(press.key))) isHosts = !use(press, withShift);
  hostsKeys_.set(key, isHosts);
  return isHosts;
}

bool WindowBase::keyReleased(std::size_t key) {
  const bool isHosts = hostsKeys_.test(key);
  hostsKeys_.reset(key);
  return isHosts;
}

bool WindowBase::use(const KeyPress& press, bool withShift) {
  if (press.key.has_value()) return face_.key(*press.key, withShift);
  return press.character != 0 && face_.type(press.character);
}

bool WindowBase::finishEvents() {
  if (!isGone_) adoptSize();
  if (!isGone_) askForSize();
  if (!isGone_) paint();
  return !isGone_;
}

// The last of the sizes that have come, since a drag at a window's frame sends many.
void WindowBase::adoptSize() {
  if (!configured_.has_value()) return;
  const PixelSize now = *configured_;
  configured_.reset();
  if (now == size()) return;
  picture_.resize(now.width, now.height);
  owner_.sizeHasChanged(now);
}

// Once for all moves of the mouse, and when no event is being handled: the host may answer in any
// way.
void WindowBase::askForSize() {
  if (!wanted_.has_value()) return;
  const PixelSize size = *wanted_;
  wanted_.reset();
  owner_.sizeIsWanted(size);
}

}  // namespace quellard

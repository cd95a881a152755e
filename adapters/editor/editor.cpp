// SPDX-License-Identifier: ISC
#include "adapters/editor/editor.h"

#include <cmath>

#include "adapters/editor/user_presets.h"
#include "face/painter.h"

namespace quellard {
namespace {

constexpr double kSmallestZoom = 0.5;
constexpr double kLargestZoom = 4.0;

PixelSize sizeAt(double pixelsPerUnit) {
  return {static_cast<int>(std::lround(pixelsPerUnit * static_cast<double>(kFaceWidth))),
          static_cast<int>(std::lround(pixelsPerUnit * static_cast<double>(kFaceHeight)))};
}

}  // namespace

Editor::Editor(FaceTarget& target)
    : face_(target, facePresets()),
      zoom_(std::clamp(rememberedZoom(), kSmallestZoom, kLargestZoom)) {}

Editor::~Editor() { close(); }

// The desktop is asked only where the host says nothing.
double Editor::scale() const {
  if (hostScale_ > 0.0) return hostScale_;
  if (!desktopScale_.has_value()) desktopScale_ = FaceWindow::desktopScale();
  return *desktopScale_;
}

bool Editor::setScale(double scale) {
  if (!(scale >= 0.25 && scale <= 8.0)) return false;
  hostScale_ = scale;
  sizeIsWanted(sizeAt(zoom_ * scale));
  return true;
}

PixelSize Editor::size() const { return window_ ? window_->size() : sizeAt(zoom_ * scale()); }

PixelSize Editor::fit(PixelSize size) const {
  const double fitting =
      std::min(static_cast<double>(size.width) / static_cast<double>(kFaceWidth),
               static_cast<double>(size.height) / static_cast<double>(kFaceHeight));
  return sizeAt(std::clamp(fitting / scale(), kSmallestZoom, kLargestZoom) * scale());
}

void Editor::setSize(PixelSize size) {
  size.width = std::clamp(size.width, 1, FacePicture::kLargestSide);
  size.height = std::clamp(size.height, 1, FacePicture::kLargestSide);
  noteZoom(size);
  if (window_) window_->resize(size);
}

// Of the face as it fits into this size.
void Editor::noteZoom(PixelSize size) {
  const double zoom =
      static_cast<double>(fit(size).width) / (static_cast<double>(kFaceWidth) * scale());
  if (std::fabs(zoom - zoom_) < 0.002) return;
  zoom_ = zoom;
  zoomHasChanged_ = true;
}

bool Editor::open(std::uintptr_t parent, const std::string& title) {
  close();
  isFloating_ = parent == 0;
  window_ = FaceWindow::open(face_, *this, parent, size(), title);
  updatedAt_ = Clock::now();
  return window_ != nullptr;
}

// The size is written once, and not at every step of a drag.
void Editor::close() {
  face_.loseFocus();
  window_.reset();
  if (std::exchange(zoomHasChanged_, false)) rememberZoom(zoom_);
}

void Editor::show() {
  if (window_) window_->show();
  idle();
}
void Editor::hide() {
  if (window_) window_->hide();
}
void Editor::setTransientFor(std::uintptr_t window) {
  if (window_) window_->setTransientFor(window);
}
void Editor::setTitle(const std::string& title) {
  if (window_) window_->setTitle(title);
}

// Called more often than the period, as a host does when there is something to read, it reads the
// target no more often.
bool Editor::idle() {
  if (!window_) return false;
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - updatedAt_).count();
  if (seconds > 0.5 * kPeriod_ms / 1000.0) {
    updatedAt_ = now;
    face_.update(seconds);
  }
  return window_->handleEvents();
}

void Editor::sizeIsWanted(PixelSize size) {
  size = fit(size);
  if (window_ == nullptr || size == window_->size()) return;
  if (resizeHost_ && !resizeHost_(size)) return;
  setSize(size);
}

// A host may squeeze what it embeds, which says nothing of what the player likes.
void Editor::sizeHasChanged(PixelSize size) {
  if (isFloating_) noteZoom(size);
}

void Editor::closeIsWanted() {
  hide();
  if (closed_) closed_();
}

}  // namespace quellard

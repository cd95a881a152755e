// SPDX-License-Identifier: ISC
#include "adapters/editor/editor.h"

#include <cmath>

#include "face/painter.h"

namespace quellard {
namespace {

constexpr double kSmallestZoom = 0.5;
constexpr double kLargestZoom = 4.0;

// In the proportions of the face: 8 to 5.
static_assert(kFaceWidth * 5.0F == kFaceHeight * 8.0F);
PixelSize sizeOfWidth(int width) { return {width, (width * 5 + 4) / 8}; }
int widestWithin(PixelSize size) { return std::min(size.width, (size.height * 8 + 3) / 5); }

int widthAt(double pixelsPerUnit) {
  return static_cast<int>(std::lround(pixelsPerUnit * static_cast<double>(kFaceWidth)));
}

}  // namespace

Editor::Editor(FaceTarget& target) : Editor(target, foundPresets()) {}

Editor::Editor(FaceTarget& target, FoundPresets found)
    : face_(target, std::move(found.presets)),
      writtenZoom_(std::clamp(rememberedZoom(), kSmallestZoom, kLargestZoom)),
      zoom_(writtenZoom_) {
  face_.setUnreadableFiles(found.unreadable);
}

Editor::~Editor() { close(); }

const FaceWindow::Desktop& Editor::desktop() const {
  if (!desktop_.has_value()) desktop_ = FaceWindow::desktop();
  return *desktop_;
}

double Editor::scale() const { return hostScale_ > 0.0 ? hostScale_ : desktop().scale; }

bool Editor::setScale(double scale) {
  if (!(scale >= 0.25 && scale <= 8.0)) return false;
  if (scale != hostScale_) chosen_.reset();
  hostScale_ = scale;
  sizeIsWanted(usualSize());
  return true;
}

PixelSize Editor::size() const {
  return window_ != nullptr ? window_->size() : chosen_.value_or(usualSize());
}

PixelSize Editor::usualSize() const {
  const PixelSize usual = sizeOfWidth(widthAt(zoom_ * scale()));
  const PixelSize screen = desktop().size;
  if (screen == PixelSize{}) return usual;
  return fit({std::min(usual.width, screen.width), std::min(usual.height, screen.height)});
}

// A size that fits stays what it is, since some hosts ask again and again.
PixelSize Editor::fit(PixelSize size) const {
  return sizeOfWidth(std::clamp(widestWithin(size), widthAt(kSmallestZoom * scale()),
                                widthAt(kLargestZoom * scale())));
}

void Editor::setSize(PixelSize size) {
  size.width = std::clamp(size.width, 1, FacePicture::kLargestSide);
  size.height = std::clamp(size.height, 1, FacePicture::kLargestSide);
  noteZoom(size);
  if (window_) return window_->resize(size);
  chosen_ = size;
}

// Of the face as it fits into this size.
void Editor::noteZoom(PixelSize size) {
  zoom_ = static_cast<double>(fit(size).width) / (static_cast<double>(kFaceWidth) * scale());
}

bool Editor::open(std::uintptr_t parent, const std::string& title) {
  close();
  isFloating_ = parent == 0;
  window_ = FaceWindow::open(face_, *this, parent, size(), title);
  updatedAt_ = Clock::now();
  if (window_ == nullptr) return false;
  chosen_.reset();
  return true;
}

// The zoom is written once, and not at every step of a drag, nor where a size in whole pixels
// differs from it by less than one.
void Editor::close() {
  face_.letGo();
  if (window_ != nullptr) {
    window_->close();
    if (isBusy_) ended_.push_back(std::move(window_));
    window_.reset();
  }
  if (std::fabs(zoom_ - writtenZoom_) < 0.002) return;
  rememberZoom(zoom_);
  writtenZoom_ = zoom_;
}

void Editor::show() {
  if (window_) window_->show();
  idle();
}
void Editor::hide() {
  face_.letGo();
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
  if (window_ == nullptr || isBusy_) return window_ != nullptr;
  struct Busy {
    Editor& editor;
    explicit Busy(Editor& running) : editor(running) { editor.isBusy_ = true; }
    ~Busy() {
      editor.isBusy_ = false;
      editor.ended_.clear();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
  };
  const Busy busy(*this);
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - updatedAt_).count();
  if (seconds > 0.5 * kPeriod_ms / 1000.0) {
    updatedAt_ = now;
    face_.update(seconds);
  }
  FaceWindow* const running = window_.get();
  const bool isThere = running->handleEvents();
  return window_.get() == running ? isThere : window_ != nullptr;
}

// The host may answer with a size of its own, or close the window.
void Editor::sizeIsWanted(PixelSize size) {
  size = fit(size);
  if (window_ == nullptr || size == window_->size()) return;
  const FaceWindow* const asking = window_.get();
  const PixelSize before = asking->size();
  if (resizeHost_ && !resizeHost_(size)) return;
  if (window_.get() == asking && asking->size() == before) setSize(size);
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

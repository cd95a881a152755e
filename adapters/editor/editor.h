// SPDX-License-Identifier: ISC
// The face as a plug-in shows it: its window inside the host's or beside it, its size, and how
// often it is drawn. What differs between formats is how they reach the amplifier (FaceTarget) and
// how they ask their host for another size. On the host's main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "face/face.h"
#include "face/window.h"

namespace quellard {

class Editor : private FaceWindow::Owner {
 public:
  // How often the host is asked to call idle(): 30 times a second.
  static constexpr int kPeriod_ms = 33;

  // target: outlives the editor.
  explicit Editor(FaceTarget& target);
  ~Editor() override;

  // For a program that has a list of its own; see Face.
  void setPresets(std::vector<FacePreset> presets, int chosen) {
    face_.setPresets(std::move(presets), chosen);
  }

  // Asks the host for another size: resizeHost(size) returns whether the host agrees. One that
  // agrees then calls setSize() or resizes the window itself.
  void onResize(std::function<bool(PixelSize)> resizeHost) { resizeHost_ = std::move(resizeHost); }
  // The player has closed a floating window; by then it is hidden.
  void onClose(std::function<void()> closed) { closed_ = std::move(closed); }

  // How much larger than usual the host shows things; without it the desktop's is taken. A
  // window that is open keeps its size where the host does not agree to another. False, and nothing
  // changed, for a scale that is not within 0.25..8.
  bool setScale(double scale);

  // The size for the host's window: the remembered one before the window is opened. Pixels.
  PixelSize size() const;
  // The largest size with the face's proportions within this one, 0.5 to 4 times the usual size.
  PixelSize fit(PixelSize size) const;
  // The host has chosen this size, which is remembered when the editor is closed. Held within 1 to
  // FacePicture::kLargestSide pixels a side.
  void setSize(PixelSize size);

  // parent: the host's window, 0 for one that stands for itself, with this title. False without a
  // display. An editor that is open is closed first.
  bool open(std::uintptr_t parent, const std::string& title);
  void close();
  bool isOpen() const { return window_ != nullptr; }
  void show();
  void hide();
  void setTransientFor(std::uintptr_t window);
  void setTitle(const std::string& title);

  // Handles mouse and keys, reads the target and draws what has changed. False once the window is
  // gone.
  bool idle();

  int fileDescriptor() const { return window_ != nullptr ? window_->fileDescriptor() : -1; }
  std::uintptr_t windowId() const { return window_ != nullptr ? window_->id() : 0; }

 private:
  using Clock = std::chrono::steady_clock;

  void sizeIsWanted(PixelSize size) override;
  void sizeHasChanged(PixelSize size) override;
  void closeIsWanted() override;
  double scale() const;
  void noteZoom(PixelSize size);

  Face face_;
  std::function<bool(PixelSize)> resizeHost_;
  std::function<void()> closed_;
  double hostScale_ = 0.0;                      // 0 before the host told one
  mutable std::optional<double> desktopScale_;  // once it was asked
  double zoom_;                                 // of the usual size, as the player likes it
  bool zoomHasChanged_ = false;
  bool isFloating_ = false;
  Clock::time_point updatedAt_ = Clock::now();
  // The last member: it is destroyed first.
  std::unique_ptr<FaceWindow> window_;
};

}  // namespace quellard

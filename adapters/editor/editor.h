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

#include "adapters/editor/user_presets.h"
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
  // agrees may have called setSize() by then, even with another size; the window takes the wanted
  // one where it has not.
  void onResize(std::function<bool(PixelSize)> resizeHost) { resizeHost_ = std::move(resizeHost); }
  // The player has closed a floating window; by then it is hidden.
  void onClose(std::function<void()> closed) { closed_ = std::move(closed); }

  // How much larger than usual the host shows things; without it the desktop's is taken. A
  // window that is open keeps its size where the host does not agree to another. False, and nothing
  // changed, for a scale that is not within 0.25..8.
  bool setScale(double scale);

  // The size for the host's window, pixels. Before the window is opened: the one that the host has
  // chosen, else the remembered one, no larger than the screen.
  PixelSize size() const;
  // The largest size with the face's proportions within this one, 0.5 to 4 times the usual size.
  PixelSize fit(PixelSize size) const;
  // The host has chosen this size, which is remembered when the editor is closed. Held within 1 to
  // FacePicture::kLargestSide pixels a side.
  void setSize(PixelSize size);

  // parent: the host's window, 0 for one that stands for itself, with this title. False without a
  // display. An editor that is open is closed first.
  bool open(std::uintptr_t parent, const std::string& title);
  // Also from within idle(), where the host hears of a move or of another size: the editor itself
  // is not to be destroyed there.
  void close();
  bool isOpen() const { return window_ != nullptr; }
  void show();
  void hide();
  void setTransientFor(std::uintptr_t window);
  void setTitle(const std::string& title);

  // Handles mouse and keys, reads the target and draws what has changed. False once the window is
  // closed or gone.
  bool idle();

  int fileDescriptor() const { return window_ != nullptr ? window_->fileDescriptor() : -1; }
  std::uintptr_t windowId() const { return window_ != nullptr ? window_->id() : 0; }

 private:
  using Clock = std::chrono::steady_clock;

  Editor(FaceTarget& target, FoundPresets found);

  void sizeIsWanted(PixelSize size) override;
  void sizeHasChanged(PixelSize size) override;
  void closeIsWanted() override;
  const FaceWindow::Desktop& desktop() const;
  double scale() const;
  PixelSize usualSize() const;
  void noteZoom(PixelSize size);

  Face face_;
  std::function<bool(PixelSize)> resizeHost_;
  std::function<void()> closed_;
  double hostScale_ = 0.0;                              // 0 before the host told one
  mutable std::optional<FaceWindow::Desktop> desktop_;  // once it was asked
  double writtenZoom_;                                  // as it was read or written last
  double zoom_;                                         // of the usual size, as the player likes it
  std::optional<PixelSize> chosen_;  // by the host, for the window that will be opened
  bool isFloating_ = false;
  bool isBusy_ = false;  // within idle()
  Clock::time_point updatedAt_ = Clock::now();
  // The last members: they are destroyed first.
  std::vector<std::unique_ptr<FaceWindow>> ended_;  // closed within idle()
  std::unique_ptr<FaceWindow> window_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// A window that shows a face and hands it mouse and keys: one file for each window system, and
// window_base.h for what they have in common. It has no thread of its own: its owner calls
// handleEvents() some 30 times a second, or whenever there is something to read. All on one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "face/face.h"

namespace quellard {

class FaceWindow {
 public:
  // What a window asks of the program or host that it belongs to.
  class Owner {
   public:
    Owner() = default;
    virtual ~Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    // The player drags the corner to this size, which already has the face's proportions, but for
    // a pixel. The owner answers by resize(), now, later or not at all. All three are called from
    // handleEvents(), whose owner may close() the window meanwhile.
    virtual void sizeIsWanted(PixelSize size) = 0;
    // Its size was changed from outside: by the player at the frame of a window that stands for
    // itself, or by the host.
    virtual void sizeHasChanged(PixelSize size) = 0;
    // The player has closed a window that stands for itself. It is still there.
    virtual void closeIsWanted() = 0;
  };

  // parent: the host's window to live in, 0 for a window that stands for itself. Null without a
  // display, or without the libraries of the window system, which are not loaded before. face and
  // owner outlive the window. The window is hidden until show().
  static std::unique_ptr<FaceWindow> open(Face& face, Owner& owner, std::uintptr_t parent,
                                          PixelSize size, const std::string& title);
  struct Desktop {
    double scale = 1.0;  // how much larger than 96 dots an inch it shows things
    PixelSize size{};    // of its screen; 0 x 0 where that is not known
  };
  static Desktop desktop();

  virtual ~FaceWindow() = default;
  FaceWindow(const FaceWindow&) = delete;
  FaceWindow& operator=(const FaceWindow&) = delete;

  // Destroys the window on the screen; from then on it is gone. Also from within handleEvents(),
  // after which alone the object may be destroyed.
  virtual void close() = 0;
  virtual void show() = 0;
  virtual void hide() = 0;
  virtual void resize(PixelSize size) = 0;
  virtual PixelSize size() const = 0;
  // A floating window stays above this one of the host's.
  virtual void setTransientFor(std::uintptr_t window) = 0;
  virtual void setTitle(const std::string& title) = 0;
  // Handles what the window system has sent, and paints what has changed on the face. False once
  // the window is gone, because it was closed or its parent or the display is gone: nothing else
  // has an effect then.
  virtual bool handleEvents() = 0;
  // Readable when there is something to handle.
  virtual int fileDescriptor() const = 0;
  virtual std::uintptr_t id() const = 0;

 protected:
  FaceWindow() = default;
};

}  // namespace quellard

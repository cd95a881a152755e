// SPDX-License-Identifier: ISC
// A host of any format with one plug-in from its built module, and the plug-in's window.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "face/geometry.h"

namespace quellard::test {

// Parameters are those of rig/rig_parameters.h, their values 0..1.
class WindowHost {
 public:
  WindowHost() = default;
  // Destroys the plug-in, with its window where that is still open.
  virtual ~WindowHost() = default;
  WindowHost(const WindowHost&) = delete;
  WindowHost& operator=(const WindowHost&) = delete;

  // Before open(): how much larger the host shows things. False in a format without.
  virtual bool setScale(double /*scale*/) { return false; }
  // That the plug-in announces; in a format in which only an open window does so, the usual one
  // before.
  virtual PixelSize size() = 0;
  virtual bool open(std::uintptr_t parent) = 0;
  // Opens it in a window that stands for itself, instead. False in a format without.
  virtual bool floats() { return false; }
  virtual void close() = 0;
  // What the host does 30 times a second.
  virtual void idle() = 0;
  // Whether the host still calls the window; always in a format in which it cannot know.
  virtual bool isCalled() = 0;
  virtual bool isToldOfTheEnd() { return true; }
  // False in a format in which only the window itself can be resized.
  virtual bool resize(PixelSize /*size*/) { return false; }
  // The size that the plug-in has asked for last. The host agrees to any.
  virtual PixelSize asked() = 0;

  virtual void set(int parameter, double value) = 0;
  virtual double get(int parameter) = 0;
  // Moves by hand since the last call, as "begin 5 value 5 end 5 ".
  virtual std::string told() = 0;
  // Plays a block of a mono plug-in at 48 kHz in place: up to kMostFrames.
  static constexpr int kMostFrames = 512;
  virtual void play(std::vector<float>& samples) = 0;
};

struct WindowFormat {
  const char* name;
  std::unique_ptr<WindowHost> (*create)();

  friend std::ostream& operator<<(std::ostream& out, const WindowFormat& format) {
    return out << format.name;
  }
};

std::unique_ptr<WindowHost> createClapHost();
std::unique_ptr<WindowHost> createLv2Host();
std::unique_ptr<WindowHost> createVst2Host();
std::unique_ptr<WindowHost> createVst3Host();

}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// A display without a screen, as a host and its player use it: Xvfb, the host's own windows, the
// hands on mouse and keyboard, and the eyes.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>
#include <xcb/xcb.h>

#include "face/picture.h"

namespace quellard::test {

// Any thread. What a call has sent, the server has done when it returns; what the server tells
// others may still be on its way.
class Screen {
 public:
  static constexpr PixelSize kSize = {2000, 1300};

  // Starts a server with pixels of so many bits, and makes it this process's display; null where
  // Xvfb is missing. It ends with this process at the latest.
  static std::unique_ptr<Screen> start(int bits = 24);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;
  // All connections break.
  void kill();

  // How much larger than usual the desktop shows things.
  void setDesktopScale(double scale);

  // A window that is seen.
  xcb_window_t open(PixelSize size, int left = 0);
  void destroy(xcb_window_t window);
  void resize(xcb_window_t window, PixelSize size);
  // The only window inside this one, 0 for none. parent: 0 is the whole screen.
  xcb_window_t inside(xcb_window_t parent);
  PixelSize sizeOf(xcb_window_t window);
  bool isSeen(xcb_window_t window);
  // Of a window that lies on the screen as a whole.
  Picture pixels(xcb_window_t window);
  // 0xRRGGBB. Of a window that is not there: white.
  std::uint32_t pixel(xcb_window_t window, int x, int y);
  // Paints over a window without its knowledge.
  void paintOver(xcb_window_t window, std::uint32_t color);

  // x, y: pixels of the screen.
  void moveMouse(int x, int y);
  void mouseDown();
  void mouseUp();
  // The keys of these characters; '\r' is the Enter key, '\t' the Tab key.
  void type(const std::string& text);
  void keyDown(char key);
  void keyUp(char key);
  // Sends a key's press and release to a window, as some hosts hand on what they get.
  void forward(xcb_window_t window, char key);
  // From now on the keys that reach this window are noted.
  void listen(xcb_window_t window);
  // What has come to the windows opened here since the last call: "+" for a key's press, "-" for
  // its release, "f" for a request for the keyboard by the XEMBED protocol.
  std::string heard();
  // As a window manager does when the player closes a window.
  void askToClose(xcb_window_t window);
  // As a host that embeds by the XEMBED protocol; what: a number of that protocol.
  void embed(xcb_window_t window, std::uint32_t what, xcb_window_t parent);

 private:
  Screen(pid_t server, const std::string& display);
  void fake(int type, int detail, int x = 0, int y = 0);
  xcb_atom_t atom(const std::string& name);
  void tell(xcb_window_t window, const std::string& type, const std::array<std::uint32_t, 4>& data);
  xcb_keycode_t keyOf(xcb_keysym_t symbol);
  xcb_keycode_t keyOf(char character);
  void wait();

  pid_t server_;
  xcb_connection_t* connection_;
  const xcb_screen_t* screen_;
  xcb_gcontext_t context_ = 0;
};

}  // namespace quellard::test

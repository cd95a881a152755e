// SPDX-License-Identifier: ISC
// A display without a screen, as a host and its player use it: Xvfb or, on Windows, the desktop
// that is there; the host's own windows, the hands on mouse and keyboard, and the eyes. What stands
// below X11 has no counterpart on Windows.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "face/picture.h"
#if !defined(_WIN32)
#include <sys/types.h>
#include <xcb/xcb.h>
#endif

namespace quellard::test {

#if defined(_WIN32)
using WindowId = std::uintptr_t;
#else
using WindowId = xcb_window_t;
#endif

// Whatever the system still has for this thread's windows is delivered to them, as a host's loop
// does. X11's windows fetch it themselves.
void deliverMessages();

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

  // How much larger than usual the desktop shows things.
  void setDesktopScale(double scale);
  static bool hasScales();  // whether it is in our hands

  // A window that is seen.
  WindowId open(PixelSize size, int left = 0);
  void destroy(WindowId window);
  void resize(WindowId window, PixelSize size);
  // The only window inside this one, 0 for none. parent: 0 is the whole screen.
  WindowId inside(WindowId parent);
  PixelSize sizeOf(WindowId window);
  bool isSeen(WindowId window);
  // Of a window that lies on the screen as a whole.
  Picture pixels(WindowId window);
  // 0xRRGGBB. Of a window that is not there: white.
  std::uint32_t pixel(WindowId window, int x, int y);
  // Paints over a window without its knowledge.
  void paintOver(WindowId window, std::uint32_t color);

  // x, y: pixels of the screen.
  void moveMouse(int x, int y);
  void mouseDown();
  void mouseUp();
  // The keys of these characters; '\r' is the Enter key, '\t' the Tab key.
  void type(const std::string& text);
  void keyDown(char key);
  void keyUp(char key);
  // A key that is held down comes again. X11's server sees to that itself, and tells of releases
  // too.
  void repeatKey(char key);
#if defined(_WIN32)
  static constexpr bool kRepeatsAreReleases = false;
#else
  static constexpr bool kRepeatsAreReleases = true;
#endif
  // From now on the keys that reach this window are noted.
  void listen(WindowId window);
  // What has come to the windows opened here since the last call: "+" for a key's press, "-" for
  // its release, "f" for a request for the keyboard by the XEMBED protocol.
  std::string heard();
  // As a window manager does when the player closes a window.
  void askToClose(WindowId window);

#if !defined(_WIN32)
  // Sends a key's press and release to a window, as some hosts hand on what they get.
  void forward(WindowId window, char key);
  // As a host that embeds by the XEMBED protocol; what: a number of that protocol.
  void embed(WindowId window, std::uint32_t what, WindowId parent);
  // All connections break.
  void kill();
#endif

 private:
#if defined(_WIN32)
  Screen() = default;
  void press(int key, bool isDown);

  std::vector<WindowId> opened_;
#else
  Screen(pid_t server, const std::string& display);
  void stopServer();
  void fake(int type, int detail, int x = 0, int y = 0);
  xcb_atom_t atom(const std::string& name);
  void tell(WindowId window, const std::string& type, const std::array<std::uint32_t, 4>& data);
  xcb_keycode_t keyOf(xcb_keysym_t symbol);
  xcb_keycode_t keyOf(char character);
  void wait();

  pid_t server_;
  xcb_connection_t* connection_;
  const xcb_screen_t* screen_;
  xcb_gcontext_t context_ = 0;
#endif
};

}  // namespace quellard::test

// SPDX-License-Identifier: ISC
// What a key of an X11 keyboard means.
#pragma once

#include <utility>
#include <vector>

#include "face/key_press.h"
#include "face/x11/xcb.h"

namespace quellard {

class Keyboard {
 public:
  Keyboard() = default;
  // A layout as the protocol has it: for each key, from `first` on, this many symbols.
  Keyboard(int first, std::size_t columns, std::vector<xcb_keysym_t> symbols)
      : first_(first), columns_(columns), symbols_(std::move(symbols)) {}

  // Asks the server for the layout; without an answer no key has a meaning.
  void read(const Xcb& xcb, xcb_connection_t* connection);

  // state: of the modifiers, as an event has it.
  KeyPress press(xcb_keycode_t code, std::uint16_t state) const;

 private:
  xcb_keysym_t symbol(xcb_keycode_t code, std::size_t column) const;

  int first_ = 0;
  std::size_t columns_ = 0;  // symbols a key
  std::vector<xcb_keysym_t> symbols_;
};

// What a symbol of the X11 protocol means.
KeyPress pressOfSymbol(xcb_keysym_t symbol);

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "face/x11/keyboard.h"

#include <array>
#include <cstdlib>
#include <memory>

namespace quellard {
namespace {

struct NamedKey {
  xcb_keysym_t symbol;  // as the X11 protocol numbers it
  Key key;
};

// The keypad's keys behind those of the main block.
constexpr std::array kKeys = {
    NamedKey{0xFF08, Key::backspace}, NamedKey{0xFF09, Key::tab},
    NamedKey{0xFE20, Key::tab},  // with Shift
    NamedKey{0xFF0D, Key::enter},     NamedKey{0xFF1B, Key::escape},
    NamedKey{0xFFFF, Key::remove},    NamedKey{0xFF50, Key::home},
    NamedKey{0xFF51, Key::left},      NamedKey{0xFF52, Key::up},
    NamedKey{0xFF53, Key::right},     NamedKey{0xFF54, Key::down},
    NamedKey{0xFF55, Key::pageUp},    NamedKey{0xFF56, Key::pageDown},
    NamedKey{0xFF57, Key::end},       NamedKey{0xFF8D, Key::enter},
    NamedKey{0xFF95, Key::home},      NamedKey{0xFF96, Key::left},
    NamedKey{0xFF97, Key::up},        NamedKey{0xFF98, Key::right},
    NamedKey{0xFF99, Key::down},      NamedKey{0xFF9A, Key::pageUp},
    NamedKey{0xFF9B, Key::pageDown},  NamedKey{0xFF9C, Key::end},
    NamedKey{0xFF9F, Key::remove},
};

bool isKeypad(xcb_keysym_t symbol) { return symbol >= 0xFF80 && symbol <= 0xFFBD; }

char32_t characterOf(xcb_keysym_t symbol) {
  constexpr xcb_keysym_t kUnicode = 0x01000000;
  if ((symbol >= 0x20 && symbol <= 0x7E) || (symbol >= 0xA0 && symbol <= 0xFF)) return symbol;
  if (symbol >= kUnicode + 0x20 && symbol <= kUnicode + 0x10FFFF) return symbol - kUnicode;
  if (symbol == 0xFFAC) return U'.';  // the keypad's separator, which some layouts make a comma
  if (symbol >= 0xFFAA && symbol <= 0xFFB9) return symbol - 0xFF80;  // "*+,-./0123456789"
  return 0;
}

}  // namespace

KeyPress pressOfSymbol(xcb_keysym_t symbol) {
  for (const NamedKey& named : kKeys) {
    if (named.symbol == symbol) return {named.key, 0};
  }
  return {std::nullopt, characterOf(symbol)};
}

void Keyboard::read(const Xcb& xcb, xcb_connection_t* connection) {
  const xcb_setup_t* const setup = xcb.get_setup(connection);
  first_ = setup->min_keycode;
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, void (*)(void*)> reply(
      xcb.get_keyboard_mapping_reply(
          connection, xcb.get_keyboard_mapping(connection, setup->min_keycode, count), nullptr),
      std::free);
  columns_ = 0;
  if (!reply || reply->keysyms_per_keycode == 0) return;
  columns_ = reply->keysyms_per_keycode;
  const xcb_keysym_t* const symbols = xcb.get_keyboard_mapping_keysyms(reply.get());
  symbols_.assign(symbols, symbols + xcb.get_keyboard_mapping_keysyms_length(reply.get()));
}

xcb_keysym_t Keyboard::symbol(xcb_keycode_t code, std::size_t column) const {
  const std::size_t at = static_cast<std::size_t>(code - first_) * columns_ + column;
  return code >= first_ && column < columns_ && at < symbols_.size() ? symbols_[at] : 0;
}

// A layout's group is in bits 13 and 14; the second begins at the third column. Num Lock is usually
// the second of the numbered modifiers, and turns Shift around on the keypad.
KeyPress Keyboard::press(xcb_keycode_t code, std::uint16_t state) const {
  // With Control, Alt or the logo key it is a host's or a desktop's.
  if ((state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4)) != 0) return {};
  const std::size_t group = (state >> 13 & 3U) == 1 && symbol(code, 2) != 0 ? 2 : 0;
  const bool shift = (state & XCB_MOD_MASK_SHIFT) != 0;
  const xcb_keysym_t plain = symbol(code, group);
  const xcb_keysym_t shifted = symbol(code, group + 1);
  if (isKeypad(shifted)) {
    const bool digits = ((state & XCB_MOD_MASK_2) != 0) != shift;
    return pressOfSymbol(digits ? shifted : plain);
  }
  return pressOfSymbol(shift && shifted != 0 ? shifted : plain);
}

}  // namespace quellard

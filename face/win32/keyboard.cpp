// SPDX-License-Identifier: ISC
#include "face/win32/keyboard.h"

#include <array>

namespace quellard {
namespace {

struct NamedKey {
  WPARAM number;
  Key key;
};

constexpr std::array kKeys = {
    NamedKey{VK_BACK, Key::backspace}, NamedKey{VK_TAB, Key::tab},
    NamedKey{VK_RETURN, Key::enter},   NamedKey{VK_ESCAPE, Key::escape},
    NamedKey{VK_DELETE, Key::remove},  NamedKey{VK_HOME, Key::home},
    NamedKey{VK_END, Key::end},        NamedKey{VK_LEFT, Key::left},
    NamedKey{VK_RIGHT, Key::right},    NamedKey{VK_UP, Key::up},
    NamedKey{VK_DOWN, Key::down},      NamedKey{VK_PRIOR, Key::pageUp},
    NamedKey{VK_NEXT, Key::pageDown},
};

// Asked for at once rather than waited for: a host need not translate keys to characters, and
// whether the face takes a key is to be known before the host gets it.
char32_t characterOf(WPARAM key, LPARAM details) {
  if (key == VK_DECIMAL) return U'.';  // which some layouts make a comma
  std::array<BYTE, 256> state = {};
  std::array<wchar_t, 4> text = {};
  constexpr UINT kLeaveDeadKeys = 1U << 2;
  GetKeyboardState(state.data());
  const auto scanned = static_cast<UINT>(details >> 16 & 0xFF);
  const int length = ToUnicode(static_cast<UINT>(key), scanned, state.data(), text.data(),
                               static_cast<int>(text.size()), kLeaveDeadKeys);
  const auto character = static_cast<char32_t>(text[0]);
  return length == 1 && character >= 0x20 && character != 0x7F ? character : 0;
}

}  // namespace

KeyPress pressOfKey(WPARAM key, LPARAM details) {
  for (const NamedKey& named : kKeys) {
    if (named.number == key) return {named.key, 0};
  }
  return {std::nullopt, characterOf(key, details)};
}

}  // namespace quellard

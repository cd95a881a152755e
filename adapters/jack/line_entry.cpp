// SPDX-License-Identifier: ISC
#include "adapters/jack/line_entry.h"

#include <ncurses.h>

#include "params/words.h"

namespace quellard {
namespace {

constexpr int kEscape = 27;
constexpr int kControlU = 21;
constexpr int kDelete = 127;

}  // namespace

LineEntry::State LineEntry::press(int key) {
  switch (key) {
    case '\r':
    case '\n':
    case KEY_ENTER: return State::entered;
    case kEscape: return State::cancelled;
    case '\b':
    case kDelete:
    case KEY_BACKSPACE: removeLastCharacter(text_); break;
    case kControlU: text_.clear(); break;
    default:
      if (key >= ' ' && key <= 0xFF && text_.size() < kLongest) text_ += static_cast<char>(key);
  }
  return State::typing;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// A line that is typed while everything else goes on: a number, a name.
#pragma once

#include <string>

namespace quellard {

class LineEntry {
 public:
  enum class State { typing, entered, left };
  static constexpr std::size_t kLongest = 64;  // bytes

  // key: as ncurses gives it; letters beyond ASCII come as their UTF-8 bytes, one a call. Enter
  // ends the line, Escape leaves it, Backspace takes the last letter back, Ctrl-U all.
  State press(int key);

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace quellard

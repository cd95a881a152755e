// SPDX-License-Identifier: ISC
// A line of text that is typed key by key, without waiting for any.
#pragma once

#include <string>

namespace quellard {

class LineEntry {
 public:
  enum class State { typing, entered, cancelled };
  static constexpr std::size_t kLongest = 1024;  // bytes

  // key: as ncurses gives it; characters beyond ASCII come as UTF-8, one byte per call. Enter ends
  // the line, Escape cancels it, Backspace deletes the last character, Ctrl-U all.
  State press(int key);

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace quellard

// SPDX-License-Identifier: ISC
// What quellard-jack remembers: its settings, in a file like a preset's.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "tools/settings_text.h"

namespace quellard {

class StateFile {
 public:
  // A setting that has rested for so long is written while the amplifier plays on, so that even a
  // power cut takes no more than the last moves.
  static constexpr std::chrono::seconds kRest{5};

  // With an empty path nothing is ever read or written.
  explicit StateFile(std::filesystem::path file) : file_(std::move(file)) {}

  // The file of a client in the user's state folder, jack/NAME.state: two clients at once have two.
  // Empty without a home folder.
  static std::filesystem::path defaultFor(const std::string& client);

  // What was written last; nothing, and why in notice(), when there is no file or it makes no
  // sense. A file with a mistake in it is kept beside the next one, as NAME.damaged. One that
  // cannot be read is left alone from then on.
  std::optional<SettingsText> read();
  const std::string& notice() const { return notice_; }

  // To be called now and then with the settings as they are: writes them once they have rested. A
  // failure waits for write() to be told.
  void follow(const SettingsText& now);

  // Throws FileError.
  void write(const SettingsText& now);

 private:
  using Clock = std::chrono::steady_clock;

  std::filesystem::path file_;
  std::string notice_;
  bool isDamaged_ = false;
  std::optional<ParameterValues> followed_;
  std::optional<ParameterValues> triedLast_;
  Clock::time_point movedAt_;
};

}  // namespace quellard

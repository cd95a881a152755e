// SPDX-License-Identifier: ISC
// The file in which quellard-jack keeps its values between two runs; its format is a preset's.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "tools/settings/settings_text.h"

namespace quellard {

class StateFile {
 public:
  // Values are written once they have not moved for this time, so that a power cut loses only the
  // last moves.
  static constexpr std::chrono::seconds kRest{5};

  // With an empty path nothing is read or written.
  explicit StateFile(std::filesystem::path file) : file_(std::move(file)) {}

  // The file of a client in the user's state folder, jack/NAME.state: two clients at once have two.
  // Empty without a home folder.
  static std::filesystem::path defaultFor(const std::string& client);

  // The values that were written last. Nothing, with the reason in notice(), when there is no file,
  // it has a mistake in it (the next write() keeps it as NAME.damaged), or it cannot be read (then
  // it is never written either).
  std::optional<SettingsText> read();
  const std::string& notice() const { return notice_; }

  // To be polled with the present values: writes them once they have not moved for kRest. A failure
  // is ignored; the last write() reports it.
  void follow(const SettingsText& now);

  // Throws FileError.
  void write(const SettingsText& now);

 private:
  using Clock = std::chrono::steady_clock;

  std::filesystem::path file_;
  std::string notice_;
  bool isDamaged_ = false;
  std::optional<SettingsText> followed_;
  std::optional<SettingsText> triedLast_;
  Clock::time_point movedAt_;
};

}  // namespace quellard

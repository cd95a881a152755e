// SPDX-License-Identifier: ISC
#include "adapters/jack/state_file.h"

#include <cctype>
#include <fmt/format.h>
#include <system_error>

#include "tools/common/errors.h"
#include "tools/files/user_folders.h"

namespace quellard {
namespace fs = std::filesystem;
namespace {

// A client's name may have any characters, slashes too. Different names give different files.
std::string asFileName(const std::string& client) {
  std::string name;
  for (const char c : client) {
    const auto byte = static_cast<unsigned char>(c);
    const bool keeps = byte < 0x80 && (std::isalnum(byte) != 0 || c == '-' || c == '_');
    name += keeps ? std::string(1, c) : fmt::format("%{:02X}", byte);
  }
  return name;
}

}  // namespace

fs::path StateFile::defaultFor(const std::string& client) {
  const fs::path folder = stateFolder();
  return folder.empty() ? folder : folder / "jack" / (asFileName(client) + ".state");
}

std::optional<SettingsText> StateFile::read() {
  if (file_.empty()) return std::nullopt;
  std::error_code error;
  if (fs::status(file_, error).type() == fs::file_type::not_found) {
    notice_ = fmt::format("nothing is remembered in {} yet", file_.string());
    return std::nullopt;
  }
  try {
    SettingsText settings = readSettings(file_);
    triedLast_ = settings;
    return settings;
  } catch (const UsageError& mistake) {
    isDamaged_ = true;
    notice_ = fmt::format("{}; nothing is taken from this file, which will be kept as {}.damaged",
                          mistake.what(), file_.filename().string());
  } catch (const FileError& failure) {
    notice_ = fmt::format("{}; nothing will be remembered", failure.what());
    file_.clear();
  }
  return std::nullopt;
}

void StateFile::follow(const SettingsText& now) {
  if (followed_ != now) {
    followed_ = now;
    movedAt_ = Clock::now();
  }
  if (triedLast_ == now || Clock::now() - movedAt_ < kRest) return;
  triedLast_ = now;
  try {
    write(now);
  } catch (const FileError&) {
    return;  // the last write(), at the end of the program, reports it
  }
}

void StateFile::write(const SettingsText& now) {
  if (file_.empty()) return;
  if (isDamaged_) {
    std::error_code error;
    fs::rename(file_, file_.string() + ".damaged", error);
    if (error)
      throw FileError(
          fmt::format("cannot set {} aside: {}", file_.string(), systemMessage(error.value())));
    isDamaged_ = false;
  }
  saveSettings(file_, now);
}

}  // namespace quellard

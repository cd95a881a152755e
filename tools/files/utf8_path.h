// SPDX-License-Identifier: ISC
// Names of files as texts are UTF-8 in every program here. A path made from a plain string is so
// only where the system's own names are bytes; path::string() is everywhere.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quellard {

inline std::filesystem::path pathFrom(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

inline std::vector<std::filesystem::path> pathsFrom(const std::vector<std::string>& texts) {
  std::vector<std::filesystem::path> paths;
  paths.reserve(texts.size());
  for (const std::string& text : texts) paths.push_back(pathFrom(text));
  return paths;
}

}  // namespace quellard

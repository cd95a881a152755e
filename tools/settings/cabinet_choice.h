// SPDX-License-Identifier: ISC
// A cabinet as players choose it, and as text.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quellard {

struct CabinetChoice {
  std::filesystem::path file = {};  // an impulse response; empty: no cabinet
  double level_db = 0.0;            // beside the one at which it is as loud as no cabinet

  bool operator==(const CabinetChoice&) const = default;
};

// The file that a text names; none for "none".
std::filesystem::path cabinetNamed(std::string_view text);

// name: for messages. Throws UsageError for anything but -24 to 24.
double parseCabinetLevel_db(const char* name, std::string_view text);

// A path as part of a line of text in which '#' begins a comment, and back.
std::string pathAsText(const std::filesystem::path& path);
std::filesystem::path pathFromText(std::string_view text);

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/settings/cabinet_choice.h"

#include <fmt/format.h>

#include "params/words.h"
#include "rig/rig_parameters.h"
#include "tools/common/parsing.h"
#include "tools/files/utf8_path.h"

namespace quellard {
namespace fs = std::filesystem;

fs::path cabinetNamed(std::string_view text) {
  return sameWord(text, "none") ? fs::path() : pathFrom(text);
}

double parseCabinetLevel_db(const char* name, std::string_view text) {
  return numberWithin(name, withoutDecibels(trimmed(text)), -kMostLevel_db, kMostLevel_db);
}

// Percent signs, as in addresses, for bytes that would end a line or a path's text.
std::string pathAsText(const fs::path& path) {
  const std::string bytes = path.string();
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    const bool atEnd = i == 0 || i + 1 == bytes.size();
    const bool hidden =
        byte < 0x20 || byte == 0x7F || byte == '%' || byte == '#' || (byte == ' ' && atEnd);
    text += hidden ? fmt::format("%{:02X}", byte) : std::string(1, bytes[i]);
  }
  return text;
}

fs::path pathFromText(std::string_view text) {
  const auto digit = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
  };
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool coded =
        text[i] == '%' && i + 2 < text.size() && digit(text[i + 1]) >= 0 && digit(text[i + 2]) >= 0;
    bytes += coded ? static_cast<char>(digit(text[i + 1]) * 16 + digit(text[i + 2])) : text[i];
    if (coded) i += 2;
  }
  return pathFrom(bytes);
}

}  // namespace quellard

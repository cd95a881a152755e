// SPDX-License-Identifier: ISC
// JSON as text. Bytes that are no UTF-8, as the names of files may have, are replaced.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace quellard {

// indent: blanks a level, on lines of their own; -1 for a single line.
inline std::string jsonText(const nlohmann::ordered_json& json, int indent = -1) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

// For the eye, with a line's end after the last.
inline std::string jsonPage(const nlohmann::ordered_json& json) { return jsonText(json, 2) + '\n'; }

}  // namespace quellard

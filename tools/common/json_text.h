// SPDX-License-Identifier: ISC
// JSON as text. Bytes that are no UTF-8, as the names of files may have, are replaced.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace quellard {

inline std::string jsonLine(const nlohmann::ordered_json& json, int indent = -1) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

// For the eye: a line for each member, and a line's end after the last.
inline std::string jsonLines(const nlohmann::ordered_json& json) {
  return jsonLine(json, 2) + '\n';
}

}  // namespace quellard

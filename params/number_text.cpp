// SPDX-License-Identifier: ISC
#include "params/number_text.h"

#include <cmath>

namespace quellard {

std::optional<double> numberFromText(std::string_view text, std::chars_format format) {
  double number = 0.0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, format);
  if (error != std::errc{} || rest != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/knobs.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/errors.h"

namespace quellard {
namespace {

// The symbols of the parameter table join words with underscores.
std::string asSymbol(std::string_view name) {
  std::string symbol = lowered(name);
  for (char& c : symbol) {
    if (c == '.' || c == '-' || c == ' ') c = '_';
  }
  return symbol == "channel" ? "type" : symbol;
}

// The number of insertions, deletions, replacements and swaps of neighbouring letters that turn one
// word into the other.
std::size_t editDistance(std::string_view a, std::string_view b) {
  const std::size_t width = b.size() + 1;
  std::vector<std::size_t> table((a.size() + 1) * width);
  const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& {
    return table[i * width + j];
  };
  for (std::size_t i = 0; i <= a.size(); ++i) at(i, 0) = i;
  for (std::size_t j = 0; j <= b.size(); ++j) at(0, j) = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, at(i - 1, j - 1) + cost});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
    }
  }
  return table.back();
}

std::vector<std::string> knownNames() {
  std::vector<std::string> names = {"channel"};
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::knob) names.emplace_back(info.symbol);
    if (info.kind == ParameterKind::knob && info.channel == 0) names.push_back(lowered(info.name));
  }
  return names;
}

const ParameterInfo& findByName(std::string_view name, int channel) {
  const std::string symbol = asSymbol(name);
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::none) continue;
    const bool bareKnob = info.channel == channel && symbol == lowered(info.name);
    if (symbol == info.symbol || bareKnob) return info;
  }
  throw UsageError(fmt::format("unknown knob '{}'{}", name, suggestion(symbol, knownNames())));
}

float scaledValue(const std::string& what, std::string_view text, double highest) {
  return static_cast<float>(numberWithin(what.c_str(), text, 0.0, highest) / highest);
}

ParameterChange parseIndexed(double index, std::string_view value) {
  if (index != std::floor(index) || index < 1 || index >= kNumParameters) {
    throw UsageError(
        fmt::format("there is no parameter {}: they are 1 to {}", index, kNumParameters - 1));
  }
  return {static_cast<int>(index), scaledValue(fmt::format("parameter {}", index), value, 1.0)};
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

double numberWithin(const char* what, std::string_view text, double lowest, double highest) {
  const std::optional<double> value = parseNumber(text);
  if (!value) throw UsageError(fmt::format("{}: '{}' is not a number", what, text));
  if (*value < lowest || *value > highest) {
    throw UsageError(fmt::format("{}: {} is outside {} to {}", what, text, lowest, highest));
  }
  return *value;
}

int integerWithin(const char* what, std::string_view text, int lowest, int highest) {
  const double value = numberWithin(what, text, lowest, highest);
  if (value != std::floor(value)) {
    throw UsageError(fmt::format("{}: {} is not a whole number", what, text));
  }
  return static_cast<int>(value);
}

std::string suggestion(std::string_view word, const std::vector<std::string>& known) {
  // No known word is nearly as long; comparing would only take time and memory.
  constexpr std::size_t kLongestWord = 64;
  if (word.size() > kLongestWord) return {};
  std::size_t nearest = std::max<std::size_t>(1, word.size() / 3) + 1;
  const std::string* best = nullptr;
  for (const std::string& candidate : known) {
    const std::size_t distance = editDistance(lowered(word), lowered(candidate));
    if (distance < nearest) {
      nearest = distance;
      best = &candidate;
    }
  }
  return best != nullptr ? fmt::format(", did you mean '{}'?", *best) : std::string();
}

int parseChannel(std::string_view text) {
  const std::string_view word = trimmed(text);
  if (const std::optional<int> channel = channelFromName(word)) return *channel;
  std::vector<std::string> known;
  for (const char* name : kChannelNames) known.push_back(lowered(name));
  const std::string hint = suggestion(word, known);
  throw UsageError(fmt::format("unknown channel '{}'{}", word,
                               hint.empty() ? ": clean, vintage or modern" : hint));
}

ParameterChange parseParameterChange(std::string_view name, std::string_view value, int channel) {
  name = trimmed(name);
  value = trimmed(value);
  if (const std::optional<double> index = parseNumber(name)) return parseIndexed(*index, value);
  const ParameterInfo& info = findByName(name, channel);
  if (info.kind == ParameterKind::selector)
    return {info.index, selectFromChannel(parseChannel(value))};
  return {info.index, scaledValue(std::string(name), value, kKnobScale)};
}

bool namesSelector(std::string_view name) {
  if (const std::optional<double> index = parseNumber(name)) return *index == kTypeParameter;
  return asSymbol(trimmed(name)) == kParameters[kTypeParameter].symbol;
}

std::pair<std::string, std::string> splitAssignment(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw UsageError(fmt::format("'{}' is not of the form PARAM=VALUE", text));
  }
  return {std::string(trimmed(text.substr(0, equals))),
          std::string(trimmed(text.substr(equals + 1)))};
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/settings/knobs.h"

#include <fmt/format.h>
#include <optional>
#include <vector>

#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/common/parsing.h"

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

ParameterChange parseIndexed(double number, std::string_view value) {
  const int index = number >= 1.0 && number <= kNumStoredValues ? static_cast<int>(number) : 0;
  if (!isStored(index) || index != number) {
    throw UsageError(
        fmt::format("there is no parameter {}: they are 1 to {}", number, kNumStoredValues));
  }
  const std::string what = fmt::format("parameter {}", index);
  return {index, static_cast<float>(numberWithin(what.c_str(), value, 0.0, 1.0))};
}

}  // namespace

std::string channelWord(int channel) { return lowered(channelName(channel)); }

int parseChannel(std::string_view text) {
  const std::string_view word = trimmed(text);
  if (const std::optional<int> channel = channelFromName(word)) return *channel;
  std::vector<std::string> known;
  known.reserve(kChannelNames.size());
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
  const std::string what(name);
  return {info.index, knobFromPosition(numberWithin(what.c_str(), value, 0.0, kKnobScale))};
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

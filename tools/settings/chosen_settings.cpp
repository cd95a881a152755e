// SPDX-License-Identifier: ISC
#include "tools/settings/chosen_settings.h"

#include <array>
#include <fmt/format.h>
#include <string>

#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/common/errors.h"

namespace quellard {
namespace {

// "cab level", "cab-level" and "cab_level" are one name, as with knobs.
std::string asWord(std::string_view name) {
  std::string word = lowered(trimmed(name));
  for (char& c : word) {
    if (c == '_' || c == '-') c = ' ';
  }
  return word;
}

std::string* optionNamed(const std::string& word, NamedSettings& settings) {
  auto& [knobs, rig] = settings;
  const std::array<std::pair<std::string_view, std::string*>, 8> options = {{
      {"preset", &knobs.preset},
      {"program", &knobs.program},
      {"channel", &knobs.channel},
      {"input", &rig.input},
      {"gate", &rig.gate},
      {"output", &rig.output},
      {"cab", &rig.cab},
      {"cab level", &rig.cabLevel},
  }};
  for (const auto& [name, option] : options) {
    if (name == word) return option;
  }
  return nullptr;
}

// What named the channel before counts no more.
void forgetChannel(SettingsOptions& knobs) {
  knobs.channel.clear();
  std::erase_if(knobs.assignments, [](const std::string& assignment) {
    return namesSelector(splitAssignment(assignment).first);
  });
}

}  // namespace

void assign(std::string_view name, std::string_view value, NamedSettings& settings) {
  const std::string word = asWord(name);
  if (trimmed(value).empty()) throw UsageError(fmt::format("'{}' has no value", name));
  if (namesSelector(name)) forgetChannel(settings.knobs);
  if (std::string* const option = optionNamed(word, settings)) {
    *option = value;
  } else {
    settings.knobs.assignments.push_back(fmt::format("{}={}", name, value));
  }
}

ChosenSettings choose(const NamedSettings& settings, const ReadMoves& readMoves,
                      float programSelector) {
  ChosenSettings chosen{.start = startFrom(settings.knobs), .moves = {}};
  int channel = channelAt(chosen.start, programSelector);
  if (readMoves) {
    chosen.moves = readMoves(channel);
    channel = channelAtStart(chosen.moves, channel);
  }
  addKnobs(settings.knobs, channel, chosen.start);
  applyRig(settings.rig, chosen.rig);
  applyCabinet(settings.rig, chosen.cabinet);
  return chosen;
}

HostedValues valuesAtStart(const ChosenSettings& chosen) {
  HostedValues values = chosen.rig;
  for (const auto& [parameter, value] : chosen.start.changes) values[parameter] = value;
  return values;
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/settings/settings_options.h"

#include <CLI/CLI.hpp>

#include "params/parameter_values.h"
#include "params/program.h"
#include "params/words.h"
#include "tools/common/parsing.h"
#include "tools/settings/presets.h"

namespace quellard {
namespace {

constexpr const char* kGroup = "Knobs";

// Adds the values of --set: those of the selector, or those of all other parameters.
void assign(const SettingsOptions& options, bool selector, int channel, StartingPoint& start) {
  for (const std::string& assignment : options.assignments) {
    const auto [name, value] = splitAssignment(assignment);
    if (namesSelector(name) != selector) continue;
    start.changes.push_back(parseParameterChange(name, value, channel));
  }
}

void addKnobOptions(CLI::App& command, SettingsOptions& options) {
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob || info.channel != 0) continue;
    const std::string name = lowered(info.name);
    const auto keep = [&options, name](const std::string& value) { options.knobs[name] = value; };
    command
        .add_option_function<std::string>("--" + name, keep, "0 to 10, on the channel that plays")
        ->type_name("VALUE")
        ->group(kGroup);
  }
}

std::vector<ParameterChange> changesTo(const ParameterValues& values) {
  std::vector<ParameterChange> changes;
  for (int index = 1; index <= kNumStoredValues; ++index) {
    changes.push_back({index, values[index]});
  }
  return changes;
}

}  // namespace

CLI::Option* addValue(CLI::App& command, const char* names, std::string& value, const char* type,
                      const std::string& help, const char* group) {
  return command.add_option(names, value, help)->type_name(type)->group(group);
}

void addSettingsOptions(CLI::App& command, SettingsOptions& options) {
  addValue(command, "--program", options.program, "N", "Program to start from, 1 to 16 (1)",
           kGroup);
  addValue(command, "--preset", options.preset, "NAME",
           "Preset to start from, see 'quellard presets'", kGroup);
  addValue(command, "--channel", options.channel, "CHANNEL",
           "clean, vintage or modern (the program's or the preset's)", kGroup);
  addKnobOptions(command, options);
  command
      .add_option("--set", options.assignments,
                  "Any parameter: vintage.gain=7.5 or channel=clean, or INDEX=VALUE with the "
                  "value from 0 to 1")
      ->type_name("PARAM=VALUE")
      ->group(kGroup)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

StartingPoint startFrom(const SettingsOptions& options) {
  StartingPoint start;
  if (!options.program.empty()) {
    start.program = integerWithin("--program", options.program, 1, kNumPrograms) - 1;
  }
  if (!options.preset.empty()) start.changes = changesTo(findPreset(options.preset).values);
  if (!options.channel.empty()) {
    start.changes.push_back({kTypeParameter, selectFromChannel(parseChannel(options.channel))});
  }
  assign(options, true, 0, start);
  return start;
}

int channelAt(const StartingPoint& start, float programSelector) {
  float selector = programSelector;
  for (const auto& [parameter, value] : start.changes) {
    if (parameter == kTypeParameter) selector = value;
  }
  return channelFromSelect(selector);
}

void addKnobs(const SettingsOptions& options, int channel, StartingPoint& start) {
  for (const auto& [name, value] : options.knobs) {
    start.changes.push_back(parseParameterChange(name, value, channel));
  }
  assign(options, false, channel, start);
}

ParameterValues settingsFrom(const SettingsOptions& options, const ParameterValues& before) {
  ParameterValues values = options.program.empty() ? before : defaultValues();
  StartingPoint start = startFrom(options);
  addKnobs(options, channelAt(start, values[kTypeParameter]), start);
  for (const auto& [parameter, value] : start.changes) values[parameter] = value;
  return values;
}

}  // namespace quellard

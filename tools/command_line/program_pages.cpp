// SPDX-License-Identifier: ISC
#include "tools/command_line/program_pages.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <iostream>

#include "params/parameter_table.h"
#include "params/program.h"
#include "params/words.h"
#include "tools/common/errors.h"
#include "tools/settings/knobs.h"
#include "tools/settings/presets.h"

namespace quellard {
namespace {

Words channelNames() {
  Words names;
  for (int channel = 0; channel < kNumChannels; ++channel) names.push_back(channelWord(channel));
  return names;
}

Words presetNames() {
  Words names;
  for (const Preset& preset : listPresetFiles().presets) names.push_back(preset.name);
  return names;
}

Words programNumbers() {
  Words numbers;
  for (int number = 1; number <= kNumPrograms; ++number) numbers.push_back(std::to_string(number));
  return numbers;
}

// The beginnings of the values of --set: channel=, clean.presence= and so on.
Words assignments() {
  Words words = {"channel="};
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob) continue;
    words.push_back(fmt::format("{}.{}=", channelWord(info.channel), lowered(info.name)));
  }
  return words;
}

[[noreturn]] void printAndEnd(const std::string& text) {
  std::cout << text << std::flush;
  if (!std::cout) throw FileError("cannot write to standard output");
  throw CLI::Success();
}

}  // namespace

KnownValues settingsValues() {
  return {{"channel", channelNames},
          {"preset", presetNames},
          {"program", programNumbers},
          {"set", assignments}};
}

void addProgramPages(CLI::App& app, const KnownValues& values, const ManualTexts& texts) {
  const auto completion = [&app, values](const std::string& shell) {
    if (shell != "bash") throw CLI::ValidationError("--completion", "there is one for bash alone");
    printAndEnd(bashCompletion(app, values));
  };
  const auto list = [values](const std::string& option) {
    const auto found = values.find(option);
    printAndEnd(found == values.end() ? "" : fmt::format("{}\n", fmt::join(found->second(), "\n")));
  };
  const auto manual = [&app, texts](std::int64_t) { printAndEnd(manualPage(app, texts)); };
  app.add_option_function<std::string>("--completion", completion, "")->group("");
  app.add_option_function<std::string>("--values", list, "")->group("");
  app.add_flag_function("--manual", manual, "")->group("");
}

}  // namespace quellard

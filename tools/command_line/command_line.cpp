// SPDX-License-Identifier: ISC
#include "tools/command_line/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <sstream>
#include <utility>
#include <vector>

#include "tools/common/errors.h"
#include "tools/common/parsing.h"

namespace quellard {
namespace {

const CLI::App& chosenCommand(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? app : *chosen.front();
}

std::vector<std::string> namesOfCommands(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::string unknownWord(const CLI::App& command, const std::string& word) {
  const std::vector<std::string> commands = namesOfCommands(command);
  std::vector<std::string> known = commands;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  const char* const kind =
      word.starts_with('-') ? "option" : (commands.empty() ? "argument" : "command");
  return fmt::format("unknown {} '{}'{}", kind, word, suggestion(word, known));
}

std::string missingWord(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_required() && option->count() == 0) {
      return fmt::format("{} is required", option->get_name());
    }
  }
  return fmt::format("a command is required: {}", fmt::join(namesOfCommands(command), ", "));
}

// sentence: the library's message, which begins with the option's name and a colon.
std::string wrongNumberOfValues(const CLI::App& command, const std::string& sentence) {
  for (const CLI::Option* option : command.get_options()) {
    const bool oneOnly = option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw;
    if (oneOnly && option->get_items_expected_max() == 1 && option->count() > 1) {
      return fmt::format("{} is given more than once", option->get_name());
    }
  }
  return fmt::format("{} needs a value", sentence.substr(0, sentence.find(':')));
}

}  // namespace

void printOut(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (written && std::fflush(stdout) == 0) return;
  throw FileError(fmt::format("cannot write standard output: {}", systemMessage(errno)));
}

std::string helpText(const CLI::App& app, const CLI::Success& asked) {
  std::ostringstream text;
  app.exit(asked, text, text);
  return text.str();
}

std::string explanation(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& command = chosenCommand(app);
  const std::vector<std::string> unknown = command.remaining(true);
  if (!unknown.empty()) return unknownWord(command, unknown.front());
  switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
    case CLI::ExitCodes::RequiredError: return missingWord(command);
    case CLI::ExitCodes::ArgumentMismatch: return wrongNumberOfValues(command, error.what());
    default: return error.what();
  }
}

void refuseEmptyValues(const CLI::App& app) {
  for (const CLI::Option* option : chosenCommand(app).get_options()) {
    const std::vector<std::string>& values = option->results();
    if (std::ranges::find(values, "") == values.end()) continue;
    throw UsageError(fmt::format("{} is given an empty name or value", option->get_name()));
  }
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <set>

#include "tools/command_line/program_pages.h"

namespace quellard {
namespace {

bool isShown(const CLI::Option* option) {
  return option->nonpositional() && !option->get_group().empty();
}

bool takesValue(const CLI::Option* option) { return option->get_items_expected_max() > 0; }

// "-o" and "--out".
Words spellings(const CLI::Option* option) {
  Words words;
  for (const std::string& name : option->get_snames()) words.push_back("-" + name);
  for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
  return words;
}

// The words that may be completed unless an option needs a value: options, and a program's
// commands.
Words wordsOf(const CLI::App& app) {
  Words words;
  for (const CLI::App* command : app.get_subcommands({})) words.push_back(command->get_name());
  for (const CLI::Option* option : app.get_options(isShown)) {
    for (const std::string& word : spellings(option)) words.push_back(word);
  }
  return words;
}

// The script's cases for options with a value: known values are listed, otherwise the shell
// completes files.
std::string valueCases(const std::vector<const CLI::App*>& apps, const KnownValues& values) {
  std::set<std::string> known, others;
  for (const CLI::App* app : apps) {
    for (const CLI::Option* option : app->get_options(isShown)) {
      if (!takesValue(option)) continue;
      const Words names = option->get_lnames();
      const bool isKnown = std::ranges::any_of(
          names, [&](const std::string& name) { return values.contains(name); });
      std::set<std::string>& words = isKnown ? known : others;
      for (const std::string& word : spellings(option)) words.insert(word);
    }
  }
  std::string cases;
  if (!known.empty()) {
    cases += fmt::format(
        "    {}{})\n"
        "      mapfile -t values < <(\"${{1/#\\~\\//$HOME/}}\" --values \"${{option#--}}\" "
        "2>/dev/null)\n"
        "      ;;\n",
        fmt::join(known, " | "), known.contains("--set") ? " | channel" : "");
  }
  if (!others.empty()) cases += fmt::format("    {}) return ;;\n", fmt::join(others, " | "));
  return cases;
}

// The script's cases for commands, each with its options.
std::string commandCases(const CLI::App& app) {
  std::string cases;
  for (const CLI::App* command : app.get_subcommands({})) {
    cases += fmt::format("        {}) values=({}) ;;\n", command->get_name(),
                         fmt::join(wordsOf(*command), " "));
  }
  return cases + fmt::format("        *) values=({}) ;;\n", fmt::join(wordsOf(app), " "));
}

std::string functionName(const std::string& program) {
  std::string name = "_" + program;
  std::ranges::replace(name, '-', '_');
  return name;
}

// {0} program, {1} function, {2} commands, {3} cases of values, {4} cases of commands.
constexpr const char* kScript =
    R"(# Completion of {0} for bash, made from the program's own options.
{1}() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} option=${{COMP_WORDS[COMP_CWORD - 1]}}
  local command='' word typed value values=()
  COMPREPLY=()
  # The shell takes '=' as a word of its own.
  if [[ $current == = ]]; then
    current=
  elif [[ $option == = ]]; then
    option=${{COMP_WORDS[COMP_CWORD - 2]}}
  fi
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD - 1}}"; do
    [[ $word == -- ]] && return
    case ${{command:-$word}} in
      {2}) command=${{command:-$word}} ;;
    esac
  done
  case $option in
{3}    *)
      [[ -n $command && $current != -* ]] && return
      case $command in
{4}      esac
      ;;
  esac
  # Outside of quotes, special characters of a value get backslashes.
  typed=${{current#[\"\']}}
  [[ $typed != "$current" ]] || typed=${{current//\\/}}
  for value in "${{values[@]}}"; do
    [[ ${{value,,}} == "${{typed,,}}"* ]] || continue
    [[ $current == [\"\']* ]] || printf -v value %q "$value"
    COMPREPLY+=("$value")
  done
  # No space after '=', since a value follows. compopt fails when no completion runs, as in a test.
  [[ ${{COMPREPLY[0]-}} != *= ]] || compopt -o nospace 2>/dev/null || true
}}
complete -o bashdefault -o default -F {1} {0}
)";

}  // namespace

std::string bashCompletion(const CLI::App& app, const KnownValues& values) {
  std::vector<const CLI::App*> apps = {&app};
  Words commands;
  for (const CLI::App* command : app.get_subcommands({})) {
    apps.push_back(command);
    commands.push_back(command->get_name());
  }
  return fmt::format(kScript, app.get_name(), functionName(app.get_name()),
                     commands.empty() ? "''" : fmt::format("{}", fmt::join(commands, " | ")),
                     valueCases(apps, values), commandCases(app));
}

}  // namespace quellard

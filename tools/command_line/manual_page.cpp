// SPDX-License-Identifier: ISC
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <sstream>

#include "params/words.h"
#include "tools/command_line/program_pages.h"

namespace quellard {
namespace {

constexpr const char* kOwnGroup = "Options";  // the group of options without another

// Text in roff's notation: dashes that can be copied, and no line that looks like a request.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const bool begins = result.empty() || result.back() == '\n';
    if (begins && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return result;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

// A text broken into lines for the page's source.
std::string lines(const std::string& text) {
  constexpr std::size_t kLongest = 72;
  std::istringstream words(text);
  std::string page, line, word;
  while (words >> word) {
    if (!line.empty() && line.size() + word.size() >= kLongest) {
      page += escaped(line) + '\n';
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return page + escaped(line) + '\n';
}

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string paragraphs(const Words& texts) {
  std::string page;
  for (const std::string& text : texts) page += (page.empty() ? "" : ".PP\n") + lines(text);
  return page;
}

std::string tagged(const std::string& tag, const std::string& text) {
  return fmt::format(".TP\n{}\n{}", tag, lines(text));
}

std::string valueOf(const CLI::Option* option) {
  return option->get_items_expected_max() > 0 ? " " + italic(option->get_type_name()) : "";
}

std::string describe(const CLI::Option* option) {
  if (option->get_positional())
    return tagged(italic(option->get_name(true)), option->get_description());
  std::string names;
  for (const std::string& name : option->get_snames())
    names += (names.empty() ? "" : ", ") + bold("-" + name);
  for (const std::string& name : option->get_lnames())
    names += (names.empty() ? "" : ", ") + bold("--" + name);
  return tagged(names + valueOf(option), option->get_description());
}

std::vector<const CLI::Option*> optionsIn(const CLI::App& app, const std::string& group) {
  return app.get_options([&](const CLI::Option* option) { return option->get_group() == group; });
}

std::string describeAll(const CLI::App& app, const std::string& group) {
  std::string page;
  for (const CLI::Option* option : optionsIn(app, group)) {
    // Every command has the option --help, which is described once.
    if (app.get_parent() == nullptr || option != app.get_help_ptr()) page += describe(option);
  }
  return page;
}

// The option groups that several commands share.
Words sharedGroups(const CLI::App& app) {
  Words groups;
  for (const std::string& group : app.get_groups()) {
    if (!group.empty() && group != kOwnGroup) groups.push_back(group);
  }
  return groups;
}

// "quellard render [options] IN...", with all required options.
std::string usage(const std::string& program, const CLI::App& command) {
  std::string line = bold(program);
  if (command.get_parent() != nullptr) line += " " + bold(command.get_name());
  line += " [" + italic("options") + "]";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_required()) continue;
    if (option->get_positional()) {
      line += " " + italic(option->get_name(true)) + " ...";
    } else {
      const std::string name = option->get_snames().empty() ? "--" + option->get_lnames().front()
                                                            : "-" + option->get_snames().front();
      line += " " + bold(name) + valueOf(option);
    }
  }
  return line + '\n';
}

std::string synopsis(const CLI::App& app) {
  const auto commands = app.get_subcommands({});
  if (commands.empty()) return usage(app.get_name(), app);
  std::string page;
  for (const CLI::App* command : commands) {
    page += (page.empty() ? "" : ".br\n") + usage(app.get_name(), *command);
  }
  return page;
}

std::string describeCommand(const CLI::App& command) {
  std::string page =
      fmt::format(".SS {}\n{}.\n", escaped(command.get_name()), escaped(command.get_description()));
  for (const std::string& group : sharedGroups(command)) {
    page += fmt::format("The options of the section {} apply as well.\n", escaped(upper(group)));
  }
  page += describeAll(command, kOwnGroup);
  if (!command.get_footer().empty()) page += ".PP\n" + lines(command.get_footer());
  return page;
}

std::string section(const std::string& name, const std::string& text) {
  return text.empty() ? "" : fmt::format(".SH {}\n{}", escaped(name), text);
}

// A section for each group of options, from the first command that has it.
std::string groupSections(const CLI::App& app) {
  std::vector<const CLI::App*> apps = {&app};
  for (const CLI::App* command : app.get_subcommands({})) apps.push_back(command);
  Words described;
  std::string page;
  for (const CLI::App* each : apps) {
    for (const std::string& group : sharedGroups(*each)) {
      if (std::ranges::find(described, group) != described.end()) continue;
      described.push_back(group);
      page += section(upper(group), describeAll(*each, group));
    }
  }
  return page;
}

std::string pairs(const std::vector<std::pair<std::string, std::string>>& list) {
  std::string page;
  for (const auto& [name, text] : list) page += tagged(bold(name), text);
  return page;
}

std::string exitStatus() {
  return tagged("0", "All went well.") +
         tagged("1", "A file or a device could not be read, written or opened.") +
         tagged("2", "The command line was wrong.") +
         ".PP\nEach error is reported in one line on standard error.\n";
}

std::string references(const Words& pages) {
  std::string line;
  for (const std::string& page : pages) {
    const std::size_t bracket = page.find('(');
    line += (line.empty() ? "" : ",\n") + bold(page.substr(0, bracket)) + page.substr(bracket);
  }
  return line.empty() ? "" : line + '\n';
}

}  // namespace

std::string manualPage(const CLI::App& app, const ManualTexts& texts) {
  const std::string& name = app.get_name();
  std::string purpose = app.get_description();
  purpose.front() = lowered(purpose).front();
  if (purpose.ends_with('.')) purpose.pop_back();
  std::string commands;
  for (const CLI::App* command : app.get_subcommands({})) commands += describeCommand(*command);
  return fmt::format(".TH {} 1 {} \"{} {}\" \"User Commands\"\n", escaped(upper(name)), texts.date,
                     escaped(name), texts.version) +
         section("NAME", escaped(name) + " \\- " + escaped(purpose) + '\n') +
         section("SYNOPSIS", synopsis(app)) +
         section("DESCRIPTION", paragraphs(texts.description)) +
         section("OPTIONS", describeAll(app, kOwnGroup)) + section("COMMANDS", commands) +
         groupSections(app) + section("EXIT STATUS", exitStatus()) +
         section("FILES", pairs(texts.files)) + section("EXAMPLES", pairs(texts.examples)) +
         section("SEE ALSO", references(texts.seeAlso));
}

}  // namespace quellard

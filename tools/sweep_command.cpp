// SPDX-License-Identifier: ISC
#include "tools/sweep_command.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <fmt/format.h>
#include <unistd.h>

#include "tools/common/json_text.h"
#include "tools/common/parsing.h"
#include "tools/common/standard_streams.h"
#include "tools/files/utf8_path.h"
#include "tools/report.h"
#include "tools/sweep/sweep.h"

namespace quellard {
namespace {

constexpr int kMostRandom = 1'000'000;
constexpr int kHighestSeed = 1 << 30;

SweepSettings settingsFrom(const SweepOptions& options) {
  SweepSettings settings;
  settings.base = options.render.settings;
  for (const std::string& axis : options.grid) settings.axes.push_back(Axis::parse(axis));
  if (!options.random.empty()) {
    settings.random = integerWithin("--random", options.random, 1, kMostRandom);
  }
  settings.seed = integerWithin("--seed", options.seed, 0, kHighestSeed);
  settings.automation = options.render.automation;
  settings.mono = options.render.mono;
  settings.tailSeconds = tailSecondsFrom(options.render);
  settings.blockLength = blockLengthFrom(options.render);
  settings.sampleFormat = options.render.sampleFormat;
  settings.fileType = options.render.fileType;
  return settings;
}

std::string summaryAsJson(const Sweep& sweep, const Manifest& manifest, const SweepResult& result,
                          double elapsed_s) {
  const nlohmann::ordered_json json = {{"manifest", manifest.file().string()},
                                       {"files", sweep.size()},
                                       {"made", result.made},
                                       {"kept", result.kept},
                                       {"errors", result.errors},
                                       {"truncated", result.truncated},
                                       {"elapsed_seconds", elapsed_s}};
  return jsonPage(json);
}

std::string summary(const Manifest& manifest, const SweepResult& result, double elapsed_s) {
  const std::string kept =
      result.kept > 0 ? fmt::format(", {} were there and whole", result.kept) : std::string();
  return fmt::format("{} made in {:.1f} s{}; the list is {}\n", result.made, elapsed_s, kept,
                     manifest.file().string());
}

}  // namespace

void addSweepOptions(CLI::App& command, SweepOptions& options) {
  command.add_option("TAKE", options.takes, "Audio files, or folders of them")
      ->type_name("FILE")
      ->required();
  addValue(command, "-o,--out", options.folder, "FOLDER",
           "Folder of the results and of their list, manifest.jsonl")
      ->required();
  command
      .add_option("--grid", options.grid,
                  "What varies: gain=0:10:2.5 (lowest, highest, step), channel=clean,vintage, "
                  "or a range to draw from: gain=0:10. Once for each setting")
      ->type_name("NAME=VALUES")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  addValue(command, "--random", options.random, "N",
           "Draw so many combinations for each take, instead of every one");
  addValue(command, "--seed", options.seed, "N", "Another number draws other combinations (0)");
  command.add_flag("-n,--dry-run", options.dryRun,
                   "Print the rows of the list without results, and render nothing");
  command.add_flag("--json", options.json, "Print the summary as JSON");
  command.footer(
      "What is there and whole is not made again: the same command goes on where it was stopped. "
      "--grid takes the names of --set, and preset, program, input, gate, output, cab, cab-level.");
  addSharedRenderOptions(command, options.render);
}

int sweep(const SweepOptions& options) {
  const auto begin = std::chrono::steady_clock::now();
  const int threads = threadsFrom(options.render);
  const SweepSettings settings = settingsFrom(options);
  const Sweep sweep(pathsFrom(options.takes), pathFrom(options.folder), settings);
  if (options.dryRun) {
    for (std::size_t i = 0; i < sweep.size(); ++i) print(sweep.row(i) + '\n');
    for (const std::string& error : sweep.errors()) report(error);
    return sweep.errors().empty() ? kDone : kFileTrouble;
  }
  const PluginModule module(PluginModule::find({}));
  Manifest manifest(sweep.folder());
  Progress progress(!options.render.quiet && isTerminal(STDERR_FILENO));
  const SweepResult result = runSweep(module, sweep, manifest, threads, progress);
  progress.clear();
  const double elapsed_s =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  if (options.json) {
    print(summaryAsJson(sweep, manifest, result, elapsed_s));
  } else if (!options.render.quiet) {
    print(summary(manifest, result, elapsed_s));
  }
  for (const std::string& error : result.errors) report(error);
  for (const std::string& output : result.truncated) {
    report(fmt::format("warning: {}: its take is cut short or damaged, played as far as it goes",
                       output));
  }
  return result.errors.empty() && result.truncated.empty() ? kDone : kFileTrouble;
}

}  // namespace quellard

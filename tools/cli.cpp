// SPDX-License-Identifier: ISC
#include "tools/cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "tools/audio_format.h"
#include "tools/batch.h"
#include "tools/errors.h"
#include "tools/gain_table.h"
#include "tools/interrupt.h"
#include "tools/listing.h"
#include "tools/plot.h"
#include "tools/settings_options.h"

namespace quellard {
namespace {

constexpr int kDone = 0;
constexpr int kFileTrouble = 1;
constexpr int kWrongUsage = 2;
constexpr int kLongestBlock = 1 << 20;
constexpr int kMostThreads = 256;
constexpr double kLongestTail = 24 * 3600;

struct Options {
  std::string plugin;
  SettingsOptions knobs;
  std::vector<std::string> inputs;
  std::string output;
  std::string automation;
  std::string sampleFormat;
  std::string fileType = "wav";
  std::string block = "512";
  std::string tail = "0";
  std::string threads = "1";
  bool mono = false;
  bool raw = false;
  bool quiet = false;
  PlotSettings plot;
  std::string page = "all";
  std::string rate = "48000";
  std::string note = "110";
  std::string sine = "220";
};

// The channel that plays from the starting point on.
int channelOf(const StartingPoint& start, const PluginModule& module) {
  PluginInstance instance(module);
  instance.setProgram(start.program);
  return channelAt(start, instance.parameter(kTypeParameter));
}

StartingPoint resolveKnobs(const SettingsOptions& options, const PluginModule& module) {
  StartingPoint start = startFrom(options);
  turnKnobs(options, channelOf(start, module), start);
  return start;
}

void addRenderOptions(CLI::App& command, Options& options) {
  command.add_option("IN", options.inputs, "Audio files, or folders of them")
      ->type_name("FILE")
      ->required();
  addValue(command, "-o,--output", options.output, "OUT", "File to write; for several, a folder")
      ->required();
  addValue(command, "--format", options.sampleFormat, "FORMAT",
           "Sample format (float where the file type can): " + sampleFormatNames() +
               ". All but float and double are cut at full scale");
  addValue(command, "--type", options.fileType, "ENDING", "File type of results in a folder (wav)");
  addValue(command, "--automation", options.automation, "FILE",
           "Knob moves: lines of 'seconds, parameter, value'");
  command.add_flag("--mono", options.mono,
                   "Play the mean of all channels through one amplifier: a take recorded on both "
                   "sides drives it as one side does");
  addValue(command, "--tail", options.tail, "SECONDS", "Silence to play after the end (0)");
  addValue(command, "--block", options.block, "FRAMES", "Block, over which knobs glide (512)");
  command.add_flag("--no-preroll", options.raw,
                   "Let the knobs glide in over the first block, as the plug-in starts");
  addValue(command, "-j,--jobs", options.threads, "N", "Files to render at the same time (1)");
  command.add_flag("-q,--quiet", options.quiet, "No progress bar and no summary");
  command.footer("File types, by the ending of OUT: " + fileTypeNames() +
                 ".\n.sd2 is only read, .raw (without a header) only written.");
  addSettingsOptions(command, options.knobs);
}

void addPlotOptions(CLI::App& command, Options& options) {
  addValue(command, "-o,--output", options.output, "OUT", "Picture to write, .png or .svg")
      ->required();
  addValue(command, "--page", options.page, "PAGE", "tone, transfer, spectrum or all (all)");
  addValue(command, "--rate", options.rate, "HZ", "Sample rate (48000)");
  addValue(command, "--note", options.note, "HZ", "Note of the spectrum (110)");
  addSettingsOptions(command, options.knobs);
}

void addMeasureOptions(CLI::App& command, Options& options) {
  addValue(command, "--rate", options.rate, "HZ", "Sample rate (48000)");
  addValue(command, "--note", options.sine, "HZ", "Frequency of the sine (220)");
  addSettingsOptions(command, options.knobs);
}

std::string summary(const Job& job, const RenderResult& result) {
  const auto level = [](std::optional<double> value, const char* unit) {
    return value ? fmt::format("{:.1f} {}", *value, unit) : std::string("none");
  };
  return fmt::format("{}: {:.2f} s, {:.1f} times real time, peak {}, loudness {}\n",
                     job.output.string(), result.seconds,
                     result.seconds / std::max(result.elapsed, 1e-9),
                     level(result.peak_dbfs, "dBFS"), level(result.loudness_lufs, "LUFS"));
}

void warn(const Job& job, const RenderResult& result) {
  if (result.clipped > 0) {
    fmt::print(stderr,
               "quellard: warning: {}: {} samples clipped, turn MASTER down or write floats\n",
               job.output.string(), result.clipped);
  }
  if (result.lateMoves > 0) {
    fmt::print(stderr, "quellard: warning: {}: {} knob moves lie after its end\n",
               job.output.string(), result.lateMoves);
  }
}

int report(const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes, bool quiet) {
  int status = kDone;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const Outcome& outcome = outcomes[i];
    if (!outcome.result) {
      fmt::print(stderr, "quellard: {}\n", outcome.error);
      status = kFileTrouble;
      continue;
    }
    if (!quiet) fmt::print("{}", summary(jobs[i], *outcome.result));
    std::fflush(stdout);  // a warning follows the line that it is about
    warn(jobs[i], *outcome.result);
  }
  return status;
}

int render(const Options& options) {
  if (options.output.empty()) throw UsageError("--output: '' is no name for a file");
  RenderSettings settings;
  settings.blockLength = integerWithin("--block", options.block, 1, kLongestBlock);
  settings.tailSeconds = numberWithin("--tail", options.tail, 0.0, kLongestTail);
  settings.mono = options.mono;
  settings.settle = !options.raw;
  settings.sampleFormat = options.sampleFormat;
  const int threads = integerWithin("--jobs", options.threads, 1, kMostThreads);

  const PluginModule module(PluginModule::find(options.plugin));
  settings.start = startFrom(options.knobs);
  int channel = channelOf(settings.start, module);
  if (!options.automation.empty()) {
    settings.moves = readAutomation(options.automation, channel);
    channel = channelAtStart(settings.moves, channel);
  }
  turnKnobs(options.knobs, channel, settings.start);
  const std::vector<Job> jobs = planJobs({options.inputs.begin(), options.inputs.end()},
                                         options.output, options.fileType, options.sampleFormat);
  Progress progress(!options.quiet && isatty(STDERR_FILENO) != 0);
  const std::vector<Outcome> outcomes = runJobs(module, jobs, settings, threads, progress);
  progress.clear();
  return report(jobs, outcomes, options.quiet);
}

int plot(const Options& options) {
  PlotSettings settings;
  settings.page = parsePlotPage(options.page);
  settings.rate = integerWithin("--rate", options.rate, 8000, 384000);
  settings.note_hz = numberWithin("--note", options.note, 20.0, 2000.0);
  const PluginModule module(PluginModule::find(options.plugin));
  settings.start = resolveKnobs(options.knobs, module);
  plotAmplifier(module, options.output, settings);
  return kDone;
}

int measure(const Options& options) {
  const int rate = integerWithin("--rate", options.rate, 8000, 384000);
  const double note_hz = numberWithin("--note", options.sine, 20.0, 2000.0);
  const PluginModule module(PluginModule::find(options.plugin));
  fmt::print("{}", listGains(module, resolveKnobs(options.knobs, module), rate, note_hz));
  return kDone;
}

int list(const CLI::App& command, const Options& options) {
  if (command.get_name() == "presets") {
    fmt::print("{}", listPresets());
    return kDone;
  }
  const PluginModule module(PluginModule::find(options.plugin));
  if (command.get_name() == "programs") {
    fmt::print("{}", listPrograms(module));
  } else if (command.get_name() == "info") {
    fmt::print("{}", describePlugin(module));
  } else {
    fmt::print("{}", listParameters(module, resolveKnobs(options.knobs, module)));
  }
  return kDone;
}

CLI::App& addCommand(CLI::App& app, Options& options, const char* name, const char* purpose) {
  CLI::App& command = *app.add_subcommand(name, purpose);
  addValue(command, "--plugin", options.plugin, "FILE", "The plug-in, if not the one found");
  return command;
}

void buildApp(CLI::App& app, Options& options) {
  app.require_subcommand(1);
  app.set_version_flag("--version", "quellard " QUELLARD_VERSION);
  addRenderOptions(addCommand(app, options, "render", "Play audio files through the amplifier"),
                   options);
  addSettingsOptions(addCommand(app, options, "params", "List the parameters"), options.knobs);
  addCommand(app, options, "programs", "List the programs");
  app.add_subcommand("presets", "List the factory presets");
  addCommand(app, options, "info", "Tell what the plug-in says about itself");
  addPlotOptions(addCommand(app, options, "plot", "Draw what the knobs and channels do"), options);
  addMeasureOptions(addCommand(app, options, "measure", "Measure distortion and level over GAIN"),
                    options);
}

// A wrong command line in one line, with what a mistyped option or command may have meant.
std::string explain(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const CLI::App& command = chosen.empty() ? app : *chosen.front();
  const std::vector<std::string> unknown = command.remaining(true);
  if (unknown.empty()) return error.what();
  std::vector<std::string> known;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  for (const CLI::App* subcommand : command.get_subcommands({})) {
    known.push_back(subcommand->get_name());
  }
  const bool isOption = unknown.front().starts_with('-');
  return fmt::format("unknown {} '{}'{}",
                     isOption ? "option" : (chosen.empty() ? "command" : "argument"),
                     unknown.front(), suggestion(unknown.front(), known));
}

int dispatch(const CLI::App& app, const Options& options) {
  const CLI::App& command = *app.get_subcommands().front();
  if (command.get_name() == "render") return render(options);
  if (command.get_name() == "plot") return plot(options);
  if (command.get_name() == "measure") return measure(options);
  return list(command, options);
}

// The command line from its last word to its first, as the parser takes it. After "--" all are
// files: one that begins with a dash gets its folder put in front. The parser's own rule for "--"
// fails once a file has been named.
std::vector<std::string> wordsBackwards(int argc, const char* const* argv) {
  std::vector<std::string> words;
  bool onlyFiles = false;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (!onlyFiles && word == "--") {
      onlyFiles = true;
      continue;
    }
    words.push_back(onlyFiles && word.starts_with('-') ? "./" + word : word);
  }
  std::reverse(words.begin(), words.end());
  return words;
}

int tell(const std::string& message, int status) {
  fmt::print(stderr, "quellard: {}\n", message);
  return status;
}

}  // namespace

int runCommand(int argc, const char* const* argv) {
  CLI::App app("Plays recordings through a three-channel guitar amplifier.", "quellard");
  Options options;
  buildApp(app, options);
  watchSignals();
  try {
    app.parse(wordsBackwards(argc, argv));
    const int status = dispatch(app, options);
    if (std::fflush(stdout) != 0) throw FileError("cannot write to standard output");
    return status;
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    return tell(explain(app, error), kWrongUsage);
  } catch (const UsageError& error) {
    return tell(error.what(), kWrongUsage);
  } catch (const Interrupted&) {
    dieOfSignal();
  } catch (const std::exception& error) {
    return tell(error.what(), kFileTrouble);
  }
}

}  // namespace quellard

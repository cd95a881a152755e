// SPDX-License-Identifier: ISC
#include "tools/cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "params/factory_bank.h"
#include "tools/command_line/command_line.h"
#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/common/parsing.h"
#include "tools/common/standard_streams.h"
#include "tools/face/face_picture.h"
#include "tools/files/audio_format.h"
#include "tools/files/streams.h"
#include "tools/files/utf8_path.h"
#include "tools/host/batch.h"
#include "tools/listing.h"
#include "tools/measure/gain_table.h"
#include "tools/measure/note_list.h"
#include "tools/measure/plot.h"
#include "tools/quellard_pages.h"
#include "tools/render_options.h"
#include "tools/report.h"
#include "tools/settings/cabinet_file.h"
#include "tools/settings/chosen_settings.h"
#include "tools/settings/presets.h"
#include "tools/sweep_command.h"

namespace quellard {
namespace {

constexpr double kSmallestScale = 0.25;
constexpr double kLargestScale = 8.0;

struct Options {
  std::string plugin;
  SettingsOptions knobs;
  RigOptions rig;
  std::vector<std::string> inputs;
  std::string output;
  RenderOptions render;
  bool noPreroll = false;
  bool json = false;
  PlotSettings plot;
  std::string shown;
  std::string page = "all";
  std::string rate = "48000";
  std::string note = "110";
  std::string sine = "220";
  std::string scale = "1";
  TuningOptions tuning;
  SweepOptions sweep;
};

// The selector in one of the plug-in's programs, by the option for it.
float programSelector(const SettingsOptions& options, const PluginModule& module) {
  PluginInstance instance(module);
  instance.setProgram(startFrom(options).program);
  return instance.parameter(kTypeParameter);
}

// automation: a file; none for "".
ChosenSettings chooseFor(const PluginModule& module, const NamedSettings& settings,
                         const std::string& automation = {}) {
  ReadMoves readMoves;
  if (!automation.empty()) {
    readMoves = [&](int channel) { return readAutomation(pathFrom(automation), channel); };
  }
  return choose(settings, readMoves, programSelector(settings.knobs, module));
}

StartingPoint resolveKnobs(const SettingsOptions& options, const PluginModule& module) {
  return chooseFor(module, {options, {}}).start;
}

void addInputs(CLI::App& command, Options& options) {
  command.add_option("IN", options.inputs, "Audio files, or folders of them; - is standard input")
      ->type_name("FILE")
      ->required();
}

void addRenderOptions(CLI::App& command, Options& options) {
  addInputs(command, options);
  addValue(command, "-o,--out", options.output, "OUT",
           "File to write, or a folder for several; - is standard output")
      ->required();
  command.add_flag("--no-preroll", options.noPreroll,
                   "Let the knobs glide in over the first block, as in a host");
  addSharedRenderOptions(command, options.render);
  command.footer("File types, by the ending of OUT: " + fileTypeNames() +
                 ".\n.sd2 is only read, .raw (without a header) only written.");
}

void addPlotOptions(CLI::App& command, Options& options) {
  addValue(command, "-o,--out", options.output, "OUT", "Picture to write, .png or .svg")
      ->required();
  addValue(command, "--page", options.page, "PAGE", "tone, transfer, spectrum or all (all)");
  addValue(command, "--rate", options.rate, "HZ", "Sample rate (48000)");
  addValue(command, "--note", options.note, "HZ", "Note of the spectrum (110)");
  addSettingsOptions(command, options.knobs);
}

void addFaceOptions(CLI::App& command, Options& options) {
  addValue(command, "-o,--out", options.output, "OUT", "Picture to write, .png")->required();
  addValue(command, "--scale", options.scale, "N", "Times 960 x 600 pixels (1)");
  addSettingsOptions(command, options.knobs);
  addRigOptions(command, options.rig);
}

void addMeasureOptions(CLI::App& command, Options& options) {
  addValue(command, "--rate", options.rate, "HZ", "Sample rate (48000)");
  addValue(command, "--note", options.sine, "HZ", "Frequency of the sine (220)");
  addSettingsOptions(command, options.knobs);
}

void addTuneOptions(CLI::App& command, Options& options) {
  addInputs(command, options);
  addTuningOptions(command, options.tuning);
  command.footer("Tunings: " + tuningNames() + ".");
}

std::string nameOfInput(const std::filesystem::path& input) {
  return isStandardInput(input) ? "standard input" : input.string();
}

std::string nameOfOutput(const Job& job) {
  return isStandardOutput(job.output) ? "standard output" : job.output.string();
}

// The guitar's peak, and how far it is from what the presets expect.
std::string guitarLevel(std::optional<double> peak_dbfs) {
  if (!peak_dbfs) return "silent";
  const double offset = offsetFromPresetInput_db(*peak_dbfs);
  std::string level = fmt::format("{:.1f} dBFS", *peak_dbfs);
  if (std::abs(offset) < 0.05) return level;
  return fmt::format("{} ({:.1f} dB {} the presets' range)", level, std::abs(offset),
                     offset < 0.0 ? "below" : "above");
}

std::string summary(const Job& job, const RenderResult& result) {
  const auto level = [](std::optional<double> value, const char* unit) {
    return value ? fmt::format("{:.1f} {}", *value, unit) : std::string("none");
  };
  const std::string gate = result.gateClosed > 0.0
                               ? fmt::format(", gate closed {:.0f} %", result.gateClosed * 100.0)
                               : "";
  return fmt::format("{}: {:.2f} s, {:.1f} times real time, guitar {}{}, peak {}, loudness {}",
                     nameOfOutput(job), result.seconds,
                     result.seconds / std::max(result.elapsed, 1e-9),
                     guitarLevel(result.inputPeak_dbfs), gate, level(result.peak_dbfs, "dBFS"),
                     level(result.loudness_lufs, "LUFS"));
}

void warn(const Job& job, const RenderResult& result) {
  const auto reportFor = [](const std::string& file, const std::string& what) {
    report(fmt::format("warning: {}: {}", file, what));
  };
  const std::string output = nameOfOutput(job);
  if (result.truncated) {
    reportFor(
        nameOfInput(job.input),
        fmt::format("cut short or damaged, played as far as it goes ({:.2f} s)", result.seconds));
  }
  if (result.clipped > 0) {
    reportFor(output, fmt::format("{} sample{} clipped, turn MASTER down or write floats",
                                  result.clipped, result.clipped == 1 ? "" : "s"));
  }
  if (result.lateMoves > 0) {
    reportFor(output, fmt::format("{} after its end",
                                  result.lateMoves == 1
                                      ? "1 knob move lies"
                                      : fmt::format("{} knob moves lie", result.lateMoves)));
  }
}

// Standard output, unless the audio goes there.
std::FILE* reportStream(const std::vector<Job>& jobs) {
  return isStandardOutput(jobs.front().output) ? stderr : stdout;
}

int reportAll(const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes, bool summaries) {
  int status = kDone;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const Outcome& outcome = outcomes[i];
    if (!outcome.result) {
      status = report(outcome.error, kFileTrouble);
      continue;
    }
    if (summaries) print(oneLine(summary(jobs[i], *outcome.result)) + '\n', reportStream(jobs));
    warn(jobs[i], *outcome.result);
    if (outcome.result->truncated) status = kFileTrouble;
  }
  return status;
}

int render(const Options& options) {
  RenderSettings settings;
  settings.rig.blockLength = blockLengthFrom(options.render);
  settings.tailSeconds = tailSecondsFrom(options.render);
  settings.mono = options.render.mono;
  settings.preroll = !options.noPreroll;
  settings.sampleFormat = options.render.sampleFormat;
  settings.streamType = options.render.fileType;
  const int threads = threadsFrom(options.render);

  const PluginModule module(PluginModule::find(options.plugin));
  ChosenSettings chosen = chooseFor(module, options.render.settings, options.render.automation);
  settings.rig.start = std::move(chosen.start);
  settings.rig.values = chosen.rig;
  settings.rig.cabinet = chosen.cabinet;
  settings.moves = std::move(chosen.moves);
  if (!settings.rig.cabinet.file.empty()) checkCabinet(settings.rig.cabinet);
  const std::vector<Job> jobs = planJobs(pathsFrom(options.inputs), pathFrom(options.output),
                                         options.render.fileType, options.render.sampleFormat);
  makeFolders(jobs);
  Progress progress(!options.render.quiet && isTerminal(STDERR_FILENO));
  const std::vector<Outcome> outcomes = runJobs(module, jobs, settings, threads, progress);
  progress.clear();
  const int status = reportAll(jobs, outcomes, !options.render.quiet && !options.json);
  if (options.json) {
    print(reportAsJson(jobs, outcomes), reportStream(jobs));
  }
  return status;
}

int plot(const Options& options) {
  PlotSettings settings;
  settings.page = parsePlotPage(options.page);
  settings.rate = integerWithin("--rate", options.rate, 8000, 384000);
  settings.note_hz = numberWithin("--note", options.note, 20.0, 2000.0);
  const PluginModule module(PluginModule::find(options.plugin));
  settings.start = resolveKnobs(options.knobs, module);
  plotAmplifier(module, pathFrom(options.output), settings);
  return kDone;
}

int face(const Options& options) {
  const double scale = numberWithin("--scale", options.scale, kSmallestScale, kLargestScale);
  HostedValues values =
      withAmplifier(defaultHostedValues(), settingsFrom(options.knobs, defaultValues()));
  applyRig(options.rig, values);
  CabinetChoice cabinet;
  applyCabinet(options.rig, cabinet);
  drawFace(values, cabinet, options.knobs.preset, scale, pathFrom(options.output));
  return kDone;
}

int measure(const Options& options) {
  const int rate = integerWithin("--rate", options.rate, 8000, 384000);
  const double note_hz = numberWithin("--note", options.sine, 20.0, 2000.0);
  const PluginModule module(PluginModule::find(options.plugin));
  print(listGains(module, resolveKnobs(options.knobs, module), rate, note_hz));
  return kDone;
}

// A file that cannot be read is reported, and the others are listened to all the same.
int tune(const Options& options) {
  const TuningSettings settings = tuningFrom(options.tuning);
  std::vector<HeardFile> files;
  for (const auto& input : findInputs(pathsFrom(options.inputs))) {
    files.push_back(listenTo(input, settings));
  }
  print(options.json ? notesAsJson(files, settings) : listNotes(files, settings));
  int status = kDone;
  for (const HeardFile& file : files) {
    if (!file.error.empty()) status = report(file.error, kFileTrouble);
    if (file.truncated) {
      status = report(fmt::format("warning: {}: cut short or damaged, heard as far as it goes "
                                  "({:.2f} s)",
                                  nameOfInput(file.input), file.seconds),
                      kFileTrouble);
    }
  }
  return status;
}

int show(const Preset& preset, bool json) {
  print(json ? presetsAsJson({preset})
             : writeSettings(
                   {preset.description, withAmplifier(defaultHostedValues(), preset.values)}));
  return kDone;
}

// Preset files with mistakes are reported and left out.
int presets(const Options& options) {
  if (!options.shown.empty()) return show(findPreset(options.shown), options.json);
  const PresetList list = listPresetFiles();
  print(options.json ? presetsAsJson(list.presets) : listPresets(list.presets));
  std::fflush(stdout);
  for (const std::string& error : list.errors) report(error, kFileTrouble);
  return list.errors.empty() ? kDone : kFileTrouble;
}

int list(const CLI::App& command, const Options& options) {
  const std::string& name = command.get_name();
  const bool json = options.json;
  const PluginModule module(PluginModule::find(options.plugin));
  if (name == "programs") {
    print(json ? programsAsJson(module) : listPrograms(module));
  } else if (name == "info") {
    print(json ? pluginAsJson(module) : describePlugin(module));
  } else {
    const StartingPoint start = resolveKnobs(options.knobs, module);
    print(json ? parametersAsJson(module, start) : listParameters(module, start));
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
  addSweepOptions(
      *app.add_subcommand("sweep", "Play takes with many settings, and list what came of it"),
      options.sweep);
  addSettingsOptions(addCommand(app, options, "params", "List the parameters"), options.knobs);
  addCommand(app, options, "programs", "List the programs");
  addValue(*app.add_subcommand("presets", "List the presets, the factory's and your own"), "--show",
           options.shown, "NAME", "Print what one sets, in the form of a preset file");
  addCommand(app, options, "info", "Tell what the plug-in says about itself");
  addPlotOptions(addCommand(app, options, "plot", "Draw what the knobs and channels do"), options);
  addFaceOptions(*app.add_subcommand("face", "Draw the amplifier's face with these settings"),
                 options);
  addMeasureOptions(addCommand(app, options, "measure", "Measure distortion and level over GAIN"),
                    options);
  addTuneOptions(
      *app.add_subcommand("tune", "Tell the notes of recordings, and how far off they are"),
      options);
  for (const char* name : {"render", "params", "programs", "presets", "info", "tune"}) {
    app.get_subcommand(name)->add_flag("--json", options.json, "Print JSON, for other programs");
  }
  addQuellardPages(app);
}

int dispatch(const CLI::App& app, const Options& options) {
  const CLI::App& command = *app.get_subcommands().front();
  if (command.get_name() == "render") return render(options);
  if (command.get_name() == "sweep") return sweep(options.sweep);
  if (command.get_name() == "plot") return plot(options);
  if (command.get_name() == "face") return face(options);
  if (command.get_name() == "measure") return measure(options);
  if (command.get_name() == "tune") return tune(options);
  if (command.get_name() == "presets") return presets(options);
  return list(command, options);
}

// The command line in reverse order, as the parser takes it. After "--" all words are files, and
// one that begins with a dash gets "./" in front, since the parser handles "--" wrongly after a
// file.
std::vector<std::string> reversedWords(int argc, const char* const* argv) {
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

int parseAndDispatch(CLI::App& app, const Options& options, std::vector<std::string> words) {
  try {
    app.parse(std::move(words));
    refuseEmptyValues(app);
    return dispatch(app, options);
  } catch (const CLI::Success& success) {  // --help and --version
    print(helpText(app, success));
    return kDone;
  } catch (const CLI::ParseError& error) {
    return report(explanation(app, error), kWrongUsage);
  }
}

}  // namespace

int runCommand(int argc, const char* const* argv) {
  CLI::App app("Plays recordings through a three-channel guitar amplifier.", "quellard");
  Options options;
  app.allow_windows_style_options(false);  // a word that begins with a slash is a file
  buildApp(app, options);
  holdStandardStreams();
  watchSignals();
  try {
    return parseAndDispatch(app, options, reversedWords(argc, argv));
  } catch (const UsageError& error) {
    return report(error.what(), kWrongUsage);
  } catch (const Interrupted&) {
    dieOfSignal();
  } catch (const std::exception& error) {
    return report(explanation(error), kFileTrouble);
  }
}

}  // namespace quellard

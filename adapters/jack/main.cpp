// SPDX-License-Identifier: ISC
// The program quellard-jack: the amplifier as a JACK client, with its face where there is a
// display, a panel in a terminal, and without either elsewhere.
#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/jack/amp_client.h"
#include "adapters/jack/jack_face.h"
#include "adapters/jack/manual.h"
#include "adapters/jack/panel.h"
#include "adapters/jack/state_file.h"
#include "tools/command_line/command_line.h"
#include "tools/common/errors.h"
#include "tools/common/standard_streams.h"
#include "tools/settings/presets.h"
#include "tools/settings/rig_options.h"
#include "tools/settings/settings_options.h"
#include "tools/settings/tuning_options.h"

namespace quellard {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

struct Options {
  SettingsOptions settings;
  RigOptions rig;
  TuningOptions tuning;
  std::string name = "quellard";
  std::string state;
  bool forgets = false;
  bool stereo = false;
  bool headless = false;
  bool terminal = false;
  bool window = false;
  bool alone = false;
};

std::atomic<bool> stopped = false;

// Errors are ignored: the amplifier goes on playing when its terminal has been closed.
void print(std::FILE* to, const std::string& line) {
  std::fputs((oneLine(line) + '\n').c_str(), to);
  std::fflush(to);
}

void complain(const std::string& message) { print(stderr, "quellard-jack: " + message); }

void watchSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;  // nohup and background jobs ask for that
    action.sa_handler = [](int) { stopped = true; };
    sigaction(signal, &action, nullptr);
  }
  // A stopped client would be removed by its server, and a closed pipe must not end the sound.
  std::signal(SIGTSTP, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

bool goesOn(const AmpClient& client) { return !stopped && !client.serverIsGone(); }

SettingsText settingsNow(AmpClient& client) {
  const Preset* const preset = client.lastPreset();
  SettingsText now = {preset != nullptr ? preset->name : "", client.amp().hostedValues(),
                      client.cabinet()};
  now.values[kBypassParameter] = neutralValue(kBypassParameter);  // it begins audible
  return now;
}

// Returns what there is to tell the player, mostly "".
std::string lookAfter(AmpClient& client, StateFile& state) {
  const bool restarted = client.followRate();
  state.follow(settingsNow(client));
  return restarted ? client.cabinetFault() : "";
}

void runHeadless(AmpClient& client, StateFile& state) {
  while (goesOn(client)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::string message = lookAfter(client, state);
    if (!message.empty()) complain(message);
  }
}

// False when the terminal has been closed. saved: receives the names of the presets that were
// saved.
bool runPanel(Panel& panel, AmpClient& client, StateFile& state, std::vector<std::string>& saved) {
  Panel::Next next = Panel::Next::stay;
  while (goesOn(client) && next == Panel::Next::stay) {
    next = panel.refresh();
    std::string message = lookAfter(client, state);
    if (!message.empty()) panel.say(std::move(message));
  }
  saved = panel.saved();
  return next != Panel::Next::terminalIsClosed;
}

// False when the display is gone and the sound is to go on.
bool runFace(JackFace& face, AmpClient& client, StateFile& state) {
  bool isShown = true;
  while (goesOn(client) && isShown) {
    isShown = face.refresh();
    const std::string message = lookAfter(client, state);
    if (!message.empty()) complain(message);
  }
  return !goesOn(client) || face.isClosed();
}

enum class Show { nothing, window, panel };

// The face where there is a display, else the panel where there is a terminal.
Show whatToShow(const Options& options) {
  const bool inTerminal = isTerminal(STDIN_FILENO) && isTerminal(STDOUT_FILENO);
  if (options.headless) return Show::nothing;
  if (options.terminal) return inTerminal ? Show::panel : Show::nothing;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
  const char* const display = std::getenv("DISPLAY");
  if (options.window || (display != nullptr && *display != '\0')) return Show::window;
  return inTerminal ? Show::panel : Show::nothing;
}

void runSilently(AmpClient& client, StateFile& state) {
  print(stdout, fmt::format("{} plays at {} Hz with {} frames", client.name(), client.rate(),
                            client.period()));
  runHeadless(client, state);
}

// Whether the player has ended it there; otherwise the sound goes on without a window.
bool playInWindow(AmpClient& client, StateFile& state, bool must) {
  const std::unique_ptr<JackFace> face = JackFace::open(client);
  if (face == nullptr) {
    if (must) throw std::runtime_error("no display to open a window on");
    return false;
  }
  print(stdout, fmt::format("{} plays at {} Hz with {} frames; --terminal is the panel",
                            client.name(), client.rate(), client.period()));
  return runFace(*face, client, state);
}

// Returns the names of the presets that were saved on the way.
std::vector<std::string> runUntilEnd(AmpClient& client, StateFile& state, const Options& options,
                                     const TuningSettings& tuning, const std::string& message) {
  std::vector<std::string> saved;
  const Show show = whatToShow(options);
  if (show == Show::window && playInWindow(client, state, options.window)) return saved;
  const bool inTerminal = isTerminal(STDIN_FILENO) && isTerminal(STDOUT_FILENO);
  if (show == Show::panel || (show == Show::window && inTerminal && goesOn(client))) {
    if (const auto panel = Panel::open(client, tuning)) {
      panel->say(message);
      if (runPanel(*panel, client, state, saved)) return saved;
    } else {
      complain("this terminal cannot show the panel; playing without it");
    }
  }
  runSilently(client, state);
  return saved;
}

// Reads the state file and sets the client's presets and values from it and from the options.
// Returns a notice for the panel, "" for none.
std::string setUp(AmpClient& client, StateFile& state, const Options& options) {
  const SettingsText remembered = state.read().value_or(SettingsText{});
  if (!state.notice().empty()) complain(state.notice());
  PresetList list = listPresetFiles();
  for (const std::string& error : list.errors) complain(error);
  std::string current = remembered.description;
  if (!options.settings.program.empty()) current.clear();
  if (!options.settings.preset.empty()) current = findPreset(options.settings.preset).name;
  client.setPresets(std::move(list.presets), current);
  HostedValues values = withAmplifier(
      remembered.values, settingsFrom(options.settings, amplifierValues(remembered.values)));
  applyRig(options.rig, values);
  client.amp().setHostedValues(values);
  CabinetChoice cabinet = remembered.cabinet;
  applyCabinet(options.rig, cabinet);
  if (!cabinet.file.empty()) cabinet.file = absolute(cabinet.file);
  client.setCabinet(cabinet);
  return state.notice();
}

// False when the state cannot be written; what else there is to report still follows.
bool remember(AmpClient& client, StateFile& state) try {
  state.write(settingsNow(client));
  return true;
} catch (const FileError& failure) {
  complain(failure.what());
  return false;
}

int play(const Options& options) {
  if (options.forgets && !options.state.empty()) {
    throw UsageError("--state and --no-state cannot both be");
  }
  // A wrong option is reported without a server.
  settingsFrom(options.settings, defaultValues());
  HostedValues unused = defaultHostedValues();
  applyRig(options.rig, unused);
  CabinetChoice any{"any"};  // as one may be remembered
  applyCabinet(options.rig, any);
  const TuningSettings tuning = tuningFrom(options.tuning);
  AmpClient client(options.name, options.stereo ? HostedAmp::kStereo : HostedAmp::kMono);
  std::filesystem::path file = options.state;
  if (file.empty() && !options.forgets) file = StateFile::defaultFor(client.name());
  StateFile state(file);
  std::string notice = setUp(client, state, options);
  watchSignals();
  client.start(!options.alone);
  if (!client.cabinetFault().empty()) {
    if (!options.rig.cab.empty()) throw FileError(client.cabinetFault());
    notice = client.cabinetFault();
    complain(notice);
  }
  if (!options.alone && !client.isHeard()) {
    complain("the server has no outputs to play to; connect it by hand");
  }
  const auto saved = runUntilEnd(client, state, options, tuning, notice);
  const bool remembered = remember(client, state);
  for (const std::string& name : saved) {
    print(stdout, fmt::format("saved: quellard-jack {}", presetOption(name)));
  }
  print(stdout, fmt::format("{} xruns", client.xruns()));
  if (client.serverIsGone()) complain("the JACK server has gone");
  return remembered && !client.serverIsGone() ? 0 : kFailed;
}

void buildApp(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "quellard-jack " QUELLARD_VERSION);
  addSettingsOptions(app, options.settings);
  addRigOptions(app, options.rig);
  addTuningOptions(app, options.tuning);
  addValue(app, "--state", options.state, "FILE",
           "Where the settings are kept from one time to the next (quellard/jack/NAME.state in the "
           "user's state folder)");
  app.add_flag("--no-state", options.forgets, "Start with the default values and store nothing");
  app.add_flag("--stereo", options.stereo, "One amplifier for each side");
  addValue(app, "--name", options.name, "NAME", "Name of the JACK client (quellard)");
  app.add_flag("--no-connect", options.alone, "Leave the connections to others");
  CLI::Option* const window = app.add_flag("--window", options.window,
                                           "Show the face in a window, as it does on a display");
  CLI::Option* const terminal =
      app.add_flag("--terminal", options.terminal, "Show the panel in the terminal instead");
  terminal->excludes(window);
  app.add_flag("--headless", options.headless, "Show nothing")
      ->excludes(window)
      ->excludes(terminal);
  app.footer(
      "It begins with the settings that it ended with. --program and --preset replace them all, "
      "the other knobs change what they name.\nTunings: " +
      tuningNames() + ".");
  addProgramPages(app, settingsValues(), jackManual());
}

int run(int argc, char** argv) {
  CLI::App app("A three-channel guitar amplifier on JACK.", "quellard-jack");
  Options options;
  buildApp(app, options);
  try {
    app.parse(argc, argv);
    refuseEmptyValues(app);
    return play(options);
  } catch (const CLI::Success& success) {
    printOut(helpText(app, success));
    return 0;
  } catch (const CLI::ParseError& error) {
    complain(explanation(app, error));
    return kWrongUsage;
  } catch (const UsageError& error) {
    complain(error.what());
    return kWrongUsage;
  }
}

}  // namespace
}  // namespace quellard

int main(int argc, char** argv) try {
  quellard::holdStandardStreams();
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread yet; the panel needs it for UTF-8
  std::setlocale(LC_CTYPE, "");
  return quellard::run(argc, argv);
} catch (const std::exception& error) {
  quellard::complain(quellard::explanation(error));
  return quellard::kFailed;
}

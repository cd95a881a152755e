// SPDX-License-Identifier: ISC
// quellard-jack: plug in and play. In a terminal it shows the amplifier's front, elsewhere it plays
// until it is told to end.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <strings.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "adapters/jack/amp_client.h"
#include "adapters/jack/panel.h"
#include "adapters/shared/value_text.h"
#include "params/factory_bank.h"

namespace quellard {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

struct Options {
  std::string name = "quellard";
  std::string preset;
  std::vector<std::string> settings;
  bool stereo = false;
  bool headless = false;
  bool alone = false;
};

std::atomic<bool> stopped = false;

void stopOnSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    action.sa_handler = [](int) { stopped = true; };
    sigaction(signal, &action, nullptr);
  }
}

// "vintage_gain=7.5" or "type=clean", with the symbols of the parameter table.
void applySetting(HostedAmp::Values& values, const std::string& text) {
  const std::size_t equals = text.find('=');
  for (const ParameterInfo& parameter : kParameters) {
    if (parameter.index == 0 || text.substr(0, equals) != parameter.symbol) continue;
    if (equals == std::string::npos) break;
    const auto value = valueFromText(parameter.index, text.substr(equals + 1));
    if (!value) break;
    values[static_cast<std::size_t>(parameter.index - 1)] = *value;
    return;
  }
  throw CLI::ValidationError("--set", "'" + text + "' is no setting such as vintage_gain=7.5");
}

// -1 for none. Capital letters need not be typed.
int presetNumber(const std::string& name) {
  if (name.empty()) return -1;
  const auto* const found = std::ranges::find_if(kFactoryBank, [&](const FactoryPreset& preset) {
    return strcasecmp(preset.name, name.c_str()) == 0;
  });
  if (found == kFactoryBank.end())
    throw CLI::ValidationError("--preset",
                               "no preset is called '" + name + "'; 'quellard presets' lists them");
  return static_cast<int>(found - kFactoryBank.begin());
}

void wait(AmpClient& client, bool inTerminal) {
  if (inTerminal) {
    Panel panel(client);
    while (!stopped && !client.serverIsGone() && panel.refresh()) client.followRate();
    return;
  }
  std::printf("%s plays at %u Hz with %u frames\n", client.name().c_str(), client.rate(),
              client.period());
  std::fflush(stdout);
  while (!stopped && !client.serverIsGone()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    client.followRate();
  }
}

int play(const Options& options) {
  const int sides = options.stereo ? HostedAmp::kStereo : HostedAmp::kMono;
  const int preset = presetNumber(options.preset);
  HostedAmp::Values values = preset < 0
                                 ? HostedAmp(sides).values()
                                 : presetValues(kFactoryBank[static_cast<std::size_t>(preset)]);
  for (const std::string& setting : options.settings) applySetting(values, setting);
  AmpClient client(options.name, sides);
  if (preset >= 0) client.loadPreset(preset);
  client.amp().setValues(values);
  stopOnSignals();
  client.start(!options.alone);
  if (!options.alone && !client.isHeard()) {
    std::fputs("quellard-jack: the server has no outputs to play to; connect it by hand\n", stderr);
  }
  wait(client, !options.headless && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0);
  std::printf("%u xruns\n", client.xruns());
  if (!client.serverIsGone()) return 0;
  std::fputs("quellard-jack: the JACK server has gone\n", stderr);
  return kFailed;
}

void buildApp(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "quellard-jack " QUELLARD_VERSION);
  app.add_option("--preset", options.preset, "Factory preset to start from")->type_name("NAME");
  app.add_option("--set", options.settings, "A knob, vintage_gain=7.5, or the channel, type=clean")
      ->type_name("PARAM=VALUE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_flag("--stereo", options.stereo, "One amplifier for each side");
  app.add_option("--name", options.name, "Name of the JACK client (quellard)");
  app.add_flag("--no-connect", options.alone, "Leave the connections to others");
  app.add_flag("--headless", options.headless, "Show nothing, in a terminal either");
}

int run(int argc, char** argv) {
  CLI::App app("A three-channel guitar amplifier on JACK.", "quellard-jack");
  Options options;
  buildApp(app, options);
  try {
    app.parse(argc, argv);
    return play(options);
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "quellard-jack: %s\n", error.what());
    return kWrongUsage;
  }
}

}  // namespace
}  // namespace quellard

int main(int argc, char** argv) try {
  return quellard::run(argc, argv);
} catch (const std::exception& error) {
  std::fprintf(stderr, "quellard-jack: %s\n", error.what());
  return quellard::kFailed;
}

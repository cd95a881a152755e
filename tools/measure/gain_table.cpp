// SPDX-License-Identifier: ISC
#include "tools/measure/gain_table.h"

#include <array>
#include <cmath>
#include <fmt/format.h>
#include <set>

#include "params/decibels.h"
#include "params/parameter_values.h"
#include "tools/host/render_rig.h"
#include "tools/measure/measure.h"

namespace quellard {
namespace {

constexpr std::array<int, 4> kLevels_dbfs = {-54, -30, -18, -6};
constexpr std::array<double, 5> kGainPositions = {0.0, 2.5, 5.0, 7.5, 10.0};
constexpr double kSilence_dbfs = -150.0;

struct ToneLevel {
  double dbfs;
  double thd;  // %
};

// The spectrum's window spreads each harmonic over less than 8 Hz to each side. The sum of its
// bins' powers is then kWindowEnergy times the power of its highest bin.
constexpr double kWidth_hz = 8.0;
constexpr double kWindowEnergy = 2.0044;

ToneLevel summarize(const Curve& spectrum, double note_hz) {
  double fundamental = 0.0, overtones = 0.0;
  for (const Point& point : spectrum) {
    const double number = std::round(point.x / note_hz);
    if (number < 1.0 || std::abs(point.x - number * note_hz) > kWidth_hz) continue;
    double& power = number == 1.0 ? fundamental : overtones;
    power += std::pow(10.0, point.y / 10.0);
  }
  return {10.0 * std::log10((fundamental + overtones) / kWindowEnergy),
          100.0 * std::sqrt(overtones / fundamental)};
}

std::string cells(const ToneLevel& level) {
  if (level.dbfs < kSilence_dbfs) return fmt::format("  {:>7} {:>6}", "silent", "-");
  return fmt::format("  {:>7.1f} {:>6.2f}", level.dbfs, level.thd);
}

// The positions of GAIN in a channel's rows. start: its position at the start.
std::set<double> gainPositions(double start) {
  std::set<double> positions(kGainPositions.begin(), kGainPositions.end());
  positions.insert(std::round(100.0 * start) / 100.0);
  return positions;
}

std::string heading() {
  std::string text = fmt::format("{:<8} {:>5}", "channel", "GAIN");
  for (const int level : kLevels_dbfs) {
    text += fmt::format("  {:>7} {:>6}", fmt::format("at {}", level), "THD %");
  }
  return text + '\n';
}

}  // namespace

std::string listGains(const PluginModule& module, const StartingPoint& start, int rate,
                      double note_hz) {
  PluginInstance atStart(module);
  applyStart(atStart, start);
  std::string text = heading();
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const int knob = knobIndex(channel, kGainKnob);
    for (const double gain : gainPositions(positionFromKnob(atStart.parameter(knob)))) {
      StartingPoint moved = start;
      moved.changes.push_back({kTypeParameter, selectFromChannel(channel)});
      moved.changes.push_back({knob, knobFromPosition(gain)});
      text += fmt::format("{:<8} {:>5.2f}", channelName(channel), gain);
      for (const int level : kLevels_dbfs) {
        const double peak = gainFromDecibels(level);
        text += cells(summarize(measureSpectrum(module, moved, rate, note_hz, peak), note_hz));
      }
      text += '\n';
    }
  }
  return text;
}

}  // namespace quellard

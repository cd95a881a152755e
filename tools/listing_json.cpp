// SPDX-License-Identifier: ISC
#include <fmt/format.h>
#include <optional>

#include "params/parameter_values.h"
#include "params/words.h"
#include "tools/common/json_text.h"
#include "tools/common/parsing.h"
#include "tools/listing.h"
#include "tools/settings/knobs.h"

namespace quellard {
namespace {

using Json = nlohmann::ordered_json;

// The shortest decimal that is read back as this float: 0.7 rather than 0.699999988079071.
double shortest(float value) { return parseNumber(fmt::format("{}", value)).value_or(0.0); }

double position(const PluginInstance& instance, int knob) {
  return positionFromKnob(instance.parameter(knob));
}

std::string knobWord(int knob) { return lowered(parameterInfo(knobIndex(0, knob)).name); }

int playingChannel(const PluginInstance& instance) {
  return channelFromSelect(instance.parameter(kTypeParameter));
}

Json knobsOf(const PluginInstance& instance, int channel) {
  Json knobs = Json::object();
  for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
    knobs[knobWord(knob)] = position(instance, knobIndex(channel, knob));
  }
  return knobs;
}

// The preset's knobs of other channels that differ from their default: {"clean.gain": 3.0}.
Json otherKnobs(const Preset& preset, int channel) {
  Json knobs = Json::object();
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob || info.channel == channel) continue;
    const float value = preset.values[info.index];
    if (value == kKnobDefault) continue;
    knobs[channelWord(info.channel) + '.' + lowered(info.name)] = positionFromKnob(value);
  }
  return knobs;
}

Json selectorAsJson(const PluginInstance& instance) {
  Json choices = Json::array();
  for (int channel = 0; channel < kNumChannels; ++channel) choices.push_back(channelWord(channel));
  return {{"value", channelWord(playingChannel(instance))}, {"choices", choices}};
}

Json valueOrNull(std::optional<double> value) { return value ? Json(*value) : Json(); }

Json resultAsJson(const RenderResult& result) {
  return {{"seconds", result.seconds},
          {"elapsed_seconds", result.elapsed},
          {"input_peak_dbfs", valueOrNull(result.inputPeak_dbfs)},
          {"gate_closed_share", result.gateClosed},
          {"peak_dbfs", valueOrNull(result.peak_dbfs)},
          {"loudness_lufs", valueOrNull(result.loudness_lufs)},
          {"clipped_samples", result.clipped},
          {"late_moves", result.lateMoves},
          {"truncated", result.truncated}};
}

}  // namespace

std::string parametersAsJson(const PluginModule& module, const StartingPoint& start) {
  PluginInstance instance(module);
  applyStart(instance, start);
  Json all = Json::array();
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::none) continue;
    const bool selector = info.kind == ParameterKind::selector;
    Json one = {{"index", info.index},
                {"name", selector ? "channel" : info.symbol},
                {"shown_as", instance.text(effGetParamName, info.index)},
                {"text", trimmed(instance.text(effGetParamDisplay, info.index))},
                {"stored", shortest(instance.parameter(info.index))}};
    if (selector) {
      one.update(selectorAsJson(instance));
    } else {
      one.update({{"value", position(instance, info.index)},
                  {"minimum", 0},
                  {"maximum", 10},
                  {"channel", channelWord(info.channel)}});
    }
    all.push_back(std::move(one));
  }
  return jsonPage({{"parameters", std::move(all)}});
}

std::string programsAsJson(const PluginModule& module) {
  PluginInstance instance(module);
  Json all = Json::array();
  for (int program = 0; program < instance.record().numPrograms; ++program) {
    instance.setProgram(program);
    const int channel = playingChannel(instance);
    all.push_back({{"number", program + 1},
                   {"name", instance.text(effGetProgramName)},
                   {"channel", channelWord(channel)},
                   {"knobs", knobsOf(instance, channel)}});
  }
  return jsonPage({{"programs", std::move(all)}});
}

std::string presetsAsJson(const std::vector<Preset>& presets) {
  Json all = Json::array();
  for (const Preset& preset : presets) {
    const int channel = channelFromSelect(preset.values[kTypeParameter]);
    Json knobs = Json::object();
    for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
      knobs[knobWord(knob)] = positionFromKnob(preset.values[knobIndex(channel, knob)]);
    }
    all.push_back({{"name", preset.name},
                   {"channel", channelWord(channel)},
                   {"knobs", std::move(knobs)},
                   {"other_knobs", otherKnobs(preset, channel)},
                   {"description", preset.description},
                   {"own", !preset.isFactory}});
  }
  return jsonPage({{"presets", std::move(all)}});
}

std::string pluginAsJson(const PluginModule& module) {
  const PluginInstance instance(module);
  const AEffect& record = instance.record();
  return jsonPage({{"plugin", module.file().string()},
                   {"effect_name", instance.text(effGetEffectName)},
                   {"product", instance.text(effGetProductString)},
                   {"vendor", instance.text(effGetVendorString)},
                   {"vendor_version", instance.call(effGetVendorVersion)},
                   {"unique_id", record.uniqueID},
                   {"version", record.version},
                   {"vst_version", instance.call(effGetVstVersion)},
                   {"flags", record.flags},
                   {"parameters", record.numParams},
                   {"programs", record.numPrograms},
                   {"inputs", record.numInputs},
                   {"outputs", record.numOutputs},
                   {"initial_delay_samples", record.initialDelay},
                   {"tail_samples", instance.call(effGetTailSize)},
                   {"command_version", QUELLARD_VERSION}});
}

std::string reportAsJson(const std::vector<Job>& jobs, const std::vector<Outcome>& outcomes) {
  Json files = Json::array();
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    const auto& [result, error] = outcomes[i];
    Json one = {{"input", jobs[i].input.string()}, {"output", jobs[i].output.string()}};
    one.update(result ? resultAsJson(*result) : Json{{"error", error}});
    files.push_back(std::move(one));
  }
  return jsonPage({{"files", std::move(files)}});
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
#include "tools/listing.h"

#include <array>
#include <fmt/format.h>
#include <utility>

#include "params/factory_bank.h"
#include "params/parameter_table.h"
#include "tools/knobs.h"

namespace quellard {
namespace {

// The plug-in pads the texts of values with a place for the sign.
std::string displayed(const PluginInstance& instance, int index) {
  return std::string(trimmed(instance.text(effGetParamDisplay, index)));
}

// How the plug-in itself shows the ends of a parameter's range, or each of its positions.
std::string rangeOf(PluginInstance& scratch, int index) {
  VstParameterProperties properties = {};
  scratch.call(effGetParameterProperties, index, 0, &properties);
  const bool hasPositions = (properties.flags & kVstParameterUsesIntegerMinMax) != 0;
  const int steps = hasPositions ? properties.maxInteger - properties.minInteger : 1;
  std::string range;
  for (int step = 0; step <= steps; ++step) {
    scratch.setParameter(index, static_cast<float>(step) / static_cast<float>(steps));
    if (step > 0) range += hasPositions ? ", " : " to ";
    range += displayed(scratch, index);
  }
  return range;
}

std::string fourLetters(std::int32_t code) {
  std::string letters;
  for (int shift = 24; shift >= 0; shift -= 8) letters += static_cast<char>(code >> shift & 0xff);
  return letters;
}

std::string flagNames(std::int32_t flags) {
  constexpr std::array<std::pair<std::int32_t, const char*>, 6> kNames = {{
      {effFlagsHasEditor, "has an editor"},
      {effFlagsCanReplacing, "can replacing"},
      {effFlagsCanDoubleReplacing, "can double replacing"},
      {effFlagsProgramChunks, "programs as chunks"},
      {effFlagsIsSynth, "synthesizer"},
      {effFlagsNoSoundInStop, "silent when stopped"},
  }};
  std::string names;
  for (const auto& [flag, name] : kNames) {
    if ((flags & flag) != 0) names += (names.empty() ? "" : ", ") + std::string(name);
  }
  return names;
}

std::string orNone(const std::string& text) { return text.empty() ? "none" : text; }

std::string row(const char* name, const std::string& value) {
  return fmt::format("{:<18} {}\n", name, value);
}

// Capabilities that hosts usually ask for, of which the plug-in claims its own.
std::string claims(const PluginInstance& instance) {
  std::string claimed;
  for (const char* ability :
       {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent",
        "receiveVstTimeInfo", "offline", "midiProgramNames", "bypass", "1in1out", "2in2out"}) {
    std::string writable = ability;
    if (instance.call(effCanDo, 0, 0, writable.data()) <= 0) continue;
    claimed += (claimed.empty() ? "" : ", ") + writable;
  }
  return claimed;
}

__attribute__((no_sanitize("vptr"))) std::string describeJacks(Orv_TypeBase& extension) {
  const int dry = extension.getDryInSigNum();
  std::string text;
  text += row("input jacks", fmt::format("{}, the first with {} signal(s) from number {}",
                                         extension.getNumOfInJacks(), extension.getNumOfInSig(0),
                                         extension.getStartNumInSig(0)));
  text += row("output jacks", fmt::format("{}, the first with {} signal(s) from number {}",
                                          extension.getNumOfOutJacks(), extension.getNumOfOutSig(0),
                                          extension.getStartNumOutSig(0)));
  text += row("dry input", dry < 0 ? "none" : fmt::format("signal {}", dry));
  text += row("header version", fmt::format("{}", extension.getHeaderVersion()));
  return text;
}

}  // namespace

std::string listParameters(const PluginModule& module, const StartingPoint& start) {
  PluginInstance instance(module);
  applyStart(instance, start);
  PluginInstance scratch(module);
  constexpr const char* kRow = "{:>5}  {:<17} {:<9} {:>8}  {}\n";
  std::string text = fmt::format(kRow, "index", "name", "shown as", "value", "range");
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::none) continue;
    const bool selector = info.kind == ParameterKind::selector;
    text += fmt::format(kRow, info.index, selector ? "channel" : info.symbol,
                        instance.text(effGetParamName, info.index), displayed(instance, info.index),
                        rangeOf(scratch, info.index));
  }
  return text;
}

std::string listPrograms(const PluginModule& module) {
  PluginInstance instance(module);
  std::string text = fmt::format("{:>6}  {:<24} {:<8}", "number", "name", "channel");
  for (int knob = 1; knob <= kKnobsPerChannel; ++knob) {
    text += fmt::format(" {:>8}", kParameters[static_cast<std::size_t>(knob)].name);
  }
  text += '\n';
  for (int program = 0; program < instance.record().numPrograms; ++program) {
    instance.setProgram(program);
    text += fmt::format("{:>6}  {:<24} {:<8}", program + 1, instance.text(effGetProgramName),
                        displayed(instance, kTypeParameter));
    const int first = channelFromSelect(instance.parameter(kTypeParameter)) * kKnobsPerChannel;
    for (int knob = 1; knob <= kKnobsPerChannel; ++knob) {
      text += fmt::format(" {:>8}", displayed(instance, first + knob));
    }
    text += '\n';
  }
  return text;
}

std::string listPresets() {
  std::string text = fmt::format("{:<24} {:<8}", "name", "channel");
  for (int knob = 1; knob <= kKnobsPerChannel; ++knob) {
    text += fmt::format(" {:>8}", kParameters[static_cast<std::size_t>(knob)].name);
  }
  text += "  good for\n";
  for (const FactoryPreset& preset : kFactoryBank) {
    text += fmt::format("{:<24} {:<8}", preset.name,
                        kChannelNames[static_cast<std::size_t>(preset.channel)]);
    for (const double knob : preset.knobs) text += fmt::format(" {:>8.2f}", knob);
    text += fmt::format("  {}\n", preset.description);
  }
  return text;
}

std::string describePlugin(const PluginModule& module) {
  const PluginInstance instance(module);
  const AEffect& record = instance.record();
  std::string text;
  text += row("plug-in", module.file().string());
  text += row("effect name", instance.text(effGetEffectName));
  text += row("product", instance.text(effGetProductString));
  text += row("vendor", orNone(instance.text(effGetVendorString)));
  text += row("vendor version", fmt::format("{}", instance.call(effGetVendorVersion)));
  text += row("identity", fmt::format("{} (0x{:08X})", fourLetters(record.uniqueID),
                                      static_cast<std::uint32_t>(record.uniqueID)));
  text += row("version", fmt::format("{}", record.version));
  text += row("interface",
              fmt::format("VST {}", static_cast<double>(instance.call(effGetVstVersion)) / 1000.0));
  text +=
      row("category", instance.call(effGetPlugCategory) == kPlugCategEffect ? "effect" : "other");
  text += row("abilities", flagNames(record.flags));
  text += row("parameters", fmt::format("{} (0 is an empty slot)", record.numParams));
  text += row("programs", fmt::format("{}", record.numPrograms));
  text += row("audio", fmt::format("{} in, {} out", record.numInputs, record.numOutputs));
  text += row("delay", fmt::format("{} samples", record.initialDelay));
  text += row("tail", fmt::format("{} samples", instance.call(effGetTailSize)));
  text += row("claims", orNone(claims(instance)));
  if (Orv_TypeBase* extension = instance.extension()) text += describeJacks(*extension);
  return text;
}

}  // namespace quellard

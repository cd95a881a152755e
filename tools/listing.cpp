// SPDX-License-Identifier: ISC
#include "tools/listing.h"

#include <array>
#include <fmt/format.h>
#include <utility>

#include "params/parameter_values.h"
#include "params/words.h"
#include "shell/parameter_properties.h"

namespace quellard {
namespace {

// The plug-in's text of a value, without the leading space that it keeps for a sign.
std::string displayed(const PluginInstance& instance, int index) {
  return std::string(trimmed(instance.text(effGetParamDisplay, index)));
}

std::string knobHeadings() {
  std::string text;
  for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
    text += fmt::format(" {:>8}", parameterInfo(knobIndex(0, knob)).name);
  }
  return text;
}

// The texts of both ends of a parameter's range, or of all its steps.
std::string rangeOf(PluginInstance& scratch, int index) {
  VstParameterProperties properties = {};
  scratch.call(effGetParameterProperties, index, 0, &properties);
  const bool hasSteps = (properties.flags & kVstParameterUsesIntegerMinMax) != 0;
  const int steps = hasSteps ? properties.maxInteger - properties.minInteger : 1;
  std::string range;
  for (int step = 0; step <= steps; ++step) {
    scratch.setParameter(index, static_cast<float>(step) / static_cast<float>(steps));
    if (step > 0) range += hasSteps ? ", " : " to ";
    range += displayed(scratch, index);
  }
  return range;
}

std::string fourLetters(std::intptr_t code) {
  std::string letters;
  for (int shift = 24; shift >= 0; shift -= 8) letters += static_cast<char>(code >> shift & 0xff);
  return fmt::format("{} (0x{:08X})", letters, static_cast<std::uint32_t>(code));
}

void append(std::string& list, const std::string& word) {
  list += (list.empty() ? "" : ", ") + word;
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
    if ((flags & flag) != 0) append(names, name);
  }
  return names;
}

std::string orNone(const std::string& text) { return text.empty() ? "none" : text; }

std::string row(const char* name, const std::string& value) {
  return fmt::format("{:<18} {}\n", name, value);
}

// Those of the capabilities that hosts usually ask for which the plug-in claims to have.
std::string claims(const PluginInstance& instance) {
  std::string claimed;
  for (const char* ability :
       {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent",
        "receiveVstTimeInfo", "offline", "midiProgramNames", "bypass", "1in1out", "2in2out"}) {
    std::string writable = ability;
    if (instance.call(effCanDo, 0, 0, writable.data()) > 0) append(claimed, writable);
  }
  return claimed;
}

// Those of the interface's optional services to which the plug-in does not answer 0.
std::string services(const PluginInstance& scratch) {
  std::array<std::intptr_t, 64> answer = {};  // large enough for every record
  std::array<void*, 2> arrangements = {};
  const auto inputArrangement = reinterpret_cast<std::intptr_t>(arrangements.data());
  std::string served;
  const auto ask = [&](const char* service, std::int32_t opcode, std::intptr_t value, void* to) {
    answer = {};
    if (scratch.call(opcode, 0, value, to) != 0) append(served, service);
  };
  ask("editor", effEditGetRect, 0, answer.data());
  ask("chunks", effGetChunk, 0, answer.data());
  ask("values from text", effString2Parameter, 0, answer.data());
  ask("input pin properties", effGetInputProperties, 0, answer.data());
  ask("output pin properties", effGetOutputProperties, 0, answer.data());
  ask("speaker arrangement", effGetSpeakerArrangement, inputArrangement, &arrangements[1]);
  ask("bypass", effSetBypass, 0, nullptr);
  ask("vendor specific", effVendorSpecific, 0, nullptr);
  return served;
}

std::string propertyFlags(std::int32_t flags) {
  std::string names;
  if ((flags & kVstParameterIsSwitch) != 0) append(names, "switch");
  if ((flags & kVstParameterUsesIntegerMinMax) != 0) append(names, "integer range");
  if ((flags & kVstParameterUsesFloatStep) != 0) append(names, "float step");
  return fmt::format("flags {} ({})", flags, names.empty() ? "none" : names);
}

// The properties of one parameter other than its name and value.
__attribute__((no_sanitize("vptr"))) std::string propertiesOf(PluginInstance& scratch, int index) {
  HostExtension* const extension = scratch.extension();
  ExtendedParameterProperties all = {};
  const VstParameterProperties& properties = all.published;
  const bool hasProperties =
      extension != nullptr ? extension->getParameterProperties(index, &all.published)
                           : scratch.call(effGetParameterProperties, index, 0, &all.published) != 0;
  std::string text = hasProperties ? propertyFlags(properties.flags) : "no properties";
  if ((properties.flags & kVstParameterUsesFloatStep) != 0) {
    text += fmt::format(", step {}", properties.stepFloat);
  }
  if ((properties.flags & kVstParameterUsesIntegerMinMax) != 0) {
    text += fmt::format(", {} to {}, step {}", properties.minInteger, properties.maxInteger,
                        properties.stepInteger);
  }
  if (hasProperties)
    text += fmt::format(", mark {}, shown as {}", all.trailer[0], rangeOf(scratch, index));
  const std::string unit = scratch.text(effGetParamLabel, index);
  if (!unit.empty()) text += ", in " + unit;
  return text + (scratch.call(effCanBeAutomated, index) != 0 ? ", automated" : ", not automated");
}

// One row for each group of consecutive parameters with the same properties.
std::string describeParameters(const PluginModule& module) {
  PluginInstance scratch(module);
  const int count = scratch.record().numParams;
  std::string text;
  for (int first = 0, next = 0; first < count; first = next) {
    const std::string properties = propertiesOf(scratch, first);
    while (next < count && propertiesOf(scratch, next) == properties) ++next;
    const std::string name = next == first + 1
                                 ? fmt::format("parameter {}", first)
                                 : fmt::format("parameters {} to {}", first, next - 1);
    text += row(name.c_str(), properties);
  }
  return text;
}

__attribute__((no_sanitize("vptr"))) std::string describeJacks(HostExtension& extension) {
  const int dry = extension.getDryInSigNum();
  std::string text;
  text += row("input jacks", fmt::format("{}, the first with {} signal(s) from number {}",
                                         extension.getNumOfInJacks(), extension.getNumOfInSig(0),
                                         extension.getStartNumInSig(0)));
  text += row("output jacks", fmt::format("{}, the first with {} signal(s) from number {}",
                                          extension.getNumOfOutJacks(), extension.getNumOfOutSig(0),
                                          extension.getStartNumOutSig(0)));
  text += row("second output",
              fmt::format("{}, the first with {} signal(s)", extension.getNumOfOut1Jacks(),
                          extension.getNumOfOut1Sig(0)));
  text += row("dry input", dry < 0 ? "none" : fmt::format("signal {}", dry));
  text += row("header version", fmt::format("{}", extension.getHeaderVersion()));
  std::array<char, 256> shown = {};
  extension.getParameterDisplayOf(kTypeParameter, 0.5f, shown.data());
  text += row("text of a value", fmt::format("{} at 0.5 is {}", kTypeParameter, shown.data()));
  return text;
}

std::string userDescription(const Preset& preset) {
  return preset.description.empty() ? "(your own)" : preset.description + " (your own)";
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
  text += knobHeadings() + '\n';
  for (int program = 0; program < instance.record().numPrograms; ++program) {
    instance.setProgram(program);
    text += fmt::format("{:>6}  {:<24} {:<8}", program + 1, instance.text(effGetProgramName),
                        displayed(instance, kTypeParameter));
    const int channel = channelFromSelect(instance.parameter(kTypeParameter));
    for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
      text += fmt::format(" {:>8}", displayed(instance, knobIndex(channel, knob)));
    }
    text += '\n';
  }
  return text;
}

std::string listPresets(const std::vector<Preset>& presets) {
  std::string text = fmt::format("{:<24} {:<8}", "name", "channel");
  text += knobHeadings() + "  good for\n";
  for (const Preset& preset : presets) {
    const int channel = channelFromSelect(preset.values[kTypeParameter]);
    text += fmt::format("{:<24} {:<8}", preset.name, channelName(channel));
    for (int knob = 0; knob < kKnobsPerChannel; ++knob) {
      text += fmt::format(" {:>8.2f}", positionFromKnob(preset.values[knobIndex(channel, knob)]));
    }
    text += fmt::format("  {}\n", preset.isFactory ? preset.description : userDescription(preset));
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
  text += row("identity", fourLetters(record.uniqueID));
  text += row("identify", fourLetters(instance.call(effIdentify)));
  text += row("version", fmt::format("{}", record.version));
  text += row("interface",
              fmt::format("VST {}", static_cast<double>(instance.call(effGetVstVersion)) / 1000.0));
  text +=
      row("category", instance.call(effGetPlugCategory) == kPlugCategEffect ? "effect" : "other");
  text += row("abilities", flagNames(record.flags));
  text += row("parameters", fmt::format("{} (0 is an empty slot)", record.numParams));
  text += row("programs", fmt::format("{}", record.numPrograms));
  text += row("audio", fmt::format("{} in, {} out", record.numInputs, record.numOutputs));
  text += row("initial delay", fmt::format("{} samples", record.initialDelay));
  text += row("tail", fmt::format("{} samples", instance.call(effGetTailSize)));
  text += row("io ratio", fmt::format("{}", record.ioRatio));
  text += row("qualities",
              fmt::format("{} real time, {} offline", record.realQualities, record.offQualities));
  text += row("MIDI program", fmt::format("{}", instance.call(effGetCurrentMidiProgram)));
  text += row("can do", orNone(claims(instance)));
  text += row("services", orNone(services(instance)));
  text += describeParameters(module);
  if (HostExtension* extension = instance.extension()) text += describeJacks(*extension);
  return text;
}

}  // namespace quellard

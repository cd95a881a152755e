// SPDX-License-Identifier: ISC
// write_ttl FOLDER MODULE [UI]: writes the files manifest.ttl, quellard.ttl and presets.ttl, from
// which LV2 hosts learn about the plug-ins before they load MODULE, and about their window in the
// module UI.
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>
#include <string>

#include "adapters/lv2/identity.h"
#include "params/factory_bank.h"
#include "params/parameter_text.h"
#include "params/words.h"
#include "rig/value_text.h"

namespace quellard {
namespace {

constexpr const char* kPrefixes = R"(@prefix atom: <http://lv2plug.in/ns/ext/atom#> .
@prefix bufsz: <http://lv2plug.in/ns/ext/buf-size#> .
@prefix doap: <http://usefulinc.com/ns/doap#> .
@prefix foaf: <http://xmlns.com/foaf/0.1/> .
@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix opts: <http://lv2plug.in/ns/ext/options#> .
@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .
@prefix units: <http://lv2plug.in/ns/extensions/units#> .
@prefix urid: <http://lv2plug.in/ns/ext/urid#> .

)";
constexpr const char* kGroupUri = "urn:quellard:group:";
constexpr const char* kPresetUri = "urn:quellard:preset:";

// "edge-of-breakup" from "Edge of Breakup".
std::string asUriPart(const char* name) {
  std::string text(name);
  for (char& c : text) {
    c = c == ' ' ? '-' : lowerCase(c);
  }
  return text;
}

std::string groupUri(int channel) { return kGroupUri + asUriPart(channelTitle(channel).data()); }

// How each port for control begins.
std::string controlPort(std::int64_t index, const char* symbol, const char* name,
                        const char* direction = "lv2:InputPort") {
  return fmt::format(R"(a {} , lv2:ControlPort ;
    lv2:index {} ;
    lv2:symbol "{}" ;
    lv2:name "{}" ;
)",
                     direction, index, symbol, name);
}

std::string decibels(double usual, double lowest, double highest) {
  return fmt::format(R"(    lv2:default {:.1f} ;
    lv2:minimum {:.1f} ;
    lv2:maximum {:.1f} ;
    units:unit units:db)",
                     usual, lowest, highest);
}

constexpr const char* kToggle = R"(    lv2:portProperty lv2:integer , lv2:toggled ;
    lv2:default 1 ;
    lv2:minimum 0 ;
    lv2:maximum 1)";

std::string knobPort(const ParameterInfo& knob) {
  return controlPort(knob.index - 1, knob.symbol, parameterTitle(knob.index).data()) +
         fmt::format(R"(    lv2:shortName "{}" ;
    lv2:default {:.1f} ;
    lv2:minimum 0.0 ;
    lv2:maximum {:.1f} ;
    pg:group <{}>)",
                     controlTitle(knob.index).data(),
                     static_cast<double>(kKnobDefault) * kKnobScale, kKnobScale,
                     groupUri(knob.channel));
}

std::string selectorPort(const ParameterInfo& selector) {
  std::string text =
      controlPort(selector.index - 1, selector.symbol, parameterTitle(selector.index).data()) +
      fmt::format(R"(    lv2:portProperty lv2:integer , lv2:enumeration ;
    lv2:default {} ;
    lv2:minimum 0 ;
    lv2:maximum {})",
                  channelFromSelect(kTypeDefault), kNumChannels - 1);
  for (int channel = 0; channel < kNumChannels; ++channel) {
    text += fmt::format(" ;\n    lv2:scalePoint [ rdfs:label \"{}\" ; rdf:value {} ]",
                        channelName(channel), channel);
  }
  return text;
}

const char* lv2Symbol(int parameter) {
  switch (parameter) {
    case kInputParameter: return "input_level";
    case kGateParameter: return "gate";
    default: return "output_level";
  }
}

// Hosts connect it to their own bypass button.
std::string enabledPort(const Lv2Variant& variant) {
  return controlPort(lv2EnabledPort(variant.sides), "enabled", "Enabled") +
         "    lv2:designation lv2:enabled ;\n" + kToggle;
}

std::string decibelPort(int parameter, int sides) {
  const bool isGate = parameter == kGateParameter;
  const double lowest = isGate ? kGateOff_dbfs : -kMostLevel_db;
  std::string text =
      controlPort(lv2PortOf(parameter, sides), lv2Symbol(parameter),
                  hostedTitle(parameter).data()) +
      decibels(isGate ? kGateOff_dbfs : 0.0, lowest, isGate ? kHighestGate_dbfs : kMostLevel_db);
  if (isGate) {
    text += fmt::format(" ;\n    lv2:scalePoint [ rdfs:label \"Off\" ; rdf:value {:.1f} ]", lowest);
  }
  return text;
}

std::string reportPort(std::uint32_t report, int sides) {
  const Lv2Report& about = kLv2Reports.at(report);
  const auto peak = [] {
    const auto lowest = static_cast<double>(kLv2LowestPeak_db);
    return decibels(lowest, lowest, static_cast<double>(kLv2HighestPeak_db));
  };
  return controlPort(lv2ReportPort(report, sides), about.symbol, about.name, "lv2:OutputPort") +
         (about.isPeak ? peak() : kToggle);
}

std::string audioPort(const Lv2Variant& variant, bool input, int side) {
  const char* const symbol = input ? "in" : "out";
  const char* const title = input ? "In" : "Out";
  const std::uint32_t first =
      kLv2FirstAudioPort + (input ? 0U : static_cast<std::uint32_t>(variant.sides));
  std::string text = fmt::format("a {} , lv2:AudioPort ;\n    lv2:index {} ;\n",
                                 input ? "lv2:InputPort" : "lv2:OutputPort",
                                 first + static_cast<std::uint32_t>(side));
  if (variant.sides == 1) {
    return text + fmt::format("    lv2:symbol \"{}\" ;\n    lv2:name \"{}\"", symbol, title);
  }
  const char* const where = side == 0 ? "left" : "right";
  const char* const whereTitle = side == 0 ? "Left" : "Right";
  return text + fmt::format(R"(    lv2:symbol "{}_{}" ;
    lv2:name "{} {}" ;
    lv2:designation pg:{} ;
    pg:group <{}{}>)",
                            symbol, where, title, whereTitle, where, kGroupUri, symbol);
}

std::string ports(const Lv2Variant& variant) {
  std::string text;
  const auto add = [&](const std::string& port) {
    text += "  lv2:port [\n    " + port + "\n  ] ;\n";
  };
  for (int index = 1; index <= kNumStoredValues; ++index) {
    const ParameterInfo& parameter = parameterInfo(index);
    const bool selects = parameter.kind == ParameterKind::selector;
    add(selects ? selectorPort(parameter) : knobPort(parameter));
  }
  for (const bool input : {true, false}) {
    for (int side = 0; side < variant.sides; ++side) add(audioPort(variant, input, side));
  }
  add(enabledPort(variant));
  for (const int parameter : {kInputParameter, kGateParameter, kOutputParameter}) {
    add(decibelPort(parameter, variant.sides));
  }
  for (std::uint32_t report = 0; report < kNumLv2Reports; ++report) {
    add(reportPort(report, variant.sides));
  }
  return text;
}

std::string plugin(const Lv2Variant& variant, bool hasUi) {
  std::string text = fmt::format(R"(<{}> a lv2:Plugin , lv2:SimulatorPlugin , doap:Project ;
  doap:name "{}" ;
  doap:license <http://opensource.org/licenses/isc> ;
  doap:maintainer [ foaf:name "Quellard" ] ;
  rdfs:comment "A three-channel guitar amplifier: CLEAN, VINTAGE and MODERN" ;
  lv2:minorVersion 6 ;
  lv2:microVersion 0 ;
  lv2:optionalFeature lv2:hardRTCapable , opts:options , urid:map ;
  opts:supportedOption bufsz:maxBlockLength ;
)",
                                 variant.uri, variant.name);
  text += ports(variant);
  if (hasUi) text += fmt::format("  ui:ui <{}> ;\n", kLv2UiUri);
  if (variant.sides == 2) {
    text += fmt::format("  pg:mainInput <{0}in> ;\n  pg:mainOutput <{0}out> ;\n", kGroupUri);
  }
  return text + "  rdfs:seeAlso <presets.ttl> .\n\n";
}

std::string groups() {
  std::string text;
  for (int channel = 0; channel < kNumChannels; ++channel) {
    const Title title = channelTitle(channel);
    text += fmt::format("<{}> a pg:InputGroup ;\n  lv2:symbol \"{}\" ;\n  lv2:name \"{}\" .\n\n",
                        groupUri(channel), asUriPart(title.data()), title.data());
  }
  text += fmt::format(R"(<{0}in> a pg:StereoGroup , pg:InputGroup ;
  lv2:symbol "in" ;
  lv2:name "Guitar" .

<{0}out> a pg:StereoGroup , pg:OutputGroup ;
  pg:source <{0}in> ;
  lv2:symbol "out" ;
  lv2:name "Amplifier" .
)",
                      kGroupUri);
  return text;
}

// What a control port holds for a preset. With a point always, as some hosts take no whole numbers
// for the value of a port.
std::string presetControl(const FactoryPreset& preset, int index) {
  return fmt::format("{:#}", controlFromValue(index, presetValue(preset, index)));
}

std::string presetHead(const FactoryPreset& preset) {
  return fmt::format("<{}{}> a pset:Preset ;\n  lv2:appliesTo <{}> , <{}> ;\n", kPresetUri,
                     asUriPart(preset.name), kLv2Variants[0].uri, kLv2Variants[1].uri);
}

std::string presetText(const FactoryPreset& preset) {
  std::string text = presetHead(preset);
  text +=
      fmt::format("  rdfs:label \"{}\" ;\n  rdfs:comment \"{}\"", preset.name, preset.description);
  for (int index = 1; index <= kNumStoredValues; ++index) {
    text += fmt::format(" ;\n  lv2:port [ lv2:symbol \"{}\" ; pset:value {} ]",
                        parameterInfo(index).symbol, presetControl(preset, index));
  }
  return text + " .\n\n";
}

#if defined(_WIN32)
constexpr const char* kUiClass = "WindowsUI";
#else
constexpr const char* kUiClass = "X11UI";
#endif

// A host that shows the window must report the levels to it; values of its other ports it reports
// anyway.
std::string window(const std::string& module) {
  std::string text = fmt::format(R"(<{}> a ui:{} ;
  ui:binary <{}> ;
  lv2:requiredFeature ui:idleInterface ;
  lv2:optionalFeature ui:parent , ui:resize , ui:touch , opts:options , urid:map ;
  lv2:extensionData ui:idleInterface , ui:showInterface , ui:resize ;
  opts:supportedOption ui:scaleFactor , ui:windowTitle)",
                                 kLv2UiUri, kUiClass, module);
  for (const Lv2Variant& variant : kLv2Variants) {
    for (const Lv2Report& report : kLv2Reports) {
      text += fmt::format(R"( ;
  ui:portNotification [
    ui:plugin <{}> ;
    lv2:symbol "{}" ;
    ui:protocol ui:floatProtocol
  ])",
                          variant.uri, report.symbol);
    }
  }
  return text + " .\n\n";
}

std::string manifest(const std::string& module, const std::string& ui) {
  std::string text(kPrefixes);
  for (const Lv2Variant& variant : kLv2Variants) {
    text +=
        fmt::format("<{}> a lv2:Plugin ;\n  lv2:binary <{}> ;\n  rdfs:seeAlso <quellard.ttl> .\n\n",
                    variant.uri, module);
  }
  if (!ui.empty()) text += window(ui);
  for (const FactoryPreset& preset : kFactoryBank) {
    text += presetHead(preset) + "  rdfs:seeAlso <presets.ttl> .\n\n";
  }
  return text;
}

std::string description(bool hasUi) {
  std::string text(kPrefixes);
  for (const Lv2Variant& variant : kLv2Variants) text += plugin(variant, hasUi);
  return text + groups();
}

std::string presets() {
  std::string text(kPrefixes);
  for (const FactoryPreset& preset : kFactoryBank) text += presetText(preset);
  return text;
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  if (!(file << text).flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace
}  // namespace quellard

int main(int argc, char** argv) try {
  if (argc != 3 && argc != 4) {
    std::fputs("usage: write_ttl FOLDER MODULE [UI]\n", stderr);
    return 2;
  }
  const std::string folder = argv[1];
  const std::string ui = argc == 4 ? argv[3] : "";
  quellard::writeFile(folder + "/manifest.ttl", quellard::manifest(argv[2], ui));
  quellard::writeFile(folder + "/quellard.ttl", quellard::description(!ui.empty()));
  quellard::writeFile(folder + "/presets.ttl", quellard::presets());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "write_ttl: %s\n", error.what());
  return 1;
}

// SPDX-License-Identifier: ISC
#include "tools/settings/settings_json.h"

#include <string>

#include "params/parameter_values.h"
#include "tools/common/parsing.h"
#include "tools/settings/knobs.h"
#include "tools/settings/rig_options.h"

namespace quellard {

using Json = nlohmann::ordered_json;

Json amplifierAsJson(const ParameterValues& values) {
  const int channel = channelFromSelect(values[kTypeParameter]);
  Json json = {{"channel", channelWord(channel)}};
  for (const ParameterInfo& info : kParameters) {
    if (info.kind == ParameterKind::knob) json[info.symbol] = positionFromKnob(values[info.index]);
  }
  return json;
}

Json settingsAsJson(const HostedValues& values, const CabinetChoice& cabinet) {
  Json json = amplifierAsJson(amplifierValues(values));
  for (const RigParameterInfo& info : kRigParameters) {
    if (info.index == kBypassParameter) continue;
    const std::string text = rigValueText(info.index, values[info.index]);
    json[info.word] = text == "off" ? Json(text) : Json(parseNumber(text).value_or(0.0));
  }
  json["cab"] = cabinet.file.empty() ? Json() : Json(cabinet.file.string());
  json["cab_level"] = cabinet.level_db;
  return json;
}

void settingsFromJson(const Json& json, HostedValues& values, CabinetChoice& cabinet) {
  values[kTypeParameter] = selectFromChannel(parseChannel(json.at("channel").get<std::string>()));
  for (const ParameterInfo& info : kParameters) {
    if (info.kind != ParameterKind::knob) continue;
    values[info.index] = knobFromPosition(json.at(info.symbol).get<double>());
  }
  for (const RigParameterInfo& info : kRigParameters) {
    if (info.index == kBypassParameter) continue;
    const Json& value = json.at(info.word);
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    values[info.index] = parseRigValue(info.index, info.word, text);
  }
  const Json& file = json.at("cab");
  cabinet.file = file.is_null() ? std::string() : file.get<std::string>();
  cabinet.level_db = json.at("cab_level").get<double>();
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// All settings as one JSON object, by the names that chosen_settings.h reads: the one list of them
// for sweeps and for Python.
#pragma once

#include <nlohmann/json.hpp>

#include "rig/rig_parameters.h"
#include "tools/settings/cabinet_choice.h"

namespace quellard {

// {"channel": "vintage", "clean_presence": 5.0, ..., "modern_gain": 5.0}, exactly these values.
nlohmann::ordered_json amplifierAsJson(const ParameterValues& values);

// That with {"input": 0.0, "gate": -60.0 or "off", "output": 0.0, "cab": a file or null,
// "cab_level": 0.0} behind it.
nlohmann::ordered_json settingsAsJson(const HostedValues& values, const CabinetChoice& cabinet);

// The inverse. Throws nlohmann::json::exception or UsageError for anything else.
void settingsFromJson(const nlohmann::ordered_json& json, HostedValues& values,
                      CabinetChoice& cabinet);

}  // namespace quellard
